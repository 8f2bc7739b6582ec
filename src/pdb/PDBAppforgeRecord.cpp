#include "pdb/PDBAppforgeRecord.h"

#include <bit>
#include <limits>
#include <optional>
#include <utility>

#include "base/Checked.h"
#include "base/NumberText.h"
#include "pdb/HandheldType.h"
#include "pdb/PDBUtils.h"

namespace mv {
namespace {

/// Record values are big-endian.
constexpr bool kSwap = true;
constexpr std::uint8_t kTrueByte = 255;
constexpr std::string_view kTrueText = "1";
constexpr std::string_view kFalseText = "0";
/// kHandheldEpoch as seconds since 1899-12-30.
constexpr std::int64_t kDateEpoch = static_cast<std::int64_t>(kHandheldEpoch.days) * 86400;

template <typename Integer>
Integer ParseAs(std::string_view text) {
  using Limits = std::numeric_limits<Integer>;
  return static_cast<Integer>(ParseRounded(text, Limits::min(), Limits::max()));
}

Date ParseDate(std::string_view text) {
  const std::optional<Date> date = DateFromIso(text);
  if (!date) throw StandardError(errors::kTypeMismatch);
  return *date;
}

Date DateFromWord(std::int32_t word) {
  return DateFromSeconds(kDateEpoch + static_cast<std::uint32_t>(word));
}

/// The 32 bits for a date. Those before 1904 are written as negative seconds, although they read back as
/// the unsigned count, a date up to 2040.
std::int32_t WordFromDate(Date date) {
  const std::int64_t seconds = SecondsFromDate(date) - kDateEpoch;
  if (seconds < 0) return CheckedCast<std::int32_t>(seconds);
  return static_cast<std::int32_t>(CheckedCast<std::uint32_t>(seconds));
}

}  // namespace

PDBAppforgeRecord::PDBAppforgeRecord() {
  AppforgeDefinition(std::make_shared<const PDBAppforgeDefinition>());
}

void PDBAppforgeRecord::AppforgeDefinition(std::shared_ptr<const PDBAppforgeDefinition> definition) {
  definition_ = std::move(definition);
  values_.assign(static_cast<std::size_t>(definition_->FieldCount()) + 1, std::string());
}

std::size_t PDBAppforgeRecord::IndexOf(std::int16_t i) const {
  if (i < 0 || static_cast<std::size_t>(i) >= values_.size()) throw StandardError(errors::kSubscriptOutOfRange);
  return static_cast<std::size_t>(i);
}

std::string& PDBAppforgeRecord::Cleared(std::int16_t i) {
  std::string& text = values_[IndexOf(i)];
  text.clear();
  return text;
}

void PDBAppforgeRecord::ByteStream(const PDBByteStream& stream) {
  stream_ = stream;
  std::int32_t pos = 0;
  const std::int16_t count = definition_->FieldCount();
  for (std::int32_t i = 1; i <= count; ++i) ReadField(static_cast<std::int16_t>(i), pos);
}

void PDBAppforgeRecord::ReadField(std::int16_t i, std::int32_t& pos) {
  std::uint8_t byte = 0;
  std::int16_t integer = 0;
  std::int32_t word = 0;
  std::int64_t amount = 0;
  switch (static_cast<HandheldType>(definition_->FieldType(i))) {
    case HandheldType::Byte:
      stream_.GetByte(byte, pos);
      return AppendInteger(Cleared(i), byte);
    case HandheldType::Integer:
      stream_.ByteToInteger(integer, pos, kSwap);
      return AppendInteger(Cleared(i), integer);
    case HandheldType::Long:
      stream_.ByteToLong(word, pos, kSwap);
      return AppendInteger(Cleared(i), word);
    case HandheldType::Single:  // as bits: a signalling not-a-number must not pass through a register
      stream_.ByteToLong(word, pos, kSwap);
      return AppendSingleBits(Cleared(i), static_cast<std::uint32_t>(word));
    case HandheldType::Double:
      stream_.ByteToCurrency(amount, pos, kSwap);
      return AppendDoubleBits(Cleared(i), static_cast<std::uint64_t>(amount));
    case HandheldType::Currency:
      stream_.ByteToCurrency(amount, pos, kSwap);
      return AppendCurrency(Cleared(i), amount);
    case HandheldType::Text:
      return stream_.ByteToString(Cleared(i), pos);
    case HandheldType::Boolean:
      stream_.GetByte(byte, pos);
      return BooleanValue(i, byte != 0);
    case HandheldType::Date:
      stream_.ByteToLong(word, pos, kSwap);
      return AppendIso(Cleared(i), DateFromWord(word));
    default:
      return;
  }
}

std::int32_t PDBAppforgeRecord::DataLength() const {
  std::int32_t length = 0;
  const std::int16_t count = definition_->FieldCount();
  for (std::int32_t i = 1; i <= count; ++i) {
    const auto field = static_cast<std::int16_t>(i);
    const std::int32_t type = definition_->FieldType(field);
    length = CheckedAdd(length, FieldWidth(type));
    if (type == CodeOf(HandheldType::Text)) length = CheckedAdd(length, PDBUtils::UTF8Length(StringValue(field)));
  }
  return length;
}

const PDBByteStream& PDBAppforgeRecord::ByteStream() {
  const std::int32_t length = DataLength();
  stream_.Resize(length);
  std::int32_t pos = 0;
  const std::int16_t count = definition_->FieldCount();
  for (std::int32_t i = 1; i <= count; ++i) WriteField(static_cast<std::int16_t>(i), pos);
  // A last field of one byte makes no spare byte by itself, and a table would then lose it.
  stream_.Resize(CheckedAdd(length, 1));
  return stream_;
}

void PDBAppforgeRecord::WriteField(std::int16_t i, std::int32_t& pos) {
  const std::string& text = StringValue(i);
  switch (static_cast<HandheldType>(definition_->FieldType(i))) {
    case HandheldType::Byte:
      return stream_.SetByte(ByteValue(i), pos);
    case HandheldType::Integer:
      return stream_.IntegerToByte(IntegerValue(i), pos, kSwap);
    case HandheldType::Long:
      return stream_.LongToByte(LongValue(i), pos, kSwap);
    case HandheldType::Single:
      return stream_.LongToByte(static_cast<std::int32_t>(ParseSingleBits(text)), pos, kSwap);
    case HandheldType::Double:
      return stream_.CurrencyToByte(static_cast<std::int64_t>(ParseDoubleBits(text)), pos, kSwap);
    case HandheldType::Currency:
      return stream_.CurrencyToByte(CurrencyValue(i), pos, kSwap);
    case HandheldType::Text:
      return stream_.StringToByte(text, pos);
    case HandheldType::Boolean:
      return stream_.SetByte(BooleanValue(i) ? kTrueByte : std::uint8_t{0}, pos);
    case HandheldType::Date:
      return stream_.LongToByte(WordFromDate(ParseDate(text)), pos, kSwap);
    default:
      return;
  }
}

std::uint8_t PDBAppforgeRecord::ByteValue(std::int16_t i) const {
  return ParseAs<std::uint8_t>(StringValue(i));
}

void PDBAppforgeRecord::ByteValue(std::int16_t i, std::uint8_t value) {
  AppendInteger(Cleared(i), value);
}

bool PDBAppforgeRecord::BooleanValue(std::int16_t i) const {
  return StringValue(i) == kTrueText;
}

void PDBAppforgeRecord::BooleanValue(std::int16_t i, bool value) {
  Cleared(i) += value ? kTrueText : kFalseText;
}

std::int16_t PDBAppforgeRecord::IntegerValue(std::int16_t i) const {
  return ParseAs<std::int16_t>(StringValue(i));
}

void PDBAppforgeRecord::IntegerValue(std::int16_t i, std::int16_t value) {
  AppendInteger(Cleared(i), value);
}

std::int32_t PDBAppforgeRecord::LongValue(std::int16_t i) const {
  return ParseAs<std::int32_t>(StringValue(i));
}

void PDBAppforgeRecord::LongValue(std::int16_t i, std::int32_t value) {
  AppendInteger(Cleared(i), value);
}

double PDBAppforgeRecord::DoubleValue(std::int16_t i) const {
  return ParseDouble(StringValue(i));
}

void PDBAppforgeRecord::DoubleValue(std::int16_t i, double value) {
  AppendDoubleBits(Cleared(i), std::bit_cast<std::uint64_t>(value));
}

std::int64_t PDBAppforgeRecord::CurrencyValue(std::int16_t i) const {
  return ParseCurrency(StringValue(i));
}

void PDBAppforgeRecord::CurrencyValue(std::int16_t i, std::int64_t tenThousandths) {
  AppendCurrency(Cleared(i), tenThousandths);
}

float PDBAppforgeRecord::SingleValue(std::int16_t i) const {
  return ParseSingle(StringValue(i));
}

void PDBAppforgeRecord::SingleValue(std::int16_t i, float value) {
  AppendSingleBits(Cleared(i), std::bit_cast<std::uint32_t>(value));
}

Date PDBAppforgeRecord::DateValue(std::int16_t i) const {
  return ParseDate(StringValue(i));
}

void PDBAppforgeRecord::DateValue(std::int16_t i, Date value) {
  const std::string text = IsoFromDate(value);
  StringValue(i, text);
}

void PDBAppforgeRecord::StringValue(std::int16_t i, std::string_view text) {
  values_[IndexOf(i)] = text;
}

}  // namespace mv
