#include "run/HandheldChoice.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "base/Utf.h"
#include "device/wire/BrokerLines.h"
#include "platform/PrivateFiles.h"

namespace mv {
namespace {

/// What the settings ask for in so many words must be there.
void RequireUsable(const HandheldSettings& settings, const HandheldSources& sources) {
  if (settings.way == HandheldWay::Folder && settings.root.empty())
    throw Failure("the setting Connection of [Handheld] is \"folder\", but Root names none");
  if (settings.way == HandheldWay::Library && !sources.systemHasRapi)
    throw Failure("the setting Connection of [Handheld] is \"library\", but this system has none");
}

/// 0 turns a port off.
std::optional<std::uint16_t> PortOrNone(std::uint16_t port) {
  return port == 0 ? std::nullopt : std::optional(port);
}

/// The first line of the file.
std::string PasswordIn(platform::FileSystem& files, const std::string& path) {
  const Bytes content = ReadWhole(files, path);
  const std::string text(content.begin(), content.end());
  return ValidUtf8(text.substr(0, text.find_first_of("\r\n")));
}

void RequirePrivate(const std::string& path) {
  try {
    if (!platform::OthersMayRead(path)) return;
  } catch (const Error&) {
    throw Failure("the setting PasswordFile of [Handheld]: there is no file \"" + ShownPath(path) + "\"");
  }
  throw Failure("the setting PasswordFile of [Handheld]: other users may read \"" + ShownPath(path) +
                "\"; only its owner shall have rights to it");
}

std::vector<std::string> ObstaclesOfFolder(const platform::FileSystem& files, const std::string& root) {
  const std::string folder = "\"" + root + "\", the Root of [Handheld],";
  if (!files.FolderExists(root)) return {folder + " is no folder: put the card in and mount it, or correct Root"};
  try {
    if (!files.List(root).empty()) return {};
  } catch (const Error& error) {
    return {folder + " cannot be read (" + error.Description() + "): check your rights to it"};
  }
  return {folder + " is empty, as a mount point without its card is: put the card in and mount it"};
}

std::vector<std::string> NothingChosen() {
  return {"the settings name no handheld: \"mvtool setup\" asks for it, or Root of [Handheld] names its folder"};
}

}  // namespace

HandheldWay WayTo(const HandheldSettings& settings, bool systemHasRapi) {
  if (settings.way) return *settings.way;
  if (!settings.root.empty()) return HandheldWay::Folder;
  return !systemHasRapi && !settings.listen.empty() ? HandheldWay::Network : HandheldWay::Library;
}

wire::WireOptions WireOptionsOf(const HandheldSettings& settings, platform::FileSystem& files) {
  wire::WireOptions options;
  if (!settings.listen.empty()) options.links.clear();
  for (const ListenAddress& address : settings.listen) options.links.push_back({address.host, address.prefixLength});
  if (!settings.handhelds.empty()) options.handhelds = settings.handhelds;
  options.ports = {PortOrNone(settings.ports.controlA), PortOrNone(settings.ports.controlB), settings.ports.callsA,
                   settings.ports.wakeUpB};
  options.blockSize = settings.blockSize;
  options.findLines = wire::FindBrokerLines;
  if (settings.passwordFile.empty()) return options;
  RequirePrivate(settings.passwordFile);
  options.password = [&files, path = settings.passwordFile] { return std::optional(PasswordIn(files, path)); };
  return options;
}

ChosenHandheld ChooseHandheld(const HandheldSettings& settings, const HandheldSources& sources) {
  RequireUsable(settings, sources);
  ChosenHandheld chosen;
  chosen.wait = settings.wait;
  switch (WayTo(settings, sources.systemHasRapi)) {
    case HandheldWay::Folder: {
      auto folder = std::make_unique<FolderRapi>(sources.files, settings.root);
      chosen.folder = folder.get();
      chosen.rapi = std::move(folder);
      chosen.way = "folder";
      chosen.obstacles = [&files = sources.files, root = settings.root] { return ObstaclesOfFolder(files, root); };
      break;
    }
    case HandheldWay::Library:
      chosen.rapi = sources.makeSystemRapi();
      chosen.way = "the system's remote API";
      if (!sources.systemHasRapi) chosen.obstacles = NothingChosen;
      break;
    case HandheldWay::Network: {
      auto network = std::make_unique<wire::WireRapi>(WireOptionsOf(settings, sources.files));
      chosen.network = network.get();
      chosen.rapi = std::move(network);
      chosen.way = "network";
      break;
    }
  }
  return chosen;
}

std::vector<std::string> ObstaclesOf(const ChosenHandheld& handheld) {
  if (handheld.obstacles) return handheld.obstacles();
  if (handheld.network == nullptr) return {};
  const wire::WireStatus status = handheld.network->Status();
  std::vector<std::string> obstacles = status.problems;
  obstacles.push_back(status.handheld);
  return obstacles;
}

}  // namespace mv
