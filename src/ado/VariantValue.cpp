#include "ado/VariantValue.h"

#include <oleauto.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <system_error>

#include "base/Error.h"

namespace mv::ado {
namespace {

template <typename... Functions>
struct Overloaded : Functions... {
  using Functions::operator()...;
};

/// 96 bits of a DECIMAL, least significant word first.
using DecimalWords = std::array<std::uint32_t, 3>;
constexpr int kMostDecimals = 28;

/// words = words * 10 + digit; error 6 when that needs more than 96 bits.
void AppendDigit(DecimalWords& words, std::uint32_t digit) {
  std::uint64_t carry = digit;
  for (std::uint32_t& word : words) {
    carry += std::uint64_t{word} * 10;
    word = static_cast<std::uint32_t>(carry);
    carry >>= 32;
  }
  if (carry != 0) throw StandardError(errors::kOverflow);
}

/// words = words / 10; returns the remainder.
std::uint32_t TakeDigit(DecimalWords& words) {
  std::uint64_t remainder = 0;
  for (std::size_t i = words.size(); i-- > 0;) {
    remainder = remainder << 32 | words[i];
    words[i] = static_cast<std::uint32_t>(remainder / 10);
    remainder %= 10;
  }
  return static_cast<std::uint32_t>(remainder);
}

/// "-12.50" taken apart: 1250, two decimals, negative. A number in exponent form ("1.5e+30") has its decimals moved.
struct DecimalText {
  bool isNegative = false;
  std::string digits;
  int decimals = 0;
};

int ExponentOf(std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  int exponent = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), exponent);
  if (error != std::errc() || end != text.data() + text.size()) throw StandardError(errors::kTypeMismatch);
  return exponent;
}

DecimalText ReadDecimalText(std::string_view text) {
  DecimalText read;
  read.isNegative = !text.empty() && text.front() == '-';
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  const std::size_t exponent = text.find_first_of("eE");
  if (exponent != text.npos) {
    read.decimals = -ExponentOf(text.substr(exponent + 1));
    text = text.substr(0, exponent);
  }
  const std::size_t point = text.find('.');
  read.digits = text.substr(0, point);
  if (point != text.npos) {
    read.digits += text.substr(point + 1);
    read.decimals += static_cast<int>(text.size() - point - 1);
  }
  const bool isNumber = !read.digits.empty() && read.digits.find_first_not_of("0123456789") == std::string::npos;
  if (!isNumber) throw StandardError(errors::kTypeMismatch);
  return read;
}

/// Decimals beyond those that a DECIMAL can have are cut, not rounded.
DECIMAL DecimalFromText(std::string_view text) {
  DecimalText read = ReadDecimalText(text);
  for (; read.decimals > kMostDecimals; --read.decimals) {
    if (!read.digits.empty()) read.digits.pop_back();
  }
  DecimalWords words = {};
  for (const char digit : read.digits) AppendDigit(words, static_cast<std::uint32_t>(digit - '0'));
  for (; read.decimals < 0 && words != DecimalWords{}; ++read.decimals) AppendDigit(words, 0);
  DECIMAL decimal = {};
  decimal.Hi32 = words[2];
  decimal.Mid32 = words[1];
  decimal.Lo32 = words[0];
  decimal.scale = static_cast<BYTE>(std::max(read.decimals, 0));
  decimal.sign = read.isNegative && words != DecimalWords{} ? DECIMAL_NEG : 0;
  return decimal;
}

std::string TextOfDecimal(const DECIMAL& decimal) {
  DecimalWords words = {decimal.Lo32, decimal.Mid32, decimal.Hi32};
  const bool isNegative = (decimal.sign & DECIMAL_NEG) != 0 && words != DecimalWords{};
  std::string text;
  while (words != DecimalWords{}) text += static_cast<char>('0' + TakeDigit(words));
  text.resize(std::max<std::size_t>(text.size(), decimal.scale + std::size_t{1}), '0');
  std::reverse(text.begin(), text.end());
  if (decimal.scale > 0) text.insert(text.size() - decimal.scale, ".");
  return isNegative ? "-" + text : text;
}

Variant VariantOfBytes(const Bytes& bytes) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
  if (array == nullptr) throw StandardError(errors::kOutOfMemory);
  VARIANT variant = {};
  V_VT(&variant) = VT_ARRAY | VT_UI1;
  V_ARRAY(&variant) = array;
  Variant owner(variant);
  std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t*>(array->pvData));
  return owner;
}

Bytes BytesOfArray(const SAFEARRAY* array) {
  if (array == nullptr) return {};
  if (array->cDims != 1) throw StandardError(errors::kTypeMismatch);
  const auto* first = static_cast<const std::uint8_t*>(array->pvData);
  return Bytes(first, first + array->rgsabound[0].cElements);
}

Variant VariantOfText(DataType type, const std::string& text) {
  if (type != DataType::Numeric) return Variant::OfText(text);
  VARIANT variant = {};
  V_DECIMAL(&variant) = DecimalFromText(text);
  V_VT(&variant) = VT_DECIMAL;  // lies inside the DECIMAL, so it comes last
  return Variant(variant);
}

/// A VARIANT of a type that owns nothing, its number put in place by `assign`.
template <typename Assign>
Variant Plain(VARTYPE type, Assign assign) {
  VARIANT variant = {};
  V_VT(&variant) = type;
  assign(&variant);
  return Variant(variant);
}

}  // namespace

Variant VariantFromValue(DataType type, const Value& value) {
  return std::visit(
      Overloaded{
          [](Null) { return Plain(VT_NULL, [](VARIANT*) {}); },
          [](bool flag) {
            return Plain(VT_BOOL, [&](VARIANT* out) { V_BOOL(out) = flag ? VARIANT_TRUE : VARIANT_FALSE; });
          },
          [](std::uint8_t number) { return Plain(VT_UI1, [&](VARIANT* out) { V_UI1(out) = number; }); },
          [](std::int16_t number) { return Plain(VT_I2, [&](VARIANT* out) { V_I2(out) = number; }); },
          [](std::int32_t number) { return Plain(VT_I4, [&](VARIANT* out) { V_I4(out) = number; }); },
          [](float number) { return Plain(VT_R4, [&](VARIANT* out) { V_R4(out) = number; }); },
          [](double number) { return Plain(VT_R8, [&](VARIANT* out) { V_R8(out) = number; }); },
          [](Currency amount) { return Plain(VT_CY, [&](VARIANT* out) { V_CY(out).int64 = amount.tenThousandths; }); },
          [](Date date) { return Plain(VT_DATE, [&](VARIANT* out) { V_DATE(out) = date.days; }); },
          [type](const std::string& text) { return VariantOfText(type, text); },
          [](const Bytes& bytes) { return VariantOfBytes(bytes); },
      },
      value);
}

Value ValueFromVariant(const VARIANT& variant) {
  const VARIANT* in = &variant;
  switch (V_VT(in)) {
    case VT_EMPTY:
    case VT_NULL:
      return Null{};
    case VT_BOOL:
      return V_BOOL(in) != VARIANT_FALSE;
    case VT_UI1:
      return std::uint8_t{V_UI1(in)};
    case VT_I2:
      return std::int16_t{V_I2(in)};
    case VT_I4:
      return static_cast<std::int32_t>(V_I4(in));
    case VT_R4:
      return V_R4(in);
    case VT_R8:
      return V_R8(in);
    case VT_CY:
      return Currency{V_CY(in).int64};
    case VT_DATE:
      return Date{V_DATE(in)};
    case VT_BSTR:
      return Utf8FromBstr(V_BSTR(in));
    case VT_DECIMAL:
      return TextOfDecimal(V_DECIMAL(in));
    case VT_ARRAY | VT_UI1:
      return BytesOfArray(V_ARRAY(in));
    default:
      throw StandardError(errors::kTypeMismatch);
  }
}

}  // namespace mv::ado
