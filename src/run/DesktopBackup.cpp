#include "run/DesktopBackup.h"

#include <memory>
#include <string>

#include "base/Date.h"
#include "base/Error.h"
#include "base/Text.h"
#include "jet/file/DatabaseFile.h"
#include "platform/StagedWrite.h"
#include "run/RunTexts.h"
#include "run/TemplateCheck.h"
#include "run/TemplateFile.h"

namespace mv {
namespace {

using platform::StagedWrite;

/// Day and time are two readings of the clock.
CivilTime Now(const platform::Clock& clock) {
  CivilTime now = clock.Now();
  const CivilTime time = clock.Now();
  now.hour = time.hour;
  now.minute = time.minute;
  now.second = time.second;
  return now;
}

/// A backup under a name that nobody else has or is about to have.
struct Backup {
  std::string path;
  std::unique_ptr<StagedWrite> file;
};

/// Null when another run is writing a backup of that name, or has written it.
std::unique_ptr<StagedWrite> Reserve(platform::FileSystem& files, const std::string& path, const std::string& like) {
  if (files.FileExists(path)) return nullptr;
  try {
    auto file = std::make_unique<StagedWrite>(files, path, like);
    return files.FileExists(path) ? nullptr : std::move(file);
  } catch (const Error& error) {
    if (error.Number() != errors::kPermissionDenied) throw;
    return nullptr;
  }
}

/// Logs the name that it found.
Backup MakeBackup(const RunContext& run, const std::string& database) {
  Backup backup;
  for (CivilTime time = Now(run.clock); !backup.file; time = SecondAfter(time)) {
    backup.path = database + kBackupInfix + TimeStamp(time);
    try {
      backup.file = Reserve(run.files, backup.path, database);
    } catch (const Error&) {
      run.log.WriteLogLine(log_texts::BackupLine(backup.path), false);
      throw;
    }
  }
  run.log.WriteLogLine(log_texts::BackupLine(backup.path), false);
  return backup;
}

void CopyDatabase(const RunContext& run, const std::string& database, Backup& backup) {
  const auto source = jet::OpenDatabaseFile(run.files, database, jet::DatabaseAccess::Read);
  platform::CopyContent(*source, backup.file->Contents());
  backup.file->FinishNew();
}

/// What was checked is what is laid down: the template is read once. It is not held meanwhile, since the engine may
/// want to open it for the check.
template <typename BeforeTemplate>
void LayTemplateOver(const RunContext& run, const std::string& database, std::span<const SyncTable> tables,
                     BeforeTemplate beforeTemplate) {
  const std::string path = TemplatePath(run.files, run.programFolder);
  const Bytes content = platform::ReadWhole(*jet::OpenDatabaseFile(run.files, path, jet::DatabaseAccess::Read));
  CheckTemplate(run, path, content, tables);
  beforeTemplate();
  run.files.WriteWhole(database, content);
}

}  // namespace

void BackupDesktopDatabase(const RunContext& run, std::span<const SyncTable> tables,
                           const std::function<void(const std::string&)>& beforeTemplate) {
  const std::string& database = run.state.settings.DesktopDBPath;
  Backup backup = MakeBackup(run, database);
  CopyDatabase(run, database, backup);
  LayTemplateOver(run, database, tables, [&] {
    if (beforeTemplate) beforeTemplate(backup.path);
  });
}

void RemoveUnfinishedBackups(const RunContext& run) {
  const std::string unfinished = run.files.StagedName({});
  for (const std::string& backup : run.protectedFiles.Backups()) {
    if (!backup.ends_with(unfinished) || run.files.IsRangeLocked(backup, 0, 1)) continue;
    try {
      StagedWrite::TakeOver(run.files, backup.substr(0, backup.size() - unfinished.size()));
    } catch (const Error&) {
      // A run that is still writing it, or a file of somebody else: in nobody's way.
    }
  }
}

}  // namespace mv
