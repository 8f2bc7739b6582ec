#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace mv {

/// What the settings dialog asks the toolkit's file dialog for.
struct FileQuestion {
  enum class Kind {
    Open,  ///< an existing file; no read-only box
    Save,  ///< a file in an existing folder; asks before an existing one is overwritten; no read-only box
  };
  Kind kind = Kind::Open;
  std::string title;
  /// Pairs "name|pattern", joined by "|".
  std::string filter;
  /// Added to a name that has none; with its dot. Empty: none.
  std::string defaultExtension;
  /// The path that the dialog starts with.
  std::string startingFile;

  friend bool operator==(const FileQuestion&, const FileQuestion&) = default;
};

/// The section of the settings dialog for the way to the handheld: a folder that stands for it, or the network.
class HandheldSectionView {
 public:
  virtual ~HandheldSectionView() = default;
  virtual void SetFolder(const std::string& text) = 0;
  virtual std::string Folder() const = 0;
  virtual void TickNetwork(bool ticked) = 0;
  virtual bool NetworkTicked() const = 0;
  /// The folder's label, line and browse button.
  virtual void EnableFolder(bool enabled) = 0;
  /// Shows a dialog for an existing folder over the settings dialog; nothing when the user cancels it.
  virtual std::optional<std::string> AskFolder(const std::string& title, const std::string& startingFolder) = 0;
};

/// The settings dialog as its toolkit shows it, with the controls of ConfigLayout.h. Rows of paths: 0 the desktop
/// database, 1 the handheld's folder, 2 the sync log. Browse buttons: 0 for the database, 1 for the log. Modes: 0
/// Synchronize, 1 Overwrite PDA, 2 Overwrite PC; at most one is selected, at first none.
class frmConfigView {
 public:
  static constexpr std::size_t kModes = 3;

  enum class CheckBox { WriteLog, History, AutoStart };
  /// The controls of the log file's row, which follow the box "Logging On".
  enum class LogControl { Label, Path, History, Browse };
  enum class BrowsePicture { Released, Pressed };

  virtual ~frmConfigView() = default;

  virtual void SelectMode(std::size_t index) = 0;
  virtual bool ModeSelected(std::size_t index) const = 0;
  virtual void ShowModePicture(std::size_t index) = 0;
  virtual void SetPath(std::size_t index, const std::string& text) = 0;
  virtual std::string Path(std::size_t index) const = 0;
  virtual void Tick(CheckBox box, bool ticked) = 0;
  virtual bool Ticked(CheckBox box) const = 0;
  virtual void Enable(LogControl control, bool enabled) = 0;
  virtual void ShowBrowsePicture(std::size_t index, BrowsePicture picture) = 0;
  /// Shows the file dialog over the settings dialog; nothing when the user cancels it.
  virtual std::optional<std::string> AskFile(const FileQuestion& question) = 0;
  /// Null in an edition that has another place for it.
  virtual HandheldSectionView* HandheldSection() { return nullptr; }
  virtual void Unload() = 0;
};

}  // namespace mv
