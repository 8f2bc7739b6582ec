#include "ado/VariantValue.h"

#include <gtest/gtest.h>

#include <oleauto.h>

#include <limits>

#include "recordset/Conversions.h"
#include "support/ExpectError.h"

namespace mv::ado {
namespace {

using testing::ErrorNumberOf;

struct TypedValue {
  const char* name;
  DataType type;
  Value value;
  VARTYPE variantType;
};

/// Every type of field with values at the ends of its range.
const TypedValue kValues[] = {
    {"null", DataType::Integer, Null{}, VT_NULL},
    {"nullText", DataType::LongVarWChar, Null{}, VT_NULL},
    {"true", DataType::Boolean, true, VT_BOOL},
    {"false", DataType::Boolean, false, VT_BOOL},
    {"byte", DataType::UnsignedTinyInt, std::uint8_t{255}, VT_UI1},
    {"smallInt", DataType::SmallInt, std::int16_t{-32768}, VT_I2},
    {"integer", DataType::Integer, std::numeric_limits<std::int32_t>::min(), VT_I4},
    {"single", DataType::Single, -0.1F, VT_R4},
    {"double", DataType::Double, 1.7976931348623157e308, VT_R8},
    {"currency", DataType::Currency, Currency{std::numeric_limits<std::int64_t>::min()}, VT_CY},
    {"currencyMost", DataType::Currency, Currency{std::numeric_limits<std::int64_t>::max()}, VT_CY},
    {"date", DataType::Date, Date{-657434.25}, VT_DATE},
    {"timeStamp", DataType::DBTimeStamp, Date{45000.999988}, VT_DATE},
    {"text", DataType::VarWChar, std::string("caf\xC3\xA9 \xE2\x84\xA2 \xF0\x9F\x9A\x97"), VT_BSTR},
    {"textWithZeros", DataType::VarWChar, std::string("\0a\0", 3), VT_BSTR},
    {"emptyText", DataType::BStr, std::string(), VT_BSTR},
    {"memo", DataType::LongVarWChar, std::string(200000, 'm'), VT_BSTR},
    {"fixedText", DataType::WChar, std::string("ab  "), VT_BSTR},
    {"guid", DataType::Guid, std::string("{01234567-89AB-CDEF-0123-456789ABCDEF}"), VT_BSTR},
    {"decimal", DataType::Numeric, std::string("-12.5000"), VT_DECIMAL},
    {"decimalZero", DataType::Numeric, std::string("0.00"), VT_DECIMAL},
    {"decimalSmall", DataType::Numeric, std::string("0.0000000000000000000000000001"), VT_DECIMAL},
    {"decimalMost", DataType::Numeric, std::string("79228162514264337593543950335"), VT_DECIMAL},
    {"bytes", DataType::LongVarBinary, Bytes{0, 255, 0, 7}, VT_ARRAY | VT_UI1},
    {"fixedBytes", DataType::Binary, Bytes{1}, VT_ARRAY | VT_UI1},
    {"noBytes", DataType::VarBinary, Bytes{}, VT_ARRAY | VT_UI1},
};

class ValueAsVariant : public ::testing::TestWithParam<TypedValue> {};

TEST_P(ValueAsVariant, HasTheTypeOfTheFieldAndComesBackTheSame) {
  const Variant variant = VariantFromValue(GetParam().type, GetParam().value);
  EXPECT_EQ(V_VT(&variant.Get()), GetParam().variantType);
  EXPECT_EQ(ValueFromVariant(variant.Get()), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(AllTypes, ValueAsVariant, ::testing::ValuesIn(kValues),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(VariantValue, TrueHasAllBitsSet) {
  const Variant variant = VariantFromValue(DataType::Boolean, true);
  EXPECT_EQ(V_BOOL(&variant.Get()), VARIANT_TRUE);
}

TEST(VariantValue, TextIsUtf16WithItsLength) {
  const Variant variant = VariantFromValue(DataType::VarWChar, std::string("a\0\xF0\x9F\x9A\x97", 6));
  const BSTR text = V_BSTR(&variant.Get());
  EXPECT_EQ(std::wstring(text, text + SysStringLen(text)), std::wstring(L"a\0\xD83D\xDE97", 4));
}

TEST(VariantValue, DecimalHasItsMagnitudeScaleAndSignApart) {
  const Variant variant = VariantFromValue(DataType::Numeric, std::string("-1844674407.3709551617"));
  const DECIMAL& decimal = V_DECIMAL(&variant.Get());
  EXPECT_EQ(decimal.Hi32, 1U);
  EXPECT_EQ(decimal.Mid32, 0U);
  EXPECT_EQ(decimal.Lo32, 1U);
  EXPECT_EQ(decimal.scale, 10);
  EXPECT_EQ(decimal.sign, DECIMAL_NEG);
}

Value DecimalAgain(const std::string& text) {
  return ValueFromVariant(VariantFromValue(DataType::Numeric, text).Get());
}

TEST(VariantValue, DecimalInAnotherFormKeepsItsValue) {
  EXPECT_EQ(DecimalAgain("+5"), Value(std::string("5")));
  EXPECT_EQ(DecimalAgain(".5"), Value(std::string("0.5")));
  EXPECT_EQ(DecimalAgain("5."), Value(std::string("5")));
  EXPECT_EQ(DecimalAgain("-0.0"), Value(std::string("0.0")));
  EXPECT_EQ(DecimalAgain("1.5e+3"), Value(std::string("1500")));
  EXPECT_EQ(DecimalAgain("1.5e-3"), Value(std::string("0.0015")));
  EXPECT_EQ(DecimalAgain("0e+300"), Value(std::string("0")));
}

TEST(VariantValue, EveryDoubleOfADecimalFieldIsReadOrOverflows) {
  EXPECT_EQ(DecimalAgain(TextOf(ConvertedTo(DataType::Numeric, 1e20))), Value(std::string("100000000000000000000")));
  EXPECT_EQ(ErrorNumberOf([] { DecimalAgain(TextOf(ConvertedTo(DataType::Numeric, 1e300))); }), errors::kOverflow);
}

TEST(VariantValue, DecimalsBehindThe28thAreCut) {
  EXPECT_EQ(DecimalAgain("0.00000000000000000000000000019"), Value(std::string("0.0000000000000000000000000001")));
  EXPECT_EQ(DecimalAgain("1e-300"), Value(std::string("0." + std::string(28, '0'))));
}

TEST(VariantValue, DecimalBeyond96BitsOverflows) {
  EXPECT_EQ(ErrorNumberOf([] { DecimalAgain("79228162514264337593543950336"); }), errors::kOverflow);
}

TEST(VariantValue, TextThatIsNoNumberIsNoDecimal) {
  for (const char* text : {"", "-", ".", "1,5", "1.5e", "1.2.3", "abc", "1e99999999999"}) {
    EXPECT_EQ(ErrorNumberOf([&] { DecimalAgain(text); }), errors::kTypeMismatch) << text;
  }
}

TEST(VariantValue, FieldThatWasNeverAssignedIsNull) {
  EXPECT_EQ(ValueFromVariant(Variant().Get()), Value(Null{}));
}

TEST(VariantValue, NullBstrIsTheEmptyText) {
  VARIANT variant = {};
  V_VT(&variant) = VT_BSTR;
  EXPECT_EQ(ValueFromVariant(variant), Value(std::string()));
}

TEST(VariantValue, LoneSurrogateBecomesTheReplacementCharacter) {
  VARIANT variant = {};
  V_VT(&variant) = VT_BSTR;
  V_BSTR(&variant) = SysAllocString(L"a\xD83D");
  const Variant owner(variant);
  EXPECT_EQ(ValueFromVariant(owner.Get()), Value(std::string("a\xEF\xBF\xBD")));
}

TEST(VariantValue, TypesThatNoFieldHasAreRefused) {
  VARIANT variant = {};
  for (const VARTYPE type : {VT_I8, VT_UNKNOWN, VT_DISPATCH, VT_ERROR, VT_UI4}) {
    V_VT(&variant) = type;
    EXPECT_EQ(ErrorNumberOf([&] { ValueFromVariant(variant); }), errors::kTypeMismatch) << type;
  }
}

TEST(VariantValue, ArrayOfTwoDimensionsIsRefused) {
  SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
  VARIANT variant = {};
  V_VT(&variant) = VT_ARRAY | VT_UI1;
  V_ARRAY(&variant) = SafeArrayCreate(VT_UI1, 2, bounds);
  const Variant owner(variant);
  EXPECT_EQ(ErrorNumberOf([&] { ValueFromVariant(owner.Get()); }), errors::kTypeMismatch);
}

}  // namespace
}  // namespace mv::ado
