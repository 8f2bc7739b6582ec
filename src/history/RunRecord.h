#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/Json.h"
#include "platform/FileSystem.h"

namespace mv::history {

/// How far a table got.
enum class TableState {
  NotRetrieved,  ///< `code` says why
  Retrieved,     ///< the handheld's file is here; neither side was changed
  Merged,        ///< the desktop has the merged rows
  NotReturned,   ///< so it has, and the handheld its old file; `code` says why
  Returned,      ///< both sides are done
  Held,          ///< the run stopped before it saved the table; its changes are those that it would have made
};

/// Rows of one side of a table: what it held before and after, and what came, changed and went. Records that the
/// handheld has flagged as deleted count as rows of it before, and as deleted when they are gone.
struct SideCounts {
  std::int64_t before = 0;
  std::int64_t after = 0;
  std::int64_t added = 0;
  std::int64_t changed = 0;
  std::int64_t deleted = 0;

  friend bool operator==(const SideCounts&, const SideCounts&) = default;
};

/// What a run did to a table.
struct TableRecord {
  std::string table;
  TableState state = TableState::Retrieved;
  std::int32_t code = 0;  ///< of the copy that failed
  SideCounts desktop;
  SideCounts handheld;
  std::int64_t dropped =
      0;  ///< rows that the handheld lost, since no desktop row matched them and nothing flagged them
  std::int64_t overruled = 0;  ///< rows edited on the desktop that lost against the handheld's flag

  friend bool operator==(const TableRecord&, const TableRecord&) = default;
};

/// The desktop database as an entry of the history keeps it.
struct KeptDatabase {
  std::string name;           ///< of the file in the entry's folder
  platform::FileFacts facts;  ///< when it was kept: a linked file may be written to by other programs

  friend bool operator==(const KeptDatabase&, const KeptDatabase&) = default;
};

/// What a restore is to do and has done.
struct RestoreRecord {
  std::string of;                   ///< the run whose beginning comes back
  bool desktop = false;             ///< the sides that it is for
  std::vector<std::string> tables;  ///< of the handheld
  bool desktopDone = false;
  std::vector<std::string> tablesDone;

  friend bool operator==(const RestoreRecord&, const RestoreRecord&) = default;
};

/// The file run.json of an entry: all that is known of a run or a restore. Times are local, "2026-11-22T06:30:00".
struct RunRecord {
  std::string version;  ///< of the program
  std::int16_t mode = 0;
  std::string modeName;
  std::string began;
  std::string ended;                  ///< empty while it goes on, and for ever when it was killed
  std::optional<int> status;          ///< exit status; nothing likewise
  std::string error;                  ///< what stopped it; else empty
  std::string databasePath;           ///< the desktop database
  std::optional<KeptDatabase> kept;   ///< nothing when there was no database
  std::vector<std::string> unfilled;  ///< tables that an Overwrite PC had emptied and not filled before this run
  std::vector<std::pair<std::string, std::string>> settings;
  std::vector<TableRecord> tables;
  std::vector<std::string> warnings;
  std::optional<RestoreRecord> restore;  ///< nothing for a run

  friend bool operator==(const RunRecord&, const RunRecord&) = default;

  TableRecord* Find(std::string_view table);
  const TableRecord* Find(std::string_view table) const;
};

/// The member `name`, an object of the five counts.
void WriteSide(JsonWriter& writer, std::string_view name, const SideCounts& side);

/// One JSON object, with a line feed at its end.
std::string TextOf(const RunRecord& record);
/// The inverse. Members that are not known are skipped, those missing take their defaults. Failure with line and column
/// for a text that is not of the form.
RunRecord RecordFromText(std::string_view text);

}  // namespace mv::history
