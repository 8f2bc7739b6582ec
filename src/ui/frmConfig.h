#pragma once

#include <cstddef>
#include <string>

#include "config/AutoStartService.h"
#include "config/HandheldSettings.h"
#include "config/RegistryStrings.h"
#include "config/Settings.h"
#include "platform/FileSystem.h"
#include "ui/frmConfigView.h"

namespace mv {

/// What the settings dialog works with in some editions.
struct ConfigAdditions {
  /// Where the way to the handheld is kept; null: the dialog does not touch it.
  SettingsStore* store = nullptr;
  /// What starts runs; null: the auto-start registration does.
  AutoStartService* autoStart = nullptr;
};

/// Behaviour of the settings dialog. It edits the settings in memory; they reach the store when the main window closes.
/// The mode and a browsed path are in force at once, before OK, and Cancel does not take them back.
///
/// The view calls a handler for each of the user's actions. Handlers never raise. `index`: the mode or the browse
/// button, as in frmConfigView.
class frmConfig {
 public:
  /// All arguments must outlive the dialog.
  frmConfig(Settings& settings, RegistryStrings& registry, platform::FileSystem& files, ConfigAdditions additions = {});

  /// Fills the controls from the settings. To be called once, when the view's controls exist.
  void Form_Load(frmConfigView& view);
  void chkWriteLog_Click(frmConfigView& view);
  void optSync_Click(frmConfigView& view, std::size_t index);
  void cmdBrowse_Click(frmConfigView& view, std::size_t index);
  void cmdBrowse_Pressed(frmConfigView& view, std::size_t index);
  void cmdBrowse_Released(frmConfigView& view, std::size_t index);
  /// Takes everything over, changes the auto-start registration and makes the work folders. A step that fails is
  /// skipped without a word.
  void cmdOK_Click(frmConfigView& view);
  void cmdCancel_Click(frmConfigView& view);

  // The section for the handheld, where the view shows it.
  void chkNetwork_Click(HandheldSectionView& section);
  void cmdBrowseHandheld_Click(HandheldSectionView& section);

  /// What the user should be told once the dialog is closed; empty: nothing.
  const std::string& Notice() const { return notice_; }

 private:
  void BrowseForDatabase(frmConfigView& view);
  void BrowseForLog(frmConfigView& view);
  void TakeMode(const frmConfigView& view);
  void TakeAutoStart(const frmConfigView& view);
  /// The paths, and the work folders' beside the database.
  void TakePaths(const frmConfigView& view);
  void TakeLogging(const frmConfigView& view);
  void LoadHandheld(frmConfigView& view);
  void TakeHandheld(frmConfigView& view);
  void CreateWorkFolders();
  /// The database's folder up to the last "\" of its path; empty without one, also when the path has a "/".
  std::string DatabaseFolder() const;

  Settings& settings_;
  RegistryStrings& registry_;
  platform::FileSystem& files_;
  ConfigAdditions additions_;
  HandheldPlace handheld_;  ///< as it was stored
  std::string notice_;
};

}  // namespace mv
