#include "config/HandheldSettings.h"

#include <algorithm>
#include <string_view>

#include "base/Error.h"
#include "base/NumberText.h"
#include "base/Text.h"
#include "config/SettingsSection.h"
#include "platform/Socket.h"

namespace mv {
namespace {

constexpr const char* kSection = "Handheld";
constexpr const char* kFolder = "folder";
constexpr const char* kLibrary = "library";
constexpr const char* kNetwork = "network";

constexpr int kLoopbackPrefix = 8;
constexpr std::int64_t kLongestWait = 3600;
/// A handheld takes a block into memory whole; a slow line needs small ones.
constexpr std::int64_t kSmallestBlock = 512;
constexpr std::int64_t kLargestBlock = 1024 * 1024;
constexpr std::int64_t kLastPort = 65535;

std::optional<HandheldWay> WayOf(const SettingsSection& section) {
  if (Trim(section.Text("Connection", "")).empty()) return std::nullopt;
  const std::string word = section.Word("Connection", {kFolder, kLibrary, kNetwork});
  if (word == kFolder) return HandheldWay::Folder;
  return word == kLibrary ? HandheldWay::Library : HandheldWay::Network;
}

/// The words of a list; blanks and commas stand between them.
std::vector<std::string> WordsOf(const std::string& text) {
  constexpr std::string_view kBetween = " \t,;";
  std::vector<std::string> words;
  for (std::size_t start = text.find_first_not_of(kBetween); start != text.npos;) {
    const std::size_t end = std::min(text.find_first_of(kBetween, start), text.size());
    words.push_back(text.substr(start, end - start));
    start = text.find_first_not_of(kBetween, end);
  }
  return words;
}

std::optional<std::array<std::uint8_t, 4>> HostOf(const std::string& text) {
  const auto address = platform::SocketAddress::Parse(text);
  if (!address || address->port != 0 || text.find(':') != text.npos) return std::nullopt;
  return address->host;
}

/// "192.168.131.102" or "192.168.131.102/24".
std::optional<ListenAddress> ListenAddressOf(const std::string& word) {
  const std::size_t slash = word.find('/');
  const auto host = HostOf(word.substr(0, slash));
  if (!host) return std::nullopt;
  ListenAddress address{*host, (*host)[0] == platform::kLoopbackHost[0] ? kLoopbackPrefix : 24};
  if (slash == word.npos) return address;
  const std::string prefix = word.substr(slash + 1);
  const bool isNumber = !prefix.empty() && prefix.size() <= 2 && prefix.find_first_not_of("0123456789") == prefix.npos;
  if (!isNumber || std::stoi(prefix) > 32) return std::nullopt;
  address.prefixLength = std::stoi(prefix);
  return address;
}

template <typename Item, typename Parse>
std::vector<Item> ListOf(const SettingsSection& section, const char* key, const char* wanted, Parse parse) {
  std::vector<Item> items;
  const std::string text = section.Text(key, "");
  for (const std::string& word : WordsOf(text)) {
    const auto item = parse(word);
    if (!item) throw Failure(section.Shown(key, text) + " holds \"" + word + "\", which is not " + wanted);
    items.push_back(*item);
  }
  return items;
}

HandheldPorts PortsOf(const SettingsSection& section) {
  const auto port = [&](const char* key, std::uint16_t usual, std::int64_t least) {
    return static_cast<std::uint16_t>(section.CountWithin(key, usual, least, kLastPort));
  };
  const HandheldPorts usual;
  return {port("ControlPortA", usual.controlA, 0), port("ControlPortB", usual.controlB, 0),
          port("CallPortA", usual.callsA, 1), port("WakeUpPortB", usual.wakeUpB, 0)};
}

}  // namespace

HandheldPlace LoadHandheldPlace(SettingsStore& store) {
  try {
    const HandheldSettings settings = LoadHandheldSettings(store);
    return {settings.root, settings.way == HandheldWay::Network};
  } catch (const Error&) {
    // The next start says what is wrong; the dialog is where it can be mended.
    return {};
  }
}

void SaveHandheldPlace(SettingsStore& store, const HandheldPlace& before, const HandheldPlace& place) {
  const SettingsSection section(store, kSection);
  if (place.root != before.root) section.Save("Root", place.root);
  if (place.network == before.network) return;
  // "folder" without a folder would end the next start, and with it the way back into the dialog.
  const std::string folder = place.root.empty() ? "" : kFolder;
  section.Save("Connection", place.network ? kNetwork : folder);
}

HandheldSettings LoadHandheldSettings(SettingsStore& store) {
  const SettingsSection section(store, kSection);
  HandheldSettings settings;
  settings.way = WayOf(section);
  settings.root = section.Text("Root", "");
  settings.listen = ListOf<ListenAddress>(section, "Listen", "an address such as 192.168.131.102 or 192.168.131.102/24",
                                          ListenAddressOf);
  settings.handhelds =
      ListOf<std::array<std::uint8_t, 4>>(section, "Handhelds", "an address such as 169.254.2.1", HostOf);
  settings.wait = std::chrono::seconds(section.CountWithin("Wait", settings.wait.count(), 1, kLongestWait));
  settings.passwordFile = section.Text("PasswordFile", "");
  settings.ports = PortsOf(section);
  settings.blockSize = static_cast<std::size_t>(
      section.CountWithin("BlockSize", static_cast<std::int64_t>(settings.blockSize), kSmallestBlock, kLargestBlock));
  return settings;
}

}  // namespace mv
