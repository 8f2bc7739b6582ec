#include "mvtool/commands/UserSetup.h"

#include "base/Error.h"
#include "base/Text.h"
#include "platform/System.h"

namespace mv::tool {
namespace {

std::unique_ptr<SettingsStore> OpenSettings(const ToolContext& context) {
  if (!context.openSettings) throw Failure("there are no settings");
  return context.openSettings();
}

}  // namespace

UserSetup::UserSetup(ToolContext& context)
    : context_(context), store_(OpenSettings(context)), settings_(LoadSettings(*store_, context.programFolder)) {}

UserSetup::~UserSetup() = default;

history::HandheldTables& UserSetup::Handheld() {
  if (!handheld_) handheld_ = std::make_unique<history::HandheldTables>(Device(), settings_.PDADBPath, DeviceWait());
  return *handheld_;
}

const ChosenHandheld& UserSetup::Chosen() {
  if (!chosen_) {
    const HandheldSources sources{context_.files, [this] { return MakeSystemRapi(); }, context_.systemHasRapi};
    chosen_ = ChooseHandheld(LoadHandheldSettings(*store_), sources);
  }
  return *chosen_;
}

Rapi& UserSetup::Device() {
  return *Chosen().rapi;
}

std::chrono::milliseconds UserSetup::DeviceWait() {
  return Chosen().wait;
}

std::optional<std::string> UserSetup::LocalFile(const std::string& devicePath) {
  FolderRapi* const folder = Chosen().folder;
  return folder == nullptr ? std::nullopt : folder->LocalFile(devicePath);
}

std::unique_ptr<Rapi> UserSetup::MakeSystemRapi() {
  if (!context_.makeRapi) throw Failure("there is no handheld");
  return context_.makeRapi();
}

PreviewContext UserSetup::ForPreview() {
  return {context_.files,
          context_.clock,
          *store_,
          context_.programFolder,
          Device(),
          DeviceWait(),
          [this](const std::string& path) { return LocalFile(path); },
          platform::TemporaryFolder()};
}

UserSetup::NoRuns UserSetup::KeepRunsAway() {
  NoRuns none{RunLock::Take(context_.files, settings_.DesktopDBPath), nullptr};
  if (!none.lock) throw Failure("a run is going on");
  const std::string& log = settings_.SyncLogPath;
  if (settings_.SyncLog == 0 || !context_.files.FileExists(log)) return none;
  try {
    none.log =
        context_.files.Open(log, platform::Access::Write, platform::Disposition::OpenExisting, platform::Sharing::Read);
  } catch (const Error& error) {
    if (error.Number() != errors::kPermissionDenied) throw At("\"" + ShownPath(log) + "\"", error);
    throw Failure("a run is going on, or another program has \"" + ShownPath(log) + "\" open");
  }
  return none;
}

}  // namespace mv::tool
