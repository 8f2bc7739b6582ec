#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "base/Error.h"
#include "jet/Database.h"
#include "jet/index/IndexKey.h"
#include "jet/index/IndexTree.h"
#include "support/MemoryFileSystem.h"

namespace mv::testing {

/// Does to a database file, which may be damaged in any way, what the program does to databases: opens it, reads every
/// value, looks rows up, inserts, updates, deletes, adds a table, commits. Only mv::Error may come of that, and it is
/// taken for an answer. What must not happen is that writing to one table changes another: Run compares what every
/// other table reads like before and after, tables that relations join to it aside.
class JetExercise {
 public:
  /// `seed` decides which rows are changed.
  JetExercise(Bytes image, unsigned seed) : image_(std::move(image)), random_(seed) {}

  /// Returns what went wrong, nothing when all is well.
  std::string Run() {
    if (!Attempt([&] { before_ = Read(image_); })) {
      Attempt([&] { Open(image_, jet::PageFile::Mode::ReadWrite); });
      return {};
    }
    for (const std::string& name : SomeTables()) {
      const std::string complaint = ChangeRowsOf(name);
      if (!complaint.empty()) return complaint;
    }
    return AddTable();
  }

  /// Tables that Run found readable, and changes that it got through: a test that damages everything beyond use would
  /// show nothing.
  std::size_t TablesRead() const { return before_.size(); }
  std::size_t Changes() const { return changes_; }

 private:
  static constexpr const char* kPath = "x.mdb";
  static constexpr std::size_t kTablesChanged = 2;
  static constexpr int kRounds = 4;

  struct Reading {
    std::map<std::uint32_t, std::string> rows;  ///< readable rows by address
    bool complete = false;                      ///< no row was missed
    jet::PageNumber page = 0;                   ///< of the definition
    std::set<jet::PageNumber> related;          ///< definitions that its relations name
  };
  using Readings = std::map<std::string, Reading>;

  struct File {
    MemoryFileSystem files;
    std::unique_ptr<jet::Database> database;
  };

  template <typename Action>
  static bool Attempt(Action action) {
    try {
      action();
      return true;
    } catch (const Error&) {
      return false;
    }
  }

  static std::unique_ptr<File> Open(const Bytes& image, jet::PageFile::Mode mode) {
    auto file = std::make_unique<File>();
    file->files.Put(kPath, image);
    file->database = jet::Database::Open(file->files, kPath, mode);
    return file;
  }

  static std::set<std::string> NamesOf(const jet::Database& database) {
    const std::vector<std::string> names = database.TableNames();
    std::set<std::string> all(names.begin(), names.end());
    all.insert({"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"});
    return all;
  }

  /// What a value is, bit by bit: numbers that are no number are equal to themselves here.
  static std::string TextOf(const Value& value) {
    struct Writer {
      std::string operator()(const Null&) const { return "null"; }
      std::string operator()(bool flag) const { return flag ? "true" : "false"; }
      std::string operator()(std::uint8_t number) const { return std::to_string(number); }
      std::string operator()(std::int16_t number) const { return std::to_string(number); }
      std::string operator()(std::int32_t number) const { return std::to_string(number); }
      std::string operator()(float number) const { return std::to_string(std::bit_cast<std::uint32_t>(number)); }
      std::string operator()(double number) const { return std::to_string(std::bit_cast<std::uint64_t>(number)); }
      std::string operator()(Currency amount) const { return std::to_string(amount.tenThousandths); }
      std::string operator()(Date date) const { return (*this)(date.days); }
      std::string operator()(const std::string& text) const { return text; }
      std::string operator()(const Bytes& bytes) const { return std::string(bytes.begin(), bytes.end()); }
    };
    return std::visit(Writer(), value);
  }

  /// The values of a row, and whether each index leads to it.
  static std::string ReadRow(jet::Database& database, const jet::Table& table, jet::RowId row) {
    const std::vector<Value> values = table.ReadRow(row);
    std::string text;
    for (const Value& value : values) text += TextOf(value) + '|';
    const jet::TableDefinition& definition = table.Definition();
    jet::FreePages freePages(database.Pages());
    for (const jet::IndexData& index : definition.indexData) {
      std::string found = "?";
      Attempt([&] {
        const jet::IndexKey key = jet::KeyOf(definition, index, values);
        found = jet::IndexTree(database.Pages(), freePages, definition.page, index).Find(key.bytes) ? "+" : "-";
      });
      text += found;
    }
    return text;
  }

  static Reading ReadTable(jet::Database& database, const std::string& name) {
    Reading reading;
    const jet::Table& table = database.OpenTable(name);
    reading.page = table.Definition().page;
    for (const jet::LogicalIndex& index : table.Definition().indexes) {
      if (index.relation != 0) reading.related.insert(index.otherTable);
    }
    reading.complete = Attempt([&] {
      for (auto row = table.First(); row; row = table.Next(*row)) {
        std::string text = "unreadable";
        Attempt([&] { text = ReadRow(database, table, *row); });
        reading.rows.emplace(row->Word(), std::move(text));
      }
    });
    return reading;
  }

  static Readings Read(const Bytes& image) {
    Readings readings;
    const auto file = Open(image, jet::PageFile::Mode::ReadOnly);
    for (const std::string& name : NamesOf(*file->database)) {
      Attempt([&] { readings[name] = ReadTable(*file->database, name); });
    }
    return readings;
  }

  std::vector<std::string> SomeTables() {
    std::vector<std::string> names;
    for (const auto& [name, reading] : before_) {
      if (!name.starts_with("MSys")) names.push_back(name);
    }
    std::shuffle(names.begin(), names.end(), random_);
    if (names.size() > kTablesChanged) names.resize(kTablesChanged);
    return names;
  }

  Value SomeValue(jet::ColumnType type) {
    switch (type) {
      case jet::ColumnType::Boolean:
        return random_() % 2 == 0;
      case jet::ColumnType::DateTime:
        return Date{38000.25 + static_cast<double>(random_() % 9999)};
      case jet::ColumnType::Binary:
      case jet::ColumnType::RawBlock:
        return Bytes(random_() % 12, 7);
      case jet::ColumnType::Ole:
        return Bytes(LongLength(), 8);
      case jet::ColumnType::Memo:
        return std::string(LongLength(), 'm');
      case jet::ColumnType::Guid:
        return std::string("{01234567-89AB-CDEF-0123-456789ABCDEF}");
      case jet::ColumnType::Text:
        return "t" + std::to_string(random_());
      default:
        return static_cast<std::int32_t>(random_() % 200);
    }
  }

  /// A length of each of the three forms that long values have.
  std::size_t LongLength() {
    static constexpr std::size_t kLengths[] = {0, 20, 300, 3000, 9000};
    return kLengths[random_() % std::size(kLengths)];
  }

  std::vector<Value> SomeRow(const jet::TableDefinition& table) {
    std::vector<Value> values;
    for (const jet::Column& column : table.columns) {
      values.push_back(column.IsAutonumber() || random_() % 8 == 0 ? Value(Null()) : SomeValue(column.type));
    }
    return values;
  }

  void ChangeRows(jet::Table& table) {
    std::vector<jet::RowId> rows;
    Attempt([&] {
      for (auto row = table.First(); row; row = table.Next(*row)) rows.push_back(*row);
    });
    const jet::TableDefinition& definition = table.Definition();
    for (int round = 0; round < kRounds; ++round) {
      Count([&] { rows.push_back(table.Insert(SomeRow(definition))); });
      if (rows.empty() || definition.columns.empty()) continue;
      const std::size_t column = random_() % definition.columns.size();
      const Value value = SomeValue(definition.columns[column].type);
      Count([&] { table.Update(rows[random_() % rows.size()], {&column, 1}, {&value, 1}); });
      Count([&] { table.Delete(rows[random_() % rows.size()]); });
    }
  }

  template <typename Action>
  void Count(Action action) {
    if (Attempt(action)) ++changes_;
  }

  std::string ChangeRowsOf(const std::string& name) {
    std::unique_ptr<File> file;
    if (!Attempt([&] { file = Open(image_, jet::PageFile::Mode::ReadWrite); })) return {};
    if (!Attempt([&] { ChangeRows(file->database->OpenTable(name)); })) return {};
    if (!Attempt([&] { file->database->Commit(); })) return {};
    file->database.reset();
    return CompareOthers(file->files.Content(kPath), RelatedTo(name), "changing rows of '" + name + "'");
  }

  /// The table and those that changes to it may reach through relations, in which each side names the other.
  std::set<std::string> RelatedTo(const std::string& name) const {
    std::set<std::string> reached = {name};
    for (std::size_t count = 0; count != reached.size();) {
      count = reached.size();
      for (const auto& entry : before_) {
        const Reading& other = entry.second;
        const bool isReached = std::any_of(reached.begin(), reached.end(), [&](const std::string& from) {
          const Reading& origin = before_.at(from);
          return origin.related.contains(other.page) && other.related.contains(origin.page);
        });
        if (isReached) reached.insert(entry.first);
      }
    }
    return reached;
  }

  std::string AddTable() {
    std::unique_ptr<File> file;
    jet::ColumnSpec key;
    key.name = "Key";
    key.characters = 9;
    jet::ColumnSpec memo;
    memo.name = "Memo";
    memo.type = jet::ColumnType::Memo;
    jet::IndexSpec index;
    index.name = "PrimaryKey";
    index.columns = {{"Key"}};
    index.primaryKey = true;
    const bool done = Attempt([&] {
      file = Open(image_, jet::PageFile::Mode::ReadWrite);
      file->database->CreateTable({"A table that is new", {key, memo}, {index}}, {2026, 11, 21, 14, 5, 9});
      file->database->Commit();
    });
    if (!done) return {};
    ++changes_;
    file->database.reset();
    return CompareOthers(file->files.Content(kPath), {"MSysObjects", "MSysACEs"}, "adding a table");
  }

  std::string CompareOthers(const Bytes& image, const std::set<std::string>& changed, const std::string& what) const {
    if (image == image_) return {};  // the same file reads the same
    Readings after;
    if (!Attempt([&] { after = Read(image); })) return what + " made the file unreadable";
    for (const auto& [name, reading] : before_) {
      if (changed.contains(name)) continue;
      const auto now = after.find(name);
      if (now == after.end()) return what + " made table '" + name + "' unreadable";
      const std::string complaint = Compare(reading, now->second);
      if (!complaint.empty()) return what + " " + complaint + " of table '" + name + "'";
    }
    return {};
  }

  static std::string Compare(const Reading& before, const Reading& after) {
    for (const auto& [address, text] : before.rows) {
      const auto now = after.rows.find(address);
      const std::string row = "row " + std::to_string(address >> 8) + "/" + std::to_string(address & 0xFF);
      if (now == after.rows.end()) return "lost " + row;
      if (now->second != text && text != "unreadable") return "changed " + row;
    }
    if (before.complete && after.rows.size() != before.rows.size()) return "added a row";
    return {};
  }

  Bytes image_;
  std::mt19937 random_;
  Readings before_;
  std::size_t changes_ = 0;
};

}  // namespace mv::testing
