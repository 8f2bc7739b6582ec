#include "run/JournalTexts.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/NumberText.h"
#include "base/Text.h"

namespace mv::journal_texts {
namespace {

constexpr const char* kProgram = "MVPPCSync: ";

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

std::string Row(const std::string& table, const std::string& key) {
  return table + ", row \"" + key + "\"";
}

std::string FailedTable(const history::TableRecord& table) {
  const bool fetched = table.state != history::TableState::NotRetrieved;
  return table.table + (fetched ? " not sent back" : " not fetched") + " (code " + TextOfInteger(table.code) + ")";
}

/// What to do about an error that stops a run; the numbers are those of the log.
std::string AdviceFor(std::int32_t number) {
  constexpr std::array<std::pair<std::int32_t, const char*>, 9> kAdvice = {{
      {errors::kOverflow, "a value is beyond what table files hold: shorten or correct it, then run again"},
      {errors::kOutOfMemory, "close other programs and run again"},
      {errors::kSubscriptOutOfRange, "the handheld's file of this table is damaged: see docs/user/recovery.md"},
      {errors::kFileNotFound, "check that the database and the template _20 are there; \"mvtool doctor\" tells"},
      {errors::kDiskFull, "make room on the disk and run again"},
      {errors::kPermissionDenied, "close the program that has the file open and run again"},
      {errors::kPathFileAccess, "check the paths in the settings and your rights to them; \"mvtool doctor\" tells"},
      {errors::kPathNotFound, "check the paths in the settings; \"mvtool doctor\" tells"},
      {errors::kRecordsetArgument, "take the quote out of the key on the PC and run again"},
  }};
  for (const auto& [known, advice] : kAdvice) {
    if (known == number) return advice;
  }
  return "see the end of the sync log, then run again";
}

}  // namespace

std::string WarningLine(const std::string& text) {
  return "Warning: " + text;
}

std::string Loss(const std::string& table, const std::string& side, std::int64_t lost, std::int64_t before) {
  return table + ": the " + side + " loses " + TextOfInteger(lost) + " of " + TextOfInteger(before) + " rows";
}

std::optional<std::string> OtherColumns(const std::string& table, const std::vector<std::string>& onDesktop,
                                        const std::vector<std::string>& onHandheld) {
  const auto shown = [](const std::string& name) { return name.empty() ? std::string("missing") : '"' + name + '"'; };
  for (std::size_t i = 0; i < std::max(onDesktop.size(), onHandheld.size()); ++i) {
    const std::string desktop = i < onDesktop.size() ? onDesktop[i] : std::string();
    const std::string handheld = i < onHandheld.size() ? onHandheld[i] : std::string();
    if (EqualsIgnoreAsciiCase(desktop, handheld)) continue;
    return table + ": column " + std::to_string(i + 1) + " is " + shown(desktop) + " on the PC and " + shown(handheld) +
           " on the handheld; columns are matched by their place";
  }
  return std::nullopt;
}

std::string ComesBackChanged(const std::string& table, std::int64_t rows, const std::string& firstKey) {
  return table + ": " + TextOfInteger(rows) +
         " rows hold a text or a date that the handheld does not give back as it is (a character that it lacks, a date "
         "before 1904); the first is \"" +
         firstKey + "\"";
}

std::string QuoteInKey(const std::string& table, const std::string& key) {
  return Row(table, key) + ": the key on the PC holds a quote ('); the run stops there with error 3001";
}

std::string BeyondHandheld(const std::string& table, const std::string& key) {
  return Row(table, key) + ": a date, a number or the count of rows is beyond what the handheld takes";
}

std::string LongText(const std::string& table, const std::string& key, const std::string& field) {
  return Row(table, key) + ": " + field + " is longer than the 32767 bytes that the handheld takes";
}

std::string UnfilledMet(const std::vector<std::string>& tables) {
  return "an Overwrite PC emptied these tables on the PC and has not filled them: " + Joined(tables);
}

std::string LeftOverRestore(const std::string& run) {
  return "a restore was cut off before both sides were back; \"mvtool restore " + run + "\" does what is left";
}

std::string NotTaken(const std::vector<std::string>& tables) {
  return "Overwrite PC did not take every table; until one takes them these are not filled on the PC: " +
         Joined(tables);
}

std::string CannotCompare(const std::string& table, const std::string& side, const Error& error) {
  return table + ": what the " + side + " had before cannot be read (" + error.Description() +
         "), so the report cannot tell what it loses";
}

std::string LogBesideProgram(const std::string& log) {
  return "the sync log is \"" + ShownPath(log) +
         "\", beside the program, where an update may remove it; \"mvtool setup --log FILE\" moves it";
}

std::string NoHistory(const Error& error) {
  return "the history of this run cannot be written (" + error.Description() + "); it cannot be undone with mvtool";
}

std::string NoReport(const Error& error) {
  return "the report of the tables that were not taken cannot be made (" + error.Description() + ")";
}

std::string LossStop(const std::string& loss, RunMode mode) {
  if (mode == RunMode::OverwritePc) {
    return loss +
           ": stopped before this table was filled, as [Safety] OnMassLoss asks; the template is in the "
           "database's place: \"mvtool restore last\" brings both sides back, OnMassLoss=warn lets the rows go";
  }
  return loss + ": stopped before this table was changed, as [Safety] OnMassLoss asks; \"mvtool preview --mode " +
         TextOfInteger(static_cast<std::int16_t>(mode)) + "\" shows the rows, and OnMassLoss=warn lets them go";
}

std::string RehearsalStop(const std::string& reason, RunMode mode) {
  return reason + ": nothing was changed, as [Safety] OnMassLoss asks; \"mvtool preview --mode " +
         TextOfInteger(static_cast<std::int16_t>(mode)) + "\" shows what would go, and OnMassLoss=warn lets it go";
}

std::string LeftOutStop(const std::vector<std::string>& tables) {
  return "Overwrite PC would empty these tables on the PC, and this run does not fill them: " + Joined(tables) +
         ". Nothing was changed, as [Safety] OnMassLoss asks. The window's Overwrite PC takes all tables; "
         "OnMassLoss=warn lets the rows go";
}

std::string UnfilledStop(const std::vector<std::string>& tables, const std::string& mode, const std::string& restore) {
  return "An Overwrite PC emptied these tables on the PC and has not filled them: " + Joined(tables) + ". " + mode +
         " would empty them on the handheld too, so nothing was changed. Run Overwrite PC again (the window's takes "
         "all "
         "tables), or go back with \"mvtool restore " +
         restore + "\"; [Safety] UnfinishedOverwrite=go lets the run pass.";
}

std::string ErrorText(const Error& error) {
  return "Error " + TextOfInteger(error.Number()) + ": " + error.Description();
}

std::string StoppedLine(const std::string& table, const Error& error, const std::string& database) {
  const bool own = error.Number() == errors::kOperationFailed;
  const bool inUse = error.Number() == errors::kPermissionDenied;
  // Some errors name the file that they are about as their source.
  const std::string file = FolderLength(error.Source()) > 0 ? error.Source() : std::string();
  const std::string held = "\"" + ShownPath(file.empty() ? database : file) + "\" is in use";
  const std::string what = inUse ? held : (own ? error.Description() : ErrorText(error));
  return std::string(kProgram) + "stopped" + (table.empty() ? "" : " at table " + table) + ": " + what +
         (inUse || file.empty() ? "" : " (" + ShownPath(file) + ")") + (own ? "" : "; " + AdviceFor(error.Number()));
}

std::string FailedTables(const history::RunRecord& run) {
  std::string text;
  for (const history::TableRecord& table : run.tables) {
    if (table.state != history::TableState::NotRetrieved && table.state != history::TableState::NotReturned) continue;
    text += (text.empty() ? "" : "; ") + FailedTable(table);
  }
  return text;
}

std::string TablesFailedLine(const std::string& tables) {
  return std::string(kProgram) + tables +
         "; close Motorva Mobile Edition on the handheld, check the card and its free space, and run again";
}

std::string NoSettings(const std::string& place) {
  return "there are no settings in \"" + ShownPath(place) +
         "\": \"mvtool setup\" asks for database and handheld and writes them";
}

std::string MistypedSetting(const std::string& unknown, const std::string& meant) {
  return "the setting " + unknown + " is none and has no effect; did you mean " + meant + "?";
}

std::string RehearsalLine() {
  return "Trying the run on a copy, as [Safety] OnMassLoss asks";
}

std::string OtherRunLine(const std::string& database) {
  return std::string(kProgram) + "another run with \"" + ShownPath(database) +
         "\" is going on, or something that no run may disturb; run again when it has ended";
}

std::string NoHandheldLine() {
  return std::string(kProgram) +
         "no handheld answered; connect it and turn it on (a folder handheld: check Root and that the card is "
         "mounted), "
         "and run again";
}

}  // namespace mv::journal_texts
