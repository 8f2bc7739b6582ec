#include "ui/frmConfig.h"

#include "base/Error.h"
#include "base/NumberText.h"
#include "base/Text.h"
#include "config/AutoStart.h"
#include "ui/Texts.h"

namespace mv {
namespace {

using CheckBox = frmConfigView::CheckBox;
using LogControl = frmConfigView::LogControl;

std::int16_t SettingOf(bool ticked) {
  return ticked ? 1 : 0;
}

}  // namespace

frmConfig::frmConfig(Settings& settings, RegistryStrings& registry, platform::FileSystem& files,
                     ConfigAdditions additions)
    : settings_(settings), registry_(registry), files_(files), additions_(additions) {}

void frmConfig::Form_Load(frmConfigView& view) {
  // A stored mode outside the three leaves all of them unselected.
  if (settings_.SyncMode >= 0 && static_cast<std::size_t>(settings_.SyncMode) < frmConfigView::kModes) {
    view.SelectMode(static_cast<std::size_t>(settings_.SyncMode));
    view.ShowModePicture(static_cast<std::size_t>(settings_.SyncMode));
  }
  view.SetPath(0, settings_.DesktopDBPath);
  view.SetPath(1, settings_.PDADBPath);
  view.SetPath(2, settings_.SyncLogPath);
  view.Tick(CheckBox::WriteLog, settings_.SyncLog != 0);
  view.Tick(CheckBox::History, settings_.SyncLogHistory != 0);
  view.Tick(CheckBox::AutoStart, settings_.AutoStart != 0);
  chkWriteLog_Click(view);
  LoadHandheld(view);
}

void frmConfig::LoadHandheld(frmConfigView& view) {
  HandheldSectionView* const section = view.HandheldSection();
  if (section == nullptr || additions_.store == nullptr) return;
  handheld_ = LoadHandheldPlace(*additions_.store);
  section->SetFolder(handheld_.root);
  section->TickNetwork(handheld_.network);
  chkNetwork_Click(*section);
}

void frmConfig::chkNetwork_Click(HandheldSectionView& section) {
  section.EnableFolder(!section.NetworkTicked());
}

void frmConfig::cmdBrowseHandheld_Click(HandheldSectionView& section) {
  const auto chosen = section.AskFolder(texts::kHandheldBrowse, section.Folder());
  if (chosen) section.SetFolder(*chosen);
}

void frmConfig::chkWriteLog_Click(frmConfigView& view) {
  const bool logging = view.Ticked(CheckBox::WriteLog);
  for (const LogControl control : {LogControl::Label, LogControl::Path, LogControl::History, LogControl::Browse}) {
    view.Enable(control, logging);
  }
}

void frmConfig::optSync_Click(frmConfigView& view, std::size_t index) {
  view.ShowModePicture(index);
  settings_.SyncMode = static_cast<std::int16_t>(index);
}

void frmConfig::cmdBrowse_Click(frmConfigView& view, std::size_t index) {
  if (index == 0) BrowseForDatabase(view);
  if (index == 1) BrowseForLog(view);
}

void frmConfig::BrowseForDatabase(frmConfigView& view) {
  const auto chosen = view.AskFile(
      {FileQuestion::Kind::Open, texts::kDatabaseDialogTitle, texts::kDatabaseFilter, "", settings_.DesktopDBPath});
  if (!chosen) return;
  settings_.DesktopDBPath = *chosen;
  view.SetPath(0, *chosen);
}

void frmConfig::BrowseForLog(frmConfigView& view) {
  const auto chosen = view.AskFile({FileQuestion::Kind::Save, texts::kLogDialogTitle, texts::kLogFilter,
                                    texts::kLogExtension, settings_.SyncLogPath});
  if (!chosen) return;
  settings_.SyncLogPath = *chosen;
  view.SetPath(2, *chosen);
}

void frmConfig::cmdBrowse_Pressed(frmConfigView& view, std::size_t index) {
  view.ShowBrowsePicture(index, frmConfigView::BrowsePicture::Pressed);
}

void frmConfig::cmdBrowse_Released(frmConfigView& view, std::size_t index) {
  view.ShowBrowsePicture(index, frmConfigView::BrowsePicture::Released);
}

void frmConfig::cmdOK_Click(frmConfigView& view) {
  TakeMode(view);
  TakeAutoStart(view);
  TakePaths(view);
  TakeLogging(view);
  TakeHandheld(view);
  CreateWorkFolders();
  view.Unload();
}

void frmConfig::cmdCancel_Click(frmConfigView& view) {
  view.Unload();
}

void frmConfig::TakeMode(const frmConfigView& view) {
  for (std::size_t index = 0; index < frmConfigView::kModes; ++index) {
    if (!view.ModeSelected(index)) continue;
    settings_.SyncMode = static_cast<std::int16_t>(index);
    return;
  }
}

void frmConfig::TakeAutoStart(const frmConfigView& view) {
  settings_.AutoStart = SettingOf(view.Ticked(CheckBox::AutoStart));
  if (AutoStartService* const service = additions_.autoStart) {
    notice_ = settings_.AutoStart == 1 ? service->SwitchOn() : service->SwitchOff();
    return;
  }
  if (settings_.AutoStart == 1) {
    RegisterAutoStart(registry_, "-Mode" + TextOfInteger(settings_.SyncMode));
  } else {
    UnregisterAutoStart(registry_);
  }
}

void frmConfig::TakePaths(const frmConfigView& view) {
  settings_.DesktopDBPath = Trim(view.Path(0));
  settings_.PDADBPath = view.Path(1);
  settings_.PCSyncSourcePath = DatabaseFolder() + "sync\\source";
  settings_.PCSyncDestPath = DatabaseFolder() + "sync\\dest";
  settings_.SyncLogPath = view.Path(2);
}

void frmConfig::TakeLogging(const frmConfigView& view) {
  settings_.SyncLog = SettingOf(view.Ticked(CheckBox::WriteLog));
  settings_.SyncLogHistory = SettingOf(view.Ticked(CheckBox::History));
}

void frmConfig::TakeHandheld(frmConfigView& view) {
  HandheldSectionView* const section = view.HandheldSection();
  if (section == nullptr || additions_.store == nullptr) return;
  try {
    SaveHandheldPlace(*additions_.store, handheld_, {section->Folder(), section->NetworkTicked()});
  } catch (const Error& error) {
    // Unlike the other settings this one is not kept in memory until the window closes.
    notice_ += (notice_.empty() ? "" : "\r\r") + texts::ErrorOccurred(error);
  }
}

std::string frmConfig::DatabaseFolder() const {
  const std::string& path = settings_.DesktopDBPath;
  const std::size_t separator = path.rfind('\\');
  return separator == std::string::npos ? std::string() : path.substr(0, separator + 1);
}

void frmConfig::CreateWorkFolders() {
  // The folder's own separator stays in front of that of "\sync": a database without a folder thus gets a "\sync" in
  // the root of the current drive.
  for (const std::string& path : {DatabaseFolder() + "\\sync", settings_.PCSyncSourcePath, settings_.PCSyncDestPath}) {
    try {
      files_.CreateFolders(path);
    } catch (const Error&) {
      // A run says what is wrong with its folders.
    }
  }
}

}  // namespace mv
