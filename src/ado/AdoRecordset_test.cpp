#include "ado/AdoRecordset.h"

#include <gtest/gtest.h>

#include <random>

#include "ado/AdoConnection.h"
#include "base/Text.h"
#include "recordset/Conversions.h"
#include "recordset/MemoryRecordset.h"
#include "support/ExpectError.h"
#include "support/FakeAdo.h"
#include "support/FakeDatabase.h"

namespace mv::ado {
namespace {

using testing::ErrorNumberOf;
using testing::ErrorOf;
using testing::FakeAdo;
using testing::FakeAdoField;
using testing::FakeDatabase;
using testing::Values;
using Calls = std::vector<std::string>;
using Rows = std::vector<Values>;

constexpr LONG_PTR kNoLimit = 0x3FFFFFFF;
constexpr HRESULT kRefused = static_cast<HRESULT>(0x80040E21);

Value Text(const std::string& text) {
  return text;
}

enum Field : std::size_t { kKey, kCount };

/// The table T of KEY, text of up to 10 characters and unique, and COUNT, an integer.
class AdoRecordsetTest : public ::testing::Test {
 protected:
  AdoRecordsetTest() {
    FakeAdo::Table& table = ado_.tables["T"];
    table.fields = {{"KEY", DataType::VarWChar, 10, 0}, {"COUNT", DataType::Integer, 4, 0}};
    table.uniqueField = kKey;
  }

  Recordset& Open(const std::vector<std::string>& keys) {
    std::int32_t count = 0;
    for (const std::string& key : keys) ado_.AddRow("T", {key, ++count});
    connection_ = provider_.Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=x;");
    rows_ = connection_->OpenTable("T");
    ado_.calls.clear();
    return *rows_;
  }
  /// Opens a table of one field of another type instead.
  Recordset& OpenField(const FakeAdoField& field, const Value& value) {
    ado_.tables["T"] = {{field}, {}, std::nullopt};
    ado_.AddRow("T", {value});
    return Open({});
  }
  /// Deletes a row the way another program does.
  void DeleteElsewhere(std::size_t row) { ado_.tables["T"].rows[row]->isDeleted = true; }

  FakeAdo ado_;
  FakeDatabase own_;
  AdoDatabaseProvider provider_{ado_, own_};
  std::unique_ptr<Connection> connection_;
  std::unique_ptr<Recordset> rows_;
};

TEST_F(AdoRecordsetTest, FieldsHaveNameTypeAndLimit) {
  ado_.tables["T"] = {{{"TX_T\xC3\x84XT", DataType::VarWChar, 50, 0x60},
                       {"TX_MEMO", DataType::LongVarWChar, kNoLimit, 0xE0},
                       {"TX_LONG", DataType::VarWChar, kNoLimit, 0x80},
                       {"BY_FIXED", DataType::Binary, 16, 0x10},
                       {"BY_OLE", DataType::LongVarBinary, kNoLimit, 0xE0},
                       {"NM_INT", DataType::Integer, 4, 0x10},
                       {"BL_FLAG", DataType::Boolean, 2, 0x10},
                       {"GU_ID", DataType::Guid, 16, 0x10},
                       {"NM_DEC", DataType::Numeric, 19, 0x10}},
                      {},
                      std::nullopt};
  EXPECT_EQ(Open({}).Fields(), (std::vector<FieldDefinition>{{"TX_T\xC3\x84XT", DataType::VarWChar, 50},
                                                             {"TX_MEMO", DataType::LongVarWChar, 0},
                                                             {"TX_LONG", DataType::VarWChar, 0},
                                                             {"BY_FIXED", DataType::Binary, 16},
                                                             {"BY_OLE", DataType::LongVarBinary, 0},
                                                             {"NM_INT", DataType::Integer, 0},
                                                             {"BL_FLAG", DataType::Boolean, 0},
                                                             {"GU_ID", DataType::Guid, 0},
                                                             {"NM_DEC", DataType::Numeric, 0}}));
}

TEST_F(AdoRecordsetTest, ValuesOfEveryTypeGoThere) {
  const struct {
    DataType type;
    Value assigned;
    Value stored;
  } cases[] = {
      {DataType::SmallInt, std::int32_t{-5}, std::int16_t{-5}},
      {DataType::Integer, Text("70000"), std::int32_t{70000}},
      {DataType::Single, 0.5, 0.5F},
      {DataType::Double, std::int16_t{2}, 2.0},
      {DataType::Currency, Text("12.3456"), Currency{123456}},
      {DataType::Date, Text("1899-12-31"), Date{1.0}},
      {DataType::Boolean, std::int32_t{7}, true},
      {DataType::Boolean, Null{}, false},
      {DataType::UnsignedTinyInt, true, std::uint8_t{255}},
      {DataType::Guid, Text("{01234567-89AB-CDEF-0123-456789ABCDEF}"), Text("{01234567-89AB-CDEF-0123-456789ABCDEF}")},
      {DataType::Numeric, 12.5, Text("12.5")},
      {DataType::LongVarWChar, std::int32_t{3}, Text("3")},
      {DataType::LongVarBinary, Bytes{1, 2}, Bytes{1, 2}},
      {DataType::VarWChar, Null{}, Null{}},
  };
  for (const auto& each : cases) {
    Recordset& rows = OpenField({"F", each.type, kNoLimit, 0}, Null{});
    rows.SetFieldValue(0, each.assigned);
    EXPECT_EQ(rows.FieldValue(0), each.stored);
    rows.Update();
    EXPECT_EQ(ado_.RowsOf("T"), (Rows{{each.stored}}));
  }
}

TEST_F(AdoRecordsetTest, ValueThatCannotBeConvertedNeverReachesAdo) {
  Recordset& rows = Open({"a"});
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(kCount, Text("many")); }), errors::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(kCount, 1e10); }), errors::kOverflow);
  EXPECT_EQ(ado_.calls, Calls());
}

TEST_F(AdoRecordsetTest, TextThatIsTooLongIsTheProvidersErrorAndTheEditItStartedIsDropped) {
  Recordset& rows = Open({"a"});
  const Error error = ErrorOf([&] { rows.SetFieldValue(kKey, Text("elevenchars")); });
  EXPECT_EQ(error.Number(), errors::kJetConstraint);
  EXPECT_EQ(error.Source(), "Microsoft JET Database Engine");
  EXPECT_EQ(ado_.calls, (Calls{"Field.put_Value KEY", "Recordset.CancelUpdate"}));
}

TEST_F(AdoRecordsetTest, FailedAssignmentWithinAnEditKeepsTheEdit) {
  Recordset& rows = Open({"a"});
  rows.SetFieldValue(kCount, std::int32_t{5});
  EXPECT_THROW(rows.SetFieldValue(kKey, Text("elevenchars")), Error);
  rows.Update();
  EXPECT_EQ(ado_.RowsOf("T"), (Rows{{Text("a"), std::int32_t{5}}}));
}

TEST_F(AdoRecordsetTest, EditIsSavedBeforeTheMoveItself) {
  Recordset& rows = Open({"a", "b"});
  rows.SetFieldValue(kCount, std::int32_t{5});
  rows.MoveNext();
  EXPECT_EQ(ado_.calls, (Calls{"Field.put_Value COUNT", "Recordset.Update", "Recordset.MoveNext"}));
}

TEST_F(AdoRecordsetTest, UpdateIsWithTheProviderAtOnce) {
  Recordset& rows = Open({});
  rows.AddNew();
  rows.SetFieldValue(kKey, Text("a"));
  rows.Update();
  EXPECT_EQ(ado_.RowsOf("T"), (Rows{{Text("a"), Null{}}}));
}

TEST_F(AdoRecordsetTest, SaveThatFailsStaysOnTheRowWithTheEditDropped) {
  Recordset& rows = Open({"a", "b"});
  rows.SetFieldValue(kKey, Text("b"));
  const Error error = ErrorOf([&] { rows.MoveNext(); });
  EXPECT_EQ(error.Number(), errors::kJetConstraint);
  EXPECT_EQ(error.Description(), "The changes would create duplicate values.");
  EXPECT_EQ(rows.FieldValue(kKey), Text("a"));
  rows.MoveNext();
  EXPECT_EQ(rows.FieldValue(kKey), Text("b"));
}

TEST_F(AdoRecordsetTest, NewRowThatCannotBeSavedIsDroppedAndTheRowBeforeIsCurrent) {
  Recordset& rows = Open({"a", "b"});
  rows.MoveNext();
  rows.AddNew();
  rows.SetFieldValue(kKey, Text("a"));
  EXPECT_EQ(ErrorNumberOf([&] { rows.Update(); }), errors::kJetConstraint);
  EXPECT_EQ(rows.FieldValue(kKey), Text("b"));
  EXPECT_EQ(ado_.RowsOf("T").size(), 2U);
}

TEST_F(AdoRecordsetTest, EveryCallThatFailsRaisesItsError) {
  Recordset& rows = Open({"a", "b", "c"});
  const struct {
    const char* call;
    std::function<void()> action;
  } cases[] = {
      {"Field.get_Value", [&] { rows.FieldValue(kKey); }},
      {"Field.put_Value", [&] { rows.SetFieldValue(kCount, std::int32_t{1}); }},
      {"Recordset.MoveFirst", [&] { rows.MoveFirst(); }},
      {"Recordset.MoveLast", [&] { rows.MoveLast(); }},
      {"Recordset.EOF", [&] { rows.MoveFirst(); }},
      {"Recordset.MoveNext", [&] { rows.MoveNext(); }},
      {"Recordset.AddNew", [&] { rows.AddNew(); }},
      {"Recordset.Delete", [&] { rows.Delete(); }},
      {"Recordset.Open", [&] { rows.RecordCount(); }},
      {"Field.get_Value", [&] { rows.Find("KEY='c'"); }},
  };
  for (const auto& each : cases) {
    ado_.Fail(each.call, {kRefused, "the provider", each.call});
    const Error error = ErrorOf(each.action);
    EXPECT_EQ(error.Number(), errors::kJetConstraint) << each.call;
    EXPECT_EQ(error.Description(), each.call);
  }
  EXPECT_EQ(ado_.RowsOf("T").size(), 3U);
}

TEST_F(AdoRecordsetTest, FailedUpdateHasItsOwnTextAlthoughTheEditIsDroppedAfterIt) {
  Recordset& rows = Open({"a"});
  rows.SetFieldValue(kCount, std::int32_t{1});
  ado_.Fail("Recordset.Update", {kRefused, "", "the update"});
  ado_.Fail("Recordset.CancelUpdate", {kRefused, "", "the cancelling"});
  EXPECT_EQ(ErrorOf([&] { rows.Update(); }).Description(), "the update");
}

TEST_F(AdoRecordsetTest, CancelUpdateNeverFails) {
  Recordset& rows = Open({"a"});
  rows.SetFieldValue(kCount, std::int32_t{1});
  ado_.Fail("Recordset.CancelUpdate", {});
  EXPECT_NO_THROW(rows.CancelUpdate());
}

TEST_F(AdoRecordsetTest, DestructorDropsAPendingEditAndClosesWhateverFails) {
  Recordset& rows = Open({"a"});
  rows.SetFieldValue(kCount, std::int32_t{9});
  ado_.calls.clear();
  ado_.Fail("Recordset.Close", {});
  rows_.reset();
  EXPECT_EQ(ado_.calls, (Calls{"Recordset.CancelUpdate", "Recordset.Close"}));
  EXPECT_EQ(ado_.RowsOf("T"), (Rows{{Text("a"), std::int32_t{1}}}));
}

TEST_F(AdoRecordsetTest, DeleteTakesTheCurrentRowAndGoesOnAtOnce) {
  Recordset& rows = Open({"a", "b"});
  rows.Delete();
  EXPECT_EQ(ado_.calls, (Calls{"Recordset.Delete 1", "Recordset.MoveNext"}));
  ado_.calls.clear();
  rows.MoveNext();
  EXPECT_EQ(ado_.calls, Calls());
  EXPECT_EQ(rows.FieldValue(kKey), Text("b"));
}

TEST_F(AdoRecordsetTest, ProviderThatHasNothingBehindTheLastRowDeletedIsNoError) {
  Recordset& rows = Open({"a"});
  ado_.Fail("Recordset.MoveNext", {results::kNoCurrentRecord, "ADODB.Recordset", "nothing there"});
  EXPECT_NO_THROW(rows.Delete());
  EXPECT_TRUE(ado_.RowsOf("T").empty());
}

TEST_F(AdoRecordsetTest, RowDeletedByAnotherProgramHasNoValues) {
  Recordset& rows = Open({"a", "b"});
  DeleteElsewhere(0);
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(kKey); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(kCount, std::int32_t{1}); }), errors::kNoCurrentRecord);
  rows.MoveNext();
  EXPECT_EQ(rows.FieldValue(kKey), Text("b"));
}

TEST_F(AdoRecordsetTest, FindPassesRowsThatAnotherProgramDeleted) {
  Recordset& rows = Open({"a", "b", "c"});
  DeleteElsewhere(0);
  rows.Find("KEY='c'");
  EXPECT_EQ(rows.FieldValue(kKey), Text("c"));
}

TEST_F(AdoRecordsetTest, FindSeesWhatAnotherProgramChanged) {
  Recordset& rows = Open({"a", "b", "c"});
  rows.Find("KEY='c'");
  ado_.tables["T"].rows[1]->values[kKey] = Variant::OfText("new");
  rows.MoveFirst();
  rows.Find("KEY='new'");
  EXPECT_EQ(rows.FieldValue(kCount), Value(std::int32_t{2}));
}

TEST_F(AdoRecordsetTest, WalkAsksForTheEndOnceARowAndReadsOnlyWhatIsAskedFor) {
  std::vector<std::string> keys;
  for (int i = 0; i < 1000; ++i) keys.push_back(std::to_string(i));
  Recordset& rows = Open(keys);
  int walked = 0;
  for (; !rows.Eof(); rows.MoveNext()) {
    EXPECT_FALSE(rows.Bof());
    ++walked;
  }
  EXPECT_EQ(walked, 1000);
  EXPECT_EQ(ado_.moves, 1000);
  EXPECT_EQ(ado_.reads, 0);
}

/// The same random operations on a recordset in memory and on one of ADO.
class InStep {
 public:
  InStep(Recordset& left, Recordset& right, unsigned seed) : left_(left), right_(right), random_(seed) {}

  void Step() {
    switch (Random(9)) {
      case 0:
        return Both([](Recordset& rows) { rows.MoveFirst(); });
      case 1:
        return Both([](Recordset& rows) { rows.MoveLast(); });
      case 2:
        return Both([](Recordset& rows) { rows.MoveNext(); });
      case 3:
        return Both([](Recordset& rows) { rows.AddNew(); });
      case 4:
        return Both([](Recordset& rows) { rows.Update(); });
      case 5:
        return Both([](Recordset& rows) { rows.CancelUpdate(); });
      case 6:
        return Both([](Recordset& rows) { rows.Delete(); });
      case 7:
        return Both([key = RandomKey()](Recordset& rows) { rows.SetFieldValue(kKey, key); });
      default:
        return Both([key = RandomKey()](Recordset& rows) { rows.Find("KEY='" + key + "'"); });
    }
  }

  void ExpectSame() {
    ASSERT_EQ(left_.Bof(), right_.Bof());
    ASSERT_EQ(left_.Eof(), right_.Eof());
    ASSERT_EQ(left_.RecordCount(), right_.RecordCount());
    ASSERT_EQ(Answer(left_, [](Recordset& rows) { rows.FieldValue(kKey); }),
              Answer(right_, [](Recordset& rows) { rows.FieldValue(kKey); }));
    if (Answer(left_, [](Recordset& rows) { rows.FieldValue(kKey); }) == 0) {
      ASSERT_EQ(left_.FieldValue(kKey), right_.FieldValue(kKey));
    }
  }

 private:
  unsigned Random(unsigned below) { return std::uniform_int_distribution<unsigned>(0, below - 1)(random_); }
  std::string RandomKey() { return std::string(1, "abcABC"[Random(6)]); }

  template <typename Action>
  static std::int32_t Answer(Recordset& rows, Action action) {
    try {
      action(rows);
      return 0;
    } catch (const Error& error) {
      return error.Number();
    }
  }
  template <typename Action>
  void Both(Action action) {
    ASSERT_EQ(Answer(left_, action), Answer(right_, action));
  }

  Recordset& left_;
  Recordset& right_;
  std::mt19937 random_;
};

TEST_F(AdoRecordsetTest, AnswersAsTheRecordsetInMemoryDoes) {
  ado_.tables["T"].uniqueField.reset();
  for (unsigned seed = 1; seed <= 50; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    rows_.reset();
    ado_.tables["T"].rows.clear();
    MemoryRecordset memory({{"KEY", DataType::VarWChar, 10}, {"COUNT", DataType::Integer, 0}});
    InStep pair(memory, Open({}), seed);
    for (int step = 0; step < 200; ++step) {
      ASSERT_NO_FATAL_FAILURE(pair.Step());
      ASSERT_NO_FATAL_FAILURE(pair.ExpectSame());
    }
  }
}

}  // namespace
}  // namespace mv::ado
