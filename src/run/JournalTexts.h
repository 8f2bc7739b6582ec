#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "history/RunRecord.h"
#include "sync/RunMode.h"

/// What a run tells its user beside the given lines of its log: on standard error, in the window's list, in run.json.
/// One line each.
namespace mv::journal_texts {

std::string WarningLine(const std::string& text);

// Warnings.

/// `side` is "PC" or "handheld".
std::string Loss(const std::string& table, const std::string& side, std::int64_t lost, std::int64_t before);
/// Of the columns by their places; nothing when all have the same name on both sides.
std::optional<std::string> OtherColumns(const std::string& table, const std::vector<std::string>& onDesktop,
                                        const std::vector<std::string>& onHandheld);
std::string ComesBackChanged(const std::string& table, std::int64_t rows, const std::string& firstKey);
std::string QuoteInKey(const std::string& table, const std::string& key);
std::string BeyondHandheld(const std::string& table, const std::string& key);
std::string LongText(const std::string& table, const std::string& key, const std::string& field);
std::string UnfilledMet(const std::vector<std::string>& tables);
/// `run`: whose beginning was to come back.
std::string LeftOverRestore(const std::string& run);
std::string NotTaken(const std::vector<std::string>& tables);
std::string CannotCompare(const std::string& table, const std::string& side, const Error& error);
std::string LogBesideProgram(const std::string& log);
std::string NoHistory(const Error& error);
std::string NoReport(const Error& error);

// Errors that stop a run.

/// `loss`: what Loss says.
std::string LossStop(const std::string& loss, RunMode mode);
/// `reason`: what the run met on a copy, before it changed anything.
std::string RehearsalStop(const std::string& reason, RunMode mode);
/// `tables`: what an Overwrite PC would empty and not fill.
std::string LeftOutStop(const std::vector<std::string>& tables);
/// `restore`: the run to go back to.
std::string UnfilledStop(const std::vector<std::string>& tables, const std::string& mode, const std::string& restore);

// How a silent run ended, with what to do about it.

std::string ErrorText(const Error& error);
/// `table` is empty when none was in hand.
std::string StoppedLine(const std::string& table, const Error& error, const std::string& database);
/// The tables that were not fetched or not sent back, each with its code.
std::string FailedTables(const history::RunRecord& run);
/// `tables`: what FailedTables says.
std::string TablesFailedLine(const std::string& tables);
std::string NoHandheldLine();
/// A line of the window, before the run is done on a copy.
std::string RehearsalLine();
/// `place`: where settings were looked for.
std::string NoSettings(const std::string& place);
/// `unknown` and `meant`: "[Handheld] Rooot".
std::string MistypedSetting(const std::string& unknown, const std::string& meant);
std::string OtherRunLine(const std::string& database);

}  // namespace mv::journal_texts
