// The work of a silent Synchronize done by SQLite, as a peer of the program's own: the same table files are loaded, the
// merge is SQL in one transaction a table with synchronous=FULL, and the result is written as the same table file.
//
//   mv_sqlite_run prepare DATABASE.db PEER.sqlite      copies the desktop's rows
//   mv_sqlite_run merge PEER.sqlite FOLDER             merges the table files of FOLDER, and replaces them
//
// Left out are what only the program does: history, change report, log, reading the result back.

#include <sqlite3.h>

#include <cstdint>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "jet/Database.h"
#include "pdb/HandheldType.h"
#include "pdb/RecordFlags.h"
#include "pdb/TableFile.h"
#include "platform/System.h"
#include "sync/Tables.h"

namespace mv::bench {
namespace {

class Sqlite {
 public:
  explicit Sqlite(const std::string& path) {
    if (sqlite3_open(path.c_str(), &handle_) != SQLITE_OK) Fail();
    Run("PRAGMA journal_mode=WAL");
    Run("PRAGMA synchronous=FULL");
    Run("PRAGMA cache_size=-65536");
    Run("PRAGMA temp_store=MEMORY");
  }
  ~Sqlite() { sqlite3_close(handle_); }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  void Run(const std::string& sql) {
    if (sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) Fail();
  }
  sqlite3* Handle() const { return handle_; }
  [[noreturn]] void Fail() const { throw std::runtime_error(sqlite3_errmsg(handle_)); }

 private:
  sqlite3* handle_ = nullptr;
};

class Statement {
 public:
  Statement(const Sqlite& database, const std::string& sql) : database_(database) {
    if (sqlite3_prepare_v2(database.Handle(), sql.c_str(), -1, &handle_, nullptr) != SQLITE_OK) database.Fail();
  }
  ~Statement() { sqlite3_finalize(handle_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  /// The value must live until Step has returned.
  void Bind(int place, const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
      sqlite3_bind_text(handle_, place, text->data(), static_cast<int>(text->size()), SQLITE_STATIC);
    } else if (const auto* amount = std::get_if<Currency>(&value)) {
      sqlite3_bind_int64(handle_, place, amount->tenThousandths);
    } else if (const auto* date = std::get_if<Date>(&value)) {
      sqlite3_bind_double(handle_, place, date->days);
    } else if (IsNull(value)) {
      sqlite3_bind_null(handle_, place);
    } else {
      BindNumber(place, value);
    }
  }
  /// False when there are no more rows.
  bool Step() {
    const int result = sqlite3_step(handle_);
    if (result == SQLITE_ROW) return true;
    if (result != SQLITE_DONE) database_.Fail();
    sqlite3_reset(handle_);
    return false;
  }
  Value Column(int place, std::int32_t handheldType) const {
    if (sqlite3_column_type(handle_, place) == SQLITE_NULL) return Null();
    const std::int64_t number = sqlite3_column_int64(handle_, place);
    switch (static_cast<HandheldType>(handheldType)) {
      case HandheldType::Byte:
        return static_cast<std::uint8_t>(number);
      case HandheldType::Integer:
        return static_cast<std::int16_t>(number);
      case HandheldType::Long:
        return static_cast<std::int32_t>(number);
      case HandheldType::Single:
        return static_cast<float>(sqlite3_column_double(handle_, place));
      case HandheldType::Double:
        return sqlite3_column_double(handle_, place);
      case HandheldType::Currency:
        return Currency{number};
      case HandheldType::Boolean:
        return number != 0;
      case HandheldType::Date:
        return Date{sqlite3_column_double(handle_, place)};
      case HandheldType::Text:
        break;
    }
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(handle_, place));
    return std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(handle_, place)));
  }

 private:
  void BindNumber(int place, const Value& value) {
    std::visit(
        [&](const auto& number) {
          using Number = std::decay_t<decltype(number)>;
          if constexpr (std::is_floating_point_v<Number>) {
            sqlite3_bind_double(handle_, place, number);
          } else if constexpr (std::is_integral_v<Number>) {
            sqlite3_bind_int64(handle_, place, number);
          }
        },
        value);
  }

  const Sqlite& database_;
  sqlite3_stmt* handle_ = nullptr;
};

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text;
}

std::string Places(std::size_t count) {
  return Joined(std::vector<std::string>(count, "?"));
}

std::vector<std::string> NamesOf(const TableFileHeader& header) {
  std::vector<std::string> names;
  for (const TableFileField& field : header.fields) names.push_back(field.name);
  return names;
}

void Prepare(platform::FileSystem& files, const std::string& database, const std::string& peer) {
  const auto desktop = jet::Database::Open(files, database, jet::PageFile::Mode::ReadOnly);
  Sqlite sqlite(peer);
  for (const SyncTable& table : kSilentTables) {
    const jet::Table& rows = desktop->OpenTable(table.name);
    std::vector<std::string> names;
    for (const jet::Column& column : rows.Definition().columns) names.push_back(column.name);
    sqlite.Run("BEGIN");
    sqlite.Run("CREATE TABLE " + std::string(table.name) + " (" + Joined(names) + ")");
    Statement insert(sqlite, "INSERT INTO " + std::string(table.name) + " VALUES (" + Places(names.size()) + ")");
    for (std::optional<jet::RowId> row = rows.First(); row; row = rows.Next(*row)) {
      const std::vector<Value> values = rows.ReadRow(*row);
      for (std::size_t i = 0; i < values.size(); ++i) insert.Bind(static_cast<int>(i + 1), values[i]);
      insert.Step();
    }
    sqlite.Run("CREATE UNIQUE INDEX key_" + std::string(table.name) + " ON " + table.name + "(" + table.keyField + ")");
    sqlite.Run("COMMIT");
  }
}

/// The handheld's records as a temporary table "device" with their flags behind the fields.
TableFileHeader LoadDevice(Sqlite& sqlite, platform::FileSystem& files, const std::string& file) {
  TableFileReader reader(files, file);
  const std::vector<std::string> names = NamesOf(reader.Header());
  sqlite.Run("DROP TABLE IF EXISTS temp.device");
  sqlite.Run("CREATE TEMP TABLE device (" + Joined(names) + ", flags_)");
  Statement insert(sqlite, "INSERT INTO temp.device VALUES (" + Places(names.size() + 1) + ")");
  while (const std::optional<HandheldRecord> record = reader.Next()) {
    int place = 0;
    for (const Value& value : record->values) insert.Bind(++place, value);
    const Value flags = static_cast<std::int32_t>(record->attributes);
    insert.Bind(++place, flags);
    insert.Step();
  }
  return reader.Header();
}

void MergeRows(Sqlite& sqlite, const SyncTable& table, const TableFileHeader& header) {
  const std::string name = table.name;
  const std::string key = table.keyField;
  const std::string fields = Joined(NamesOf(header));
  const std::string deleted = "(flags_ & " + std::to_string(kRecordDeleted) + ") != 0";
  const std::string modified = "(flags_ & " + std::to_string(kRecordModified) + ") != 0";
  std::vector<std::string> assignments;
  for (const std::string& field : NamesOf(header)) assignments.push_back(field + " = d." + field);
  sqlite.Run("DELETE FROM " + name + " WHERE " + key + " IN (SELECT " + key + " FROM device WHERE " + deleted + ")");
  sqlite.Run("CREATE INDEX temp.device_key ON device(" + key + ")");
  sqlite.Run("UPDATE " + name + " SET " + Joined(assignments) + " FROM device AS d WHERE d." + key + " = " + name +
             "." + key + " AND NOT " + deleted + " AND " + modified);
  sqlite.Run("INSERT INTO " + name + " (" + fields + ") SELECT " + fields + " FROM device WHERE NOT " + deleted +
             " AND " + modified + " AND " + key + " NOT IN (SELECT " + key + " FROM " + name + ")");
}

void WriteResult(const Sqlite& sqlite, platform::FileSystem& files, const TableFileHeader& header,
                 const std::string& table, const std::string& file) {
  const platform::SystemClock clock;
  TableFileWriter writer(header, clock);
  Statement select(sqlite, "SELECT " + Joined(NamesOf(header)) + " FROM " + table);
  HandheldRecord record;
  while (select.Step()) {
    record.values.clear();
    for (std::size_t i = 0; i < header.fields.size(); ++i) {
      record.values.push_back(select.Column(static_cast<int>(i), header.fields[i].type));
    }
    writer.Add(record);
  }
  writer.WriteTo(files, file);
}

void Merge(platform::FileSystem& files, const std::string& peer, const std::string& folder) {
  Sqlite sqlite(peer);
  for (const SyncTable& table : kSilentTables) {
    const std::string file = folder + "/" + table.name + ".pdb";
    sqlite.Run("BEGIN");
    const TableFileHeader header = LoadDevice(sqlite, files, file);
    MergeRows(sqlite, table, header);
    sqlite.Run("COMMIT");
    WriteResult(sqlite, files, header, table.name, file);
  }
}

int Main(const std::vector<std::string>& words) {
  const auto files = platform::MakeFileSystem();
  if (words.size() == 3 && words[0] == "prepare") {
    Prepare(*files, words[1], words[2]);
  } else if (words.size() == 3 && words[0] == "merge") {
    Merge(*files, words[1], words[2]);
  } else {
    std::cerr << "usage: mv_sqlite_run prepare DATABASE.db PEER.sqlite | merge PEER.sqlite FOLDER\n";
    return 2;
  }
  return 0;
}

}  // namespace
}  // namespace mv::bench

int main(int count, char** words) {
  try {
    return mv::bench::Main(std::vector<std::string>(words + 1, words + count));
  } catch (const mv::Error& error) {
    std::cerr << error.Description() << '\n';
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
  }
  return 1;
}
