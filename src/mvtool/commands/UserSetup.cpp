#include "mvtool/commands/UserSetup.h"

#include "base/Error.h"
#include "device/FolderRapi.h"

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
  if (!handheld_) handheld_ = std::make_unique<history::HandheldTables>(Device(), settings_.PDADBPath);
  return *handheld_;
}

Rapi& UserSetup::Device() {
  if (!rapi_) rapi_ = MakeRapi();
  return *rapi_;
}

std::optional<std::string> UserSetup::LocalFile(const std::string& devicePath) {
  Device();
  return folder_ == nullptr ? std::nullopt : folder_->LocalFile(devicePath);
}

std::unique_ptr<Rapi> UserSetup::MakeRapi() {
  const std::string root = LoadHandheldRoot(*store_);
  if (!root.empty()) {
    auto folder = std::make_unique<FolderRapi>(context_.files, root);
    folder_ = folder.get();
    return folder;
  }
  if (!context_.makeRapi) throw Failure("there is no handheld");
  return context_.makeRapi();
}

std::unique_ptr<platform::File> UserSetup::KeepRunsAway() {
  const std::string& log = settings_.SyncLogPath;
  if (settings_.SyncLog == 0 || !context_.files.FileExists(log)) return nullptr;
  try {
    return context_.files.Open(log, platform::Access::Write, platform::Disposition::OpenExisting,
                               platform::Sharing::Read);
  } catch (const Error& error) {
    if (error.Number() != errors::kPermissionDenied) throw At("\"" + log + "\"", error);
    throw Failure("a run is going on, or another program has \"" + log + "\" open");
  }
}

}  // namespace mv::tool
