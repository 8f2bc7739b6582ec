#include <gtest/gtest.h>

#include "ado/AdoConnection.h"
#include "ado/AdoRecordset.h"
#include "ado/VariantValue.h"
#include "support/ExpectError.h"
#include "support/FakeDatabase.h"

namespace mv::ado {
namespace {

using testing::ErrorNumberOf;
using testing::FakeDatabase;

/// The ADO that is registered on this system, so far as it goes without a database: recordsets built in memory. Wine's
/// knows neither Update nor Delete.
class SystemAdo : public ::testing::Test {
 protected:
  void SetUp() override {
    const HRESULT created = classes_.Create(kRecordsetClass, IAdoRecordset::kId, records_.ReceiveAny());
    if (MeansNotInstalled(created)) GTEST_SKIP() << "ADO is not installed";
    ASSERT_EQ(created, S_OK);
  }

  void AppendField(const std::string& name, DataType type, LONG_PTR size) {
    constexpr LONG kNullable = 0x20;
    ComPtr<IAdoFields> fields;
    ASSERT_EQ(records_->get_Fields(fields.Receive()), S_OK);
    ASSERT_EQ(fields->Append(Bstr(name).Get(), static_cast<LONG>(type), size, kNullable, Variant::Missing().Get()),
              S_OK);
  }
  void OpenInMemory() {
    ASSERT_EQ(records_->Open(Variant::Missing().Get(), Variant::Missing().Get(), cursor_type::kDynamic,
                             lock_type::kOptimistic, -1),
              S_OK);
  }
  /// Rows of one field. (Wine's rows of several fields lose values when the next one is added.)
  void OpenKeys(const std::vector<std::string>& keys) {
    AppendField("TX_KEY", DataType::VarWChar, 20);
    OpenInMemory();
    if (keys.empty()) return;
    ComPtr<IAdoFields> fields;
    ComPtr<IAdoField> field;
    ASSERT_EQ(records_->get_Fields(fields.Receive()), S_OK);
    ASSERT_EQ(fields->get_Item(Variant::OfLong(0).Get(), field.Receive()), S_OK);
    for (const std::string& key : keys) {
      ASSERT_EQ(records_->AddNew(Variant::Missing().Get(), Variant::Missing().Get()), S_OK);
      ASSERT_EQ(field->put_Value(Variant::OfText(key).Get()), S_OK);
    }
    ASSERT_EQ(records_->MoveFirst(), S_OK);
  }
  AdoRecordset Adapter() {
    return AdoRecordset(records_, ComPtr<IAdoConnection>(), [] { return std::int64_t{0}; });
  }

  ComApartment apartment_;
  SystemComClasses classes_;
  ComPtr<IAdoRecordset> records_;
};

TEST_F(SystemAdo, FieldsAreThoseThatWereAppended) {
  AppendField("TX_KEY", DataType::VarWChar, 20);
  AppendField("NM_COUNT", DataType::Integer, 4);
  OpenInMemory();
  EXPECT_EQ(Adapter().Fields(),
            (std::vector<FieldDefinition>{{"TX_KEY", DataType::VarWChar, 20}, {"NM_COUNT", DataType::Integer, 0}}));
}

TEST_F(SystemAdo, RecordsetWithoutRowsIsAtBothEnds) {
  OpenKeys({});
  const AdoRecordset rows = Adapter();
  EXPECT_TRUE(rows.Bof());
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(0); }), errors::kNoCurrentRecord);
}

TEST_F(SystemAdo, MovesWalkToTheEndAndBack) {
  OpenKeys({"a", "b", "c"});
  AdoRecordset rows = Adapter();
  std::string keys;
  for (; !rows.Eof(); rows.MoveNext()) keys += std::get<std::string>(rows.FieldValue(0));
  EXPECT_EQ(keys, "abc");
  EXPECT_FALSE(rows.Bof());
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveNext(); }), errors::kNoCurrentRecord);
  rows.MoveLast();
  EXPECT_EQ(rows.FieldValue(0), Value(std::string("c")));
  rows.MoveFirst();
  EXPECT_EQ(rows.FieldValue(0), Value(std::string("a")));
}

TEST_F(SystemAdo, FindSearchesFromTheCurrentRowOn) {
  OpenKeys({"a", "b", "c"});
  AdoRecordset rows = Adapter();
  rows.Find("TX_KEY='B'");
  EXPECT_EQ(rows.FieldValue(0), Value(std::string("b")));
  rows.Find("TX_KEY='a'");
  EXPECT_TRUE(rows.Eof());
}

TEST_F(SystemAdo, FieldThatIsNotThereIsAdosOwnError) {
  OpenKeys({});
  ComPtr<IAdoFields> fields;
  ASSERT_EQ(records_->get_Fields(fields.Receive()), S_OK);
  ComPtr<IAdoField> field;
  const HRESULT result = fields->get_Item(Variant::OfLong(7).Get(), field.Receive());
  EXPECT_EQ(ErrorOfCall(result, *fields, IAdoFields::kId, nullptr).Number(), errors::kItemNotFound);
}

struct StoredValue {
  const char* name;
  DataType type;
  LONG_PTR size;
  Value value;
};

class SystemAdoValues : public SystemAdo, public ::testing::WithParamInterface<StoredValue> {};

TEST_P(SystemAdoValues, AreReadAsTheyWereAssigned) {
  AppendField("F", GetParam().type, GetParam().size);
  OpenInMemory();
  AdoRecordset rows = Adapter();
  rows.AddNew();
  rows.SetFieldValue(0, GetParam().value);
  EXPECT_EQ(rows.FieldValue(0), GetParam().value);
}

const StoredValue kValues[] = {
    {"null", DataType::VarWChar, 20, Null{}},
    {"boolean", DataType::Boolean, 2, true},
    {"byte", DataType::UnsignedTinyInt, 1, std::uint8_t{255}},
    {"smallInt", DataType::SmallInt, 2, std::int16_t{-32768}},
    {"integer", DataType::Integer, 4, std::int32_t{-2147483647}},
    {"single", DataType::Single, 4, -0.1F},
    {"double", DataType::Double, 8, 1e300},
    {"currency", DataType::Currency, 8, Currency{-9223372036854775807}},
    {"date", DataType::Date, 8, Date{45000.75}},
    {"text", DataType::VarWChar, 50, std::string("caf\xC3\xA9 \xE2\x84\xA2 \xF0\x9F\x9A\x97")},
    {"textWithZeros", DataType::VarWChar, 50, std::string("a\0b", 3)},
    {"memo", DataType::LongVarWChar, 1000000, std::string(100000, 'm')},
    {"bytes", DataType::LongVarBinary, 1000000, Bytes{0, 255, 0, 7}},
    {"guid", DataType::Guid, 16, std::string("{01234567-89AB-CDEF-0123-456789ABCDEF}")},
};

INSTANTIATE_TEST_SUITE_P(AllTypes, SystemAdoValues, ::testing::ValuesIn(kValues),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(SystemAdo, ProviderThatIsNotInstalledLeavesTheStringToTheOtherEngine) {
  FakeDatabase other;
  AdoDatabaseProvider provider(classes_, other);
  const std::string connectionString = "Provider=No.Such.Provider.1.0;Data Source=C:\\x.db;";
  provider.Open(connectionString);
  EXPECT_EQ(other.calls, (std::vector<std::string>{"open " + connectionString}));
}

}  // namespace
}  // namespace mv::ado
