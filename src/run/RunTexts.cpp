#include "run/RunTexts.h"

#include "base/NumberText.h"
#include "base/Utf.h"

namespace mv::log_texts {
namespace {

constexpr std::size_t kRuleWidth = 60;
constexpr const char* kSupportContact = "Questions? Write to support@motorva.example";

/// `text` between the side walls of the silent banner.
std::string Boxed(const std::string& text) {
  constexpr std::size_t kInnerWidth = kRuleWidth - 2;
  return "| " + text + std::string(kInnerWidth - CharacterCount(text), ' ') + " |";
}

std::string InBrackets(const std::string& table) {
  return " [" + table + "] ";
}

std::string ReturnedCode(std::int32_t code) {
  return "Function returned code: " + TextOfInteger(code) + " - Not Avail/In-Use";
}

}  // namespace

std::string Rule() {
  return std::string(kRuleWidth, '-');
}

std::vector<std::string> SilentBanner(const std::string& now) {
  const std::string rule = Rule();
  return {"," + rule + ".",
          Boxed("Motorva\u00A9 Mobile Edition - Database Synchronization Utility"),
          Boxed(kSupportContact),
          "`" + rule + "'",
          "Silent Synchronization Began: " + now,
          "Synchronizing " + TextOfInteger(kCountedTables) + " data tables",
          rule};
}

std::vector<std::string> InteractiveBanner(const Settings& settings, const std::string& version,
                                           const std::string& now) {
  const std::string doubleRule(kRuleWidth, '=');
  return {doubleRule,
          "Motorva\u2122 Mobile Edition - Database Synchronization Utility",
          kSupportContact,
          doubleRule,
          " Software Version: " + version,
          " Synchronization Began: " + now,
          " Local Host Database: " + settings.DesktopDBPath,
          " Local Folder for Remote Source: " + settings.PCSyncSourcePath,
          " Local Folder for Remote Destination: " + settings.PCSyncDestPath,
          " Synchronizing " + TextOfInteger(kCountedTables) + " data tables",
          Rule()};
}

std::string BackupLine(const std::string& backupPath) {
  return "   Backup Desktop Database to: " + backupPath;
}

std::string Retrieving(const std::string& table) {
  return "   Retrieving table" + InBrackets(table) + "from device";
}
std::string Retrieved(const std::string& table) {
  return "   Table" + InBrackets(table) + "successfully retrieved from device";
}
std::string NotRetrieved(const std::string& table, std::int32_t code) {
  return ">> Unable to retrieve table [" + table + "] from device. " + ReturnedCode(code);
}
std::string Converting(const std::string& table) {
  return "   Converting source" + InBrackets(table) + "data from device";
}
std::string SourceCreated(const std::string& table) {
  return "   ISyncable object for" + InBrackets(table) + "source data successfully created";
}
std::string ResultCreated(const std::string& table) {
  return "   ISyncable object for" + InBrackets(table) + "result set successfully created";
}
std::string Synchronizing(const std::string& table) {
  return "   Synchronizing [" + table + "]...";
}
std::string Transferring(const std::string& table) {
  return "   Transferring" + InBrackets(table) + "table back to device";
}
std::string Successful(const std::string& table, const std::string& modeResultText) {
  return ">> SUCCESSFUL" + InBrackets(table) + modeResultText;
}
std::string NotReturned(const std::string& table, std::int32_t code) {
  return ">> Unable to return updated table [" + table + "] to device. " + ReturnedCode(code);
}

std::string Ended(std::int16_t tablesSynchronized, const std::string& now) {
  return "Synchronization of " + TextOfInteger(tablesSynchronized) + " of " + TextOfInteger(kCountedTables) +
         " tables ended: " + now;
}

std::vector<std::string> SilentEnd(std::int16_t tablesSynchronized, const std::string& now) {
  std::vector<std::string> lines = {Rule(), "Silent " + Ended(tablesSynchronized, now)};
  if (tablesSynchronized != kCountedTables) {
    lines.push_back(kErrorsOccurred);
    lines.push_back(
        "** Unable to retrieve PDA data. Please make sure that Motorva Mobile Edition is NOT running on your PDA.");
  }
  return lines;
}

std::vector<std::string> InteractiveEnd(std::int16_t tablesSynchronized, const std::string& now) {
  return {Rule(), " " + Ended(tablesSynchronized, now)};
}

std::vector<std::string> NoHandheld(const std::string& now) {
  return {"Silent Synchronization was attempted and terminated at: " + now,
          "** Unable to initialize RAPI connection with PDA.", Rule()};
}

std::string StoppedBy(const Error& error, const std::string& desktopDBPath) {
  if (error.Number() == errors::kPermissionDenied) {
    return "Unable to overwite [" + desktopDBPath + "] database. Database in use.";
  }
  return "Error: " + TextOfInteger(error.Number()) + " has occurred. Description: " + error.Description();
}

std::string StoppedAt(const std::string& now) {
  return "Synchronization Stopped Due to Errors: " + now;
}

std::string InteractiveStoppedAt(const std::string& now) {
  return " " + StoppedAt(now);
}

}  // namespace mv::log_texts

namespace mv::window_texts {

std::string Retrieving(const std::string& table) {
  return "Retrieving Table " + table + " from Device";
}

std::string NotRetrieved(const std::string& table) {
  return "Unable to Retrieve Table " + table + " from Device - SYNC FAILED";
}

std::string Reading(const std::string& table) {
  return "Reading source " + table + " table";
}

std::string Synchronizing(const std::string& table) {
  return "Synchronizing " + table + "...";
}

std::string Completed(const std::string& table) {
  return "Synchronization of Table " + table + " Complete";
}

std::string NotReturned(const std::string& table) {
  return "Unable to Return Updated Table " + table + " to Device";
}

std::string EndedAt(const std::string& now) {
  return "Synchronization Ended - " + now;
}

std::string Began(const std::string& now) {
  return "Synchronization Began: " + now;
}

std::string NotRetrievedLine(const std::string& table, std::int32_t code) {
  return "Unable to retrieve table [" + table + "] from device. Function returned code: " + TextOfInteger(code) +
         " - Not Avail/In-Use";
}

std::string Successful(const std::string& table, const std::string& modeResultText) {
  return "SUCCESSFUL [" + table + "] " + modeResultText;
}

std::string EndedWithErrors(const std::string& now) {
  return "Synchronization Ended with Errors: " + now;
}

std::string NotSupported(const std::string& table) {
  return "Table name: " + table + " is not supported.";
}

std::string NotReturnedMessage(const std::string& table, std::int32_t code) {
  return NotReturned(table) + ". Function returned code: " + TextOfInteger(code);
}

}  // namespace mv::window_texts
