#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Error.h"
#include "run/RunState.h"
#include "sync/Tables.h"

/// The lines of the sync log, word for word: support people and scripts look for them, misspellings included. `now` is
/// the local date and time in the user's form.
namespace mv::log_texts {

/// Both kinds of run count all tables, although the silent one leaves two out.
inline constexpr std::int16_t kCountedTables = kTables.size();

std::string Rule();

std::vector<std::string> SilentBanner(const std::string& now);
/// `version` is the program's "major.minor.revision".
std::vector<std::string> InteractiveBanner(const Settings& settings, const std::string& version,
                                           const std::string& now);
std::string BackupLine(const std::string& backupPath);

/// One table's lines, in their order. `code` is what the failed copy returned.
std::string Retrieving(const std::string& table);
std::string Retrieved(const std::string& table);
std::string NotRetrieved(const std::string& table, std::int32_t code);
std::string Converting(const std::string& table);
std::string SourceCreated(const std::string& table);
std::string ResultCreated(const std::string& table);
std::string Synchronizing(const std::string& table);
std::string Transferring(const std::string& table);
std::string Successful(const std::string& table, const std::string& modeResultText);
std::string NotReturned(const std::string& table, std::int32_t code);
inline constexpr const char* kTableEnd = " ";

/// "Synchronization of 12 of 13 tables ended: " and the time.
std::string Ended(std::int16_t tablesSynchronized, const std::string& now);
/// End lines without the empty one that closes the log. An interactive run tells the count in its window before it
/// goes on with kErrorsOccurred, so that line is not among those of InteractiveEnd.
std::vector<std::string> SilentEnd(std::int16_t tablesSynchronized, const std::string& now);
std::vector<std::string> InteractiveEnd(std::int16_t tablesSynchronized, const std::string& now);
/// Fewer than kCountedTables succeeded.
inline constexpr const char* kErrorsOccurred = "** Errors occurred during synchronization";

/// A silent run that found no handheld.
std::vector<std::string> NoHandheld(const std::string& now);

/// What stopped a silent run. Error 70 is explained as a database in use, whatever was denied.
std::string StoppedBy(const Error& error, const std::string& desktopDBPath);
std::string StoppedAt(const std::string& now);
/// An interactive run tells in a message box what stopped it; its log has this line.
std::string InteractiveStoppedAt(const std::string& now);

}  // namespace mv::log_texts

/// What the window shows of a run: its status bar, its list, its boxes about a table.
namespace mv::window_texts {

inline constexpr const char* kConnecting = "Initializing Communications";
inline constexpr const char* kTransferring = "Transferring Data Back to Device";
/// Of the status bar.
std::string Retrieving(const std::string& table);
std::string NotRetrieved(const std::string& table);
std::string Reading(const std::string& table);
std::string Synchronizing(const std::string& table);
std::string Completed(const std::string& table);
std::string NotReturned(const std::string& table);
std::string EndedAt(const std::string& now);
/// Of the list.
std::string Began(const std::string& now);
std::string NotRetrievedLine(const std::string& table, std::int32_t code);
std::string Successful(const std::string& table, const std::string& modeResultText);
std::string EndedWithErrors(const std::string& now);
/// Of boxes.
std::string NotSupported(const std::string& table);
std::string NotReturnedMessage(const std::string& table, std::int32_t code);

}  // namespace mv::window_texts
