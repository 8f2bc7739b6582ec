#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "base/Utf.h"
#include "jet/Table.h"
#include "support/ExpectSound.h"
#include "support/JetDatabase.h"

// Random changes against a plain map from address to values: whatever was done, the table holds what the map holds, the
// indexes agree with the rows, and an external checker finds the file sound.

namespace mv::jet {
namespace {

using mv::testing::ExpectIndexesMatchRows;
using mv::testing::ExpectSound;
using mv::testing::JetDatabase;
using mv::testing::JetTable;

JetTable Design() {
  JetTable design("Storm");
  design.Autonumber("ID")
      .Text("KEY", 20)
      .Column("FLAG", ColumnType::Boolean)
      .Column("N", ColumnType::Long)
      .Column("D", ColumnType::Double)
      .Column("WHEN", ColumnType::DateTime)
      .Column("PRICE", ColumnType::Currency)
      .Text("LONG TEXT", 255)
      .Column("NOTES", ColumnType::Memo)
      .Column("PICTURE", ColumnType::Ole)
      .Column("GUID", ColumnType::Guid)
      .Column("EXACT", ColumnType::Decimal)
      .Column("RAW", ColumnType::Binary, 60)
      .PrimaryKey("KEY");
  design.Index("ID", {"ID"}).unique = true;
  design.Index("Numbers", {"N", "D"}).ignoreNulls = true;
  design.Index("Text", {"LONG TEXT"}).columns[0].ascending = false;
  design.Index("Flags", {"FLAG", "WHEN"});
  return design;
}

class Storm {
 public:
  explicit Storm(unsigned seed) : random_(seed), table_(database_.Add(Design())) {}

  void Change() {
    const std::size_t kind = Below(10);
    if (rows_.empty() || kind < 4) {
      Insert();
    } else if (kind < 8) {
      Update();
    } else {
      Delete();
    }
  }

  void Check() {
    ASSERT_EQ(table_.Count(), static_cast<std::int64_t>(rows_.size()));
    ASSERT_EQ(RowCount(database_->Pages(), table_.Definition()), rows_.size());
    auto expected = rows_.begin();
    for (auto row = table_.First(); row; row = table_.Next(*row), ++expected) {
      ASSERT_NE(expected, rows_.end());
      ASSERT_EQ(*row, expected->first);
      ASSERT_EQ(table_.ReadRow(*row), expected->second);
    }
    ASSERT_EQ(expected, rows_.end());
    ASSERT_NO_FATAL_FAILURE(ExpectIndexesMatchRows(*database_, table_));
  }

  Bytes Image() { return database_.Image(); }
  void Commit() { database_->Commit(); }
  std::size_t Refusals() const { return refusals_; }

 private:
  std::size_t Below(std::size_t limit) { return random_() % limit; }

  std::string RandomText(std::size_t longest) {
    const char32_t kinds[] = {U'a', U'A', U' ', U'-', U'\'', 0xE9, 0xDF, 0x152, 0x416, 0x4E2D};
    std::string text;
    const std::size_t length = Below(longest + 1);
    const std::size_t variety = 1 + Below(std::size(kinds));
    for (std::size_t i = 0; i < length; ++i) {
      const char32_t kind = kinds[Below(variety)];
      AppendUtf8(text, kind == U'a' || kind == U'A' ? kind + static_cast<char32_t>(Below(26)) : kind);
    }
    return text;
  }

  Bytes RandomBytes(std::size_t longest) {
    Bytes bytes(Below(longest + 1));
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_());
    return bytes;
  }

  Value RandomValue(std::size_t column) {
    const ColumnType type = table_.Definition().columns[column].type;
    if (column > 1 && type != ColumnType::Boolean && Below(5) == 0) return Null();
    const bool large = Below(12) == 0;
    switch (column) {
      case 0:
        return Null();
      case 1:
        return "KEY" + std::to_string(Below(150)) + RandomText(1);
      case 2:
        return Below(2) == 0;
      case 3:
        return static_cast<std::int32_t>(Below(50)) - 25;
      case 4:
        return static_cast<double>(Below(7)) / 4 - 1;
      case 5:
        return Date{static_cast<double>(Below(90000)) - 20000.25};
      case 6:
        return Currency{static_cast<std::int64_t>(Below(1000000)) - 500000};
      case 7:
        return RandomText(large ? 80 : 30);
      case 8:
        return RandomText(large ? 6000 : Below(3) == 0 ? 400 : 40);
      case 9:
        return RandomBytes(large ? 15000 : Below(3) == 0 ? 2000 : 70);
      case 10:
        return std::string(Below(2) == 0 ? "{01234567-89AB-CDEF-0123-456789ABCDEF}"
                                         : "{00000000-0000-0000-0000-0000000000FF}");
      case 11:
        return std::string(Below(2) == 0 ? "-12.5000" : "99999999999999.9999");
      default:
        return RandomBytes(60);
    }
  }

  void Insert() {
    std::vector<Value> values;
    for (std::size_t column = 0; column < table_.Definition().columns.size(); ++column) {
      values.push_back(RandomValue(column));
    }
    try {
      const RowId row = table_.Insert(values);
      values[0] = ++lastNumber_;
      ASSERT_TRUE(rows_.emplace(row, values).second);
    } catch (const Error& error) {
      ASSERT_EQ(error.Number(), errors::kJetConstraint) << error.Description();
      ++refusals_;
    }
  }

  void Update() {
    auto& [row, values] = *std::next(rows_.begin(), static_cast<std::ptrdiff_t>(Below(rows_.size())));
    std::vector<std::size_t> columns;
    std::vector<Value> changed;
    for (std::size_t column = 1; column < values.size(); ++column) {
      if (Below(3) != 0) continue;
      columns.push_back(column);
      changed.push_back(Below(4) == 0 ? values[column] : RandomValue(column));
    }
    try {
      table_.Update(row, columns, changed);
      for (std::size_t i = 0; i < columns.size(); ++i) values[columns[i]] = changed[i];
    } catch (const Error& error) {
      ASSERT_EQ(error.Number(), errors::kJetConstraint) << error.Description();
      ++refusals_;
    }
  }

  void Delete() {
    const auto victim = std::next(rows_.begin(), static_cast<std::ptrdiff_t>(Below(rows_.size())));
    table_.Delete(victim->first);
    rows_.erase(victim);
  }

  std::mt19937 random_;
  JetDatabase database_;
  Table& table_;
  std::map<RowId, std::vector<Value>> rows_;
  std::int32_t lastNumber_ = 0;
  std::size_t refusals_ = 0;
};

TEST(TableProperty, RandomChangesMatchAModelAndTheIndexes) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Storm storm(seed);
    for (int change = 1; change <= 900; ++change) {
      ASSERT_NO_FATAL_FAILURE(storm.Change());
      if (change % 100 != 0) continue;
      ASSERT_NO_FATAL_FAILURE(storm.Check());
      storm.Commit();
    }
    EXPECT_GT(storm.Refusals(), 10U);
  }
}

TEST(TableProperty, SameChangesGiveTheSameFile) {
  std::vector<Bytes> images;
  for (int run = 0; run < 2; ++run) {
    Storm storm(99);
    for (int change = 0; change < 300; ++change) ASSERT_NO_FATAL_FAILURE(storm.Change());
    images.push_back(storm.Image());
  }
  EXPECT_TRUE(images[0] == images[1]);
}

TEST(TableProperty, FileAfterRandomChangesIsSound) {
  for (unsigned seed = 11; seed <= 12; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Storm storm(seed);
    for (int change = 1; change <= 1500; ++change) {
      ASSERT_NO_FATAL_FAILURE(storm.Change());
      if (change == 20 || change == 400) ExpectSound(storm.Image());
    }
    ExpectSound(storm.Image());
  }
}

}  // namespace
}  // namespace mv::jet
