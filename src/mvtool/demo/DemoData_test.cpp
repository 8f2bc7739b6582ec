#include "mvtool/demo/DemoData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "base/Cp1252.h"
#include "base/Text.h"
#include "base/Utf.h"
#include "json/Json.h"
#include "mvtool/demo/DemoRows.h"
#include "mvtool/demo/SampleSchema.h"
#include "mvtool/files/ColumnTypes.h"
#include "mvtool/text/ValueText.h"
#include "pdb/FieldValue.h"
#include "pdb/RecordFlags.h"
#include "pdb/TableFormat.h"

namespace mv::tool {
namespace {

constexpr std::size_t kMaintenance = 5;
constexpr std::size_t kVehicle = 12;

std::string KeyOf(const std::vector<Value>& row) {
  return FoldCase(std::get<std::string>(row[kKeyColumn]));
}

const std::vector<Value>* DesktopRowWithKey(const DemoTable& table, const std::string& key) {
  const auto found = std::find_if(table.desktopRows.begin(), table.desktopRows.end(),
                                  [&](const auto& row) { return KeyOf(row) == key; });
  return found == table.desktopRows.end() ? nullptr : &*found;
}

/// What a run will find for a handheld's record: the cases of the merge.
std::string CaseOf(const DemoTable& table, const HandheldRecord& record) {
  const std::vector<Value>* const row = DesktopRowWithKey(table, KeyOf(record.values));
  std::string text = row == nullptr ? "unmatched" : "matched";
  if ((record.attributes & kRecordDeleted) != 0) text += " deleted";
  if ((record.attributes & kRecordModified) != 0) text += " modified";
  if (row != nullptr && text == "matched") text += *row == record.values ? " same" : " differs";
  return text;
}

TEST(DemoDataTest, EveryCaseOfTheMergeOccursInEveryTable) {
  for (std::size_t i = 0; i < kSampleTableCount; ++i) {
    const DemoTable table = MakeDemoTable(i, DemoPlan::Varied());
    std::map<std::string, int> counts;
    std::set<std::string> handheldKeys;
    for (const HandheldRecord& record : table.handheldRecords) {
      ++counts[CaseOf(table, record)];
      handheldKeys.insert(KeyOf(record.values));
    }
    for (const auto& row : table.desktopRows) counts["desktop only"] += handheldKeys.contains(KeyOf(row)) ? 0 : 1;
    for (const char* wanted :
         {"matched same", "matched differs", "matched modified", "matched deleted", "matched deleted modified",
          "unmatched", "unmatched modified", "unmatched deleted", "desktop only"}) {
      EXPECT_GT(counts[wanted], 0) << wanted << " in " << table.design.name;
    }
  }
}

TEST(DemoDataTest, RepeatedKeysOnTheHandheldOccurInBothOrders) {
  for (std::size_t i = 0; i < kSampleTableCount; ++i) {
    const DemoTable table = MakeDemoTable(i, DemoPlan::Varied());
    std::map<std::string, std::vector<int>> flags;
    for (const HandheldRecord& record : table.handheldRecords) {
      flags[KeyOf(record.values)].push_back(record.attributes & (kRecordModified | kRecordDeleted));
    }
    const auto has = [&](const std::vector<int>& wanted) {
      return std::any_of(flags.begin(), flags.end(), [&](const auto& entry) { return entry.second == wanted; });
    };
    EXPECT_TRUE(has({kRecordDeleted, kRecordModified})) << table.design.name;
    EXPECT_TRUE(has({0, kRecordDeleted})) << table.design.name;
  }
}

TEST(DemoDataTest, KeyThatDiffersInCaseOnlyOccursInEveryTable) {
  for (std::size_t i = 0; i < kSampleTableCount; ++i) {
    const DemoTable table = MakeDemoTable(i, DemoPlan::Varied());
    const bool occurs =
        std::any_of(table.handheldRecords.begin(), table.handheldRecords.end(), [&](const HandheldRecord& record) {
          const auto* const row = DesktopRowWithKey(table, KeyOf(record.values));
          return row != nullptr && (*row)[kKeyColumn] != record.values[kKeyColumn];
        });
    EXPECT_TRUE(occurs) << table.design.name;
  }
}

TEST(DemoDataTest, EachSideHas20To60Rows) {
  for (std::size_t i = 0; i < kSampleTableCount; ++i) {
    const DemoTable table = MakeDemoTable(i, DemoPlan::Varied());
    EXPECT_GE(table.desktopRows.size(), 20u) << table.design.name;
    EXPECT_LE(table.desktopRows.size(), 60u) << table.design.name;
    EXPECT_GE(table.handheldRecords.size(), 20u) << table.design.name;
    EXPECT_LE(table.handheldRecords.size(), 60u) << table.design.name;
  }
}

TEST(DemoDataTest, DesktopKeysAreUniqueWithoutRegardToCaseAndHoldNoQuote) {
  for (std::size_t i = 0; i < kSampleTableCount; ++i) {
    for (const DemoPlan& plan : {DemoPlan::Varied(), DemoPlan::Uniform(4000)}) {
      const DemoTable table = MakeDemoTable(i, plan);
      std::set<std::string> keys;
      for (const auto& row : table.desktopRows) {
        EXPECT_TRUE(keys.insert(KeyOf(row)).second) << KeyOf(row);
        EXPECT_EQ(KeyOf(row).find('\''), std::string::npos);
      }
    }
  }
}

TEST(DemoDataTest, ValuesFitTheirColumns) {
  for (std::size_t i = 0; i < kSampleTableCount; ++i) {
    const DemoTable table = MakeDemoTable(i, DemoPlan::Varied());
    const auto check = [&](const std::vector<Value>& row) {
      ASSERT_EQ(row.size(), table.design.columns.size());
      for (std::size_t c = 0; c < row.size(); ++c) {
        const jet::ColumnSpec& column = table.design.columns[c];
        if (!IsNull(row[c])) {
          EXPECT_EQ(row[c].index(), ZeroValueOf(HandheldTypeOf(column.type)).index()) << column.name;
        }
        if (column.type == jet::ColumnType::Text && !IsNull(row[c])) {
          EXPECT_LE(CharacterCount(std::get<std::string>(row[c])), column.characters) << column.name;
        }
      }
    };
    for (const auto& row : table.desktopRows) check(row);
    for (const auto& record : table.handheldRecords) check(record.values);
  }
}

TEST(DemoDataTest, HandheldRecordsHoldNoNullDesktopRowsHoldSome) {
  for (std::size_t i = 0; i < kSampleTableCount; ++i) {
    const DemoTable table = MakeDemoTable(i, DemoPlan::Varied());
    const auto hasNull = [](const std::vector<Value>& row) { return std::any_of(row.begin(), row.end(), &IsNull); };
    EXPECT_TRUE(std::any_of(table.desktopRows.begin(), table.desktopRows.end(), hasNull)) << table.design.name;
    for (const auto& record : table.handheldRecords) EXPECT_FALSE(hasNull(record.values));
  }
}

TEST(DemoDataTest, TextsSurviveTheHandheldsCharacterCoding) {
  for (std::size_t i = 0; i < kSampleTableCount; ++i) {
    for (const auto& record : MakeDemoTable(i, DemoPlan::Varied()).handheldRecords) {
      for (const Value& value : record.values) {
        const auto* const text = std::get_if<std::string>(&value);
        if (text == nullptr) continue;
        EXPECT_EQ(Utf8FromCp1252(Cp1252FromUtf8(*text)), *text);
        for (const char32_t c : CodePointsFromUtf8(*text)) {
          EXPECT_TRUE(c < 0x80 || (c >= 0xC0 && c <= 0xFF) || c == 0x20AC) << *text;
        }
      }
    }
  }
}

TEST(DemoDataTest, NotesAreOfEveryStorageSize) {
  for (const std::size_t i : {kMaintenance, kVehicle}) {
    const DemoTable table = MakeDemoTable(i, DemoPlan::Varied());
    int inRow = 0;
    int onePage = 0;
    int severalPages = 0;
    std::size_t longest = 0;
    for (const auto& row : table.desktopRows) {
      const auto* const notes = std::get_if<std::string>(&row.back());
      if (notes == nullptr) continue;
      const std::size_t characters = CharacterCount(*notes);
      inRow += characters <= 60 ? 1 : 0;
      onePage += characters > 100 && characters < 3700 ? 1 : 0;
      severalPages += characters > 4100 ? 1 : 0;
      longest = std::max(longest, notes->size());
    }
    EXPECT_GT(inRow, 0);
    EXPECT_GT(onePage, 0);
    EXPECT_GT(severalPages, 0);
    EXPECT_GT(longest, 8500u);
    EXPECT_LT(longest, table_format::kLongestText);
  }
}

TEST(DemoDataTest, AmountsAreNegativeZeroAndPositive) {
  std::set<int> signs;
  for (const auto& row : MakeDemoTable(2, DemoPlan::Varied()).desktopRows) {
    if (const auto* const amount = std::get_if<Currency>(&row.back())) {
      signs.insert(amount->tenThousandths < 0 ? -1 : (amount->tenThousandths > 0 ? 1 : 0));
    }
  }
  EXPECT_EQ(signs, (std::set<int>{-1, 0, 1}));
}

TEST(DemoDataTest, UniqueIdsOfAFileDiffer) {
  std::set<std::uint32_t> ids;
  const DemoTable table = MakeDemoTable(4, DemoPlan::Uniform(32000));
  for (const auto& record : table.handheldRecords) ids.insert(record.uniqueId);
  EXPECT_EQ(ids.size(), table.handheldRecords.size());
  EXPECT_LE(*ids.rbegin(), 0xFFFFFFu);
}

TEST(DemoDataTest, UniformPlanHasItsShares) {
  const DemoTable table = MakeDemoTable(0, DemoPlan::Uniform(1000));
  std::map<std::string, int> counts;
  for (const HandheldRecord& record : table.handheldRecords) ++counts[CaseOf(table, record)];
  EXPECT_EQ(table.desktopRows.size(), 1000u);
  EXPECT_EQ(table.handheldRecords.size(), 1010u);
  EXPECT_EQ(counts["matched modified"], 100);
  EXPECT_EQ(counts["matched deleted"], 10);
  EXPECT_EQ(counts["unmatched modified"], 10);
}

TEST(DemoDataTest, MostRowsFitTheCountOfATableFile) {
  const DemoTable table = MakeDemoTable(3, DemoPlan::Uniform(kMostDemoRows));
  EXPECT_LE(table.handheldRecords.size(), table_format::kMostRecords);
}

TEST(DemoDataTest, FirstFuelRecordIsTheSameOnEveryMachine) {
  JsonWriter writer;
  writer.BeginArray();
  for (const Value& value : DemoRow(4, 0)) WriteJsonValue(writer, value);
  writer.EndArray();
  EXPECT_EQ(writer.Result(),
            "[\"FU20040105-00000\",\"VA1FSVJVKLT000000\",\"2004-01-05T09:17:57\",761,65.74,\"1.0640\",\"69.9500\",true,"
            "\"Relais de l'Étoile\"]");
}

}  // namespace
}  // namespace mv::tool
