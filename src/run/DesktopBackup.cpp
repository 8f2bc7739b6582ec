#include "run/DesktopBackup.h"

#include <string>

#include "base/Error.h"
#include "base/Text.h"
#include "jet/file/PageFile.h"
#include "run/LogTexts.h"

namespace mv {
namespace {

/// `number` with zeros in front up to `width` digits.
std::string Digits(int number, std::size_t width) {
  std::string digits = std::to_string(number);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

/// "yyyymmdd-hhmmss". Day and time are two readings of the clock.
std::string TimeStamp(const platform::Clock& clock) {
  const CivilTime day = clock.Now();
  const CivilTime time = clock.Now();
  return Digits(day.year, 4) + Digits(day.month, 2) + Digits(day.day, 2) + "-" + Digits(time.hour, 2) +
         Digits(time.minute, 2) + Digits(time.second, 2);
}

}  // namespace

void BackupDesktopDatabase(const RunContext& run) {
  const std::string& database = run.state.settings.DesktopDBPath;
  const std::string backup = database + kBackupInfix + TimeStamp(run.clock);
  run.log.WriteLogLine(log_texts::BackupLine(backup), false);
  // The engine of the platform may hold the database by its lock file alone.
  if (jet::PageFile::IsLockedByEngine(run.files, database)) throw StandardError(errors::kPermissionDenied);
  run.files.CopyWhole(database, backup);
  run.files.CopyWhole(JoinPath(run.programFolder, kTemplateName), database);
}

}  // namespace mv
