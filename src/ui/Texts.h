#pragma once

#include <string>

#include "base/Error.h"

/// Every text that the windows show, word for word: captions, tips, titles and messages, blanks and misspellings
/// included. Keyboard marks ("&") are in the layouts, not here. Message boxes separate their lines by bare carriage
/// returns.
namespace mv::texts {

/// The title of a message box that has none of its own.
inline constexpr const char* kProgramName = "Database Synchronization Utility";

// The main window.
inline constexpr const char* kMainCaption = "Motorva\u2122 Mobile Edition - Pocket PC Sync Utility";
inline constexpr const char* kMainTitle = "Motorva\u2122 Mobile Edition";
inline constexpr const char* kMenuSync = "Sync";
inline constexpr const char* kMenuSyncStart = "Start";
inline constexpr const char* kMenuSyncExit = "Exit Program";
inline constexpr const char* kMenuView = "View";
inline constexpr const char* kMenuViewSettings = "Settings...";
inline constexpr const char* kMenuViewLog = "Sync Log...";
inline constexpr const char* kMenuAbout = "About...";
inline constexpr const char* kToolSync = "Sync";
inline constexpr const char* kToolSyncTip = " Begin Sync Process ";
inline constexpr const char* kToolSettings = " Settings ";
inline constexpr const char* kToolSettingsTip = " Sync Settings... ";
inline constexpr const char* kToolLog = "Sync Log";
inline constexpr const char* kToolLogTip = "View Sync Log";
inline constexpr const char* kStatusPanel = " Current Status Information ";
inline constexpr const char* kModePanel = " Current Mode ";
/// Followed by the mode's name.
inline constexpr const char* kModeTip = " You are set to ";
/// Followed by the time of the last run, or by kUnknown.
inline constexpr const char* kLastSync = "Last sync: ";
inline constexpr const char* kUnknown = "Unknown";

/// Not to be seen: what a screen reader calls the progress list.
inline constexpr const char* kProgress = "Progress";

// Opening the log.
inline constexpr const char* kLogTitle = "Motorva\u00A9 Mobile Edition";
std::string LogDoesNotExist(const std::string& path);
std::string UnableToOpen(const std::string& path);

// The handheld does not answer: at start, and when a run begins.
inline constexpr const char* kConnectTitle = "Unable to Communicate with Pocket PC";
inline constexpr const char* kConnectAtStart =
    "Please connect your PDA to your PC, turn it on, then click Retry to continue.\r\rClick Cancel to end this "
    "program.";
inline constexpr const char* kConnectForRun =
    "Please connect your PDA to your PC, turn it on, then click Retry to continue.\r\rClick Cancel to sync your "
    "databases later.";

// The end of a run.
inline constexpr const char* kNotCompletedTitle = "Sync Not Completed Successfully";
inline constexpr const char* kNotCompleted =
    "Please make sure that Motorva Mobile Edition is NOT running on your PDA.\r"
    "If necessary, use the Exit|Close menu option to close Motorva Mobile Edition, then retry.\r"
    "Your PDA should be connected and powered on.";
inline constexpr const char* kDatabaseInUseTitle = "Database In Use";
std::string DatabaseInUse(const std::string& desktopDBPath);
/// With a further line for what the error is about.
std::string ErrorOccurred(const Error& error);

// The about box.
inline constexpr const char* kAboutCaption = "About Motorva\u2122 Mobile Edition";
/// Followed by "major.minor.revision".
inline constexpr const char* kVersion = "Version: ";
inline constexpr const char* kOk = "OK";

// On a terminal.
inline constexpr const char* kRetry = "Retry";
/// In front of the choices of the settings dialog.
inline constexpr const char* kLineToChange = "Sign of a line to change it";
inline constexpr const char* kStopping = "Closing. The run stops at its next safe point...";
/// Of a run's tables: "4 of 13".
std::string TablesDone(int done, int of);

// The settings dialog.
inline constexpr const char* kConfigCaption = "  Motorva\u2122 Mobile Edition - Settings";
inline constexpr const char* kLocations = "Database/File Locations";
inline constexpr const char* kPathLabels[] = {"Desktop Edition Database Location", "Mobile Edition Location on PDA",
                                              "Synchronization Log File"};
inline constexpr const char* kBrowseTips[] = {" Browse to Set Database File Location ",
                                              " Browse to Set Log File Location "};
inline constexpr const char* kWriteLog = "Logging On";
inline constexpr const char* kHistory = "Retain History";
inline constexpr const char* kProcessOptions = "Process Options";
inline constexpr const char* kModes[] = {"Synchronize Databases [Normal Mode] - RECOMMENDED",
                                         "Desktop (PC) Database Completely Overwrites Mobile (PDA) Database",
                                         "Mobile (PDA) Database Completely Overwrites Desktop (PC) Database"};
inline constexpr const char* kAutoStart = "Auto Run in Silent Mode whenever Active Sync is Launched";
inline constexpr const char* kConfigHelp =
    "Use this dialog to setup your sync options. Use care when using any mode other than [Normal Mode] as a complete "
    "database replacement will occur.";
inline constexpr const char* kCancel = "Cancel";

// The settings dialog's section for the handheld, in editions where nothing else sets the way to it.
inline constexpr const char* kHandheldFrame = "Handheld";
inline constexpr const char* kHandheldFolder = "Folder in the Handheld's Place";
inline constexpr const char* kHandheldBrowse = "Browse to Set Handheld Folder";
inline constexpr const char* kHandheldNetwork = "Handheld Connects over the Network";
inline constexpr const char* kHandheldHelp = "A change here takes effect at the next start of this program.";

// The settings dialog's file dialogs. A filter is a list of name|pattern pairs.
inline constexpr const char* kDatabaseDialogTitle = "Set Desktop Edition Database Location";
inline constexpr const char* kDatabaseFilter = "Motorva Database Files(*.db)|*.db|All Files (*.*)|*.*";
inline constexpr const char* kLogDialogTitle = "Save Log File As";
inline constexpr const char* kLogFilter = "Sync Log Files (*.txt,*.log)|*.txt;*.log";
inline constexpr const char* kLogExtension = ".txt";

}  // namespace mv::texts
