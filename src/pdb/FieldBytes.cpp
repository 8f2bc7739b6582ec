#include "pdb/FieldBytes.h"

#include <array>
#include <bit>
#include <concepts>
#include <limits>
#include <string>
#include <utility>

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "pdb/DateWord.h"
#include "pdb/FieldValue.h"
#include "pdb/TerminatedText.h"

namespace mv {
namespace {

/// What a new PDBByteStream does with texts.
constexpr bool kTwoByteForm = true;

/// The days whose seconds 32 bits can hold as they are, up to the last whole one.
constexpr double kFirstDay = kHandheldEpoch.days;
constexpr double kBehindLastDay = kFirstDay + std::numeric_limits<std::uint32_t>::max() / 86400;

const std::uint8_t* TakeBytes(ByteView record, std::int32_t& pos, std::size_t count) {
  const bool isThere = pos >= 0 && static_cast<std::size_t>(pos) + count <= record.size();
  if (!isThere) throw StandardError(errors::kSubscriptOutOfRange);
  const std::uint8_t* const bytes = record.data() + pos;
  pos += static_cast<std::int32_t>(count);
  return bytes;
}

template <typename T>
T TakeBig(ByteView record, std::int32_t& pos) {
  return LoadBig<T>(TakeBytes(record, pos, sizeof(T)));
}

std::string& TextIn(Value& value) {
  if (auto* const text = std::get_if<std::string>(&value)) return *text;
  return value.emplace<std::string>();
}

template <std::integral T>
bool Append(Bytes& record, T bits) {
  std::array<std::uint8_t, sizeof(T)> bytes;
  StoreBig(bytes.data(), bits);
  record.insert(record.end(), bytes.begin(), bytes.end());
  return true;
}

bool Append(Bytes& record, bool flag) {
  return Append(record, flag ? kTrueByte : std::uint8_t{0});
}

bool Append(Bytes& record, float number) {
  return Append(record, std::bit_cast<std::uint32_t>(number));
}

bool Append(Bytes& record, double number) {
  return Append(record, std::bit_cast<std::uint64_t>(number));
}

bool Append(Bytes& record, Currency amount) {
  return Append(record, amount.tenThousandths);
}

bool Append(Bytes& record, Date date) {
  const bool isPlain = date.days >= kFirstDay && date.days < kBehindLastDay;
  return isPlain && Append(record, DateWordFromSeconds(SecondsFromDate(date)));
}

bool Append(Bytes& record, const std::string& text) {
  AppendTerminatedText(record, text, kTwoByteForm);
  return true;
}

template <typename T>
bool AppendAs(Bytes& record, const Value& value) {
  const auto* const stored = std::get_if<T>(&value);
  return stored != nullptr && Append(record, *stored);
}

}  // namespace

void ReadField(ByteView record, std::int32_t& pos, HandheldType type, Value& value) {
  switch (type) {
    case HandheldType::Byte:
      value = *TakeBytes(record, pos, 1);
      return;
    case HandheldType::Integer:
      value = TakeBig<std::int16_t>(record, pos);
      return;
    case HandheldType::Long:
      value = TakeBig<std::int32_t>(record, pos);
      return;
    case HandheldType::Single:
      value = std::bit_cast<float>(TakeBig<std::uint32_t>(record, pos));
      return;
    case HandheldType::Text:
      return ReadTerminatedText(record, pos, kTwoByteForm, TextIn(value));
    case HandheldType::Boolean:
      value = *TakeBytes(record, pos, 1) != 0;
      return;
    case HandheldType::Date:
      value = DateFromSeconds(SecondsFromDateWord(TakeBig<std::int32_t>(record, pos)));
      return;
    case HandheldType::Double:
      value = std::bit_cast<double>(TakeBig<std::uint64_t>(record, pos));
      return;
    case HandheldType::Currency:
      value = Currency{TakeBig<std::int64_t>(record, pos)};
      return;
  }
}

void SkipField(ByteView record, std::int32_t& pos, HandheldType type) {
  if (type == HandheldType::Text) return SkipTerminatedText(record, pos, kTwoByteForm);
  TakeBytes(record, pos, static_cast<std::size_t>(FieldWidth(CodeOf(type))));
}

bool AppendField(Bytes& record, HandheldType type, const Value& value) {
  if (IsNull(value)) return AppendField(record, type, ZeroValueOf(type));
  switch (type) {
    case HandheldType::Byte:
      return AppendAs<std::uint8_t>(record, value);
    case HandheldType::Integer:
      return AppendAs<std::int16_t>(record, value);
    case HandheldType::Long:
      return AppendAs<std::int32_t>(record, value);
    case HandheldType::Single:
      return AppendAs<float>(record, value);
    case HandheldType::Text:
      return AppendAs<std::string>(record, value);
    case HandheldType::Boolean:
      return AppendAs<bool>(record, value);
    case HandheldType::Date:
      return AppendAs<Date>(record, value);
    case HandheldType::Double:
      return AppendAs<double>(record, value);
    case HandheldType::Currency:
      return AppendAs<Currency>(record, value);
  }
  return false;
}

}  // namespace mv
