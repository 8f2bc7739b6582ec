#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "history/HandheldTables.h"
#include "history/HistoryFolder.h"
#include "platform/FileSystem.h"

namespace mv::history {

/// A handheld's table file.
struct TableContent {
  std::string table;
  Bytes file;
};

/// Both sides at one time, or as much of them as somebody asked about. In memory, so that what was checked is what is
/// put in place.
struct Snapshot {
  std::optional<Bytes> database;
  std::vector<TableContent> tables;

  /// The table's file; null when there is none.
  const Bytes* Find(const std::string& table) const;
};

/// The database at `path`, kept from writers while it is read, with its structure verified. Failure that says what is
/// wrong when it is damaged or of a kind that cannot be checked.
Bytes ReadSoundDatabase(platform::FileSystem& files, const std::string& path);

/// How many records a table file has. Reads each of them; Failure when the file is damaged.
std::size_t CountRecords(const Bytes& tableFile, const std::string& table);

/// The table file at `path`, read to its last record. Failure, with the path, when it is damaged.
Bytes ReadSoundTableFile(platform::FileSystem& files, const std::string& path, const std::string& table);

/// What the handheld has of these tables now. Failure when one of them cannot be fetched.
std::vector<TableContent> FetchTables(HandheldTables& handheld, const std::vector<std::string>& tables);

}  // namespace mv::history
