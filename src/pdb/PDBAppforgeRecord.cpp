#include "pdb/PDBAppforgeRecord.h"

#include <bit>
#include <limits>
#include <optional>
#include <utility>

#include "base/Checked.h"
#include "base/NumberText.h"
#include "pdb/DateWord.h"
#include "pdb/HandheldType.h"
#include "pdb/PDBUtils.h"

namespace mv {
namespace {

/// Record values are big-endian.
constexpr bool kSwap = true;
constexpr std::string_view kTrueText = "1";
constexpr std::string_view kFalseText = "0";

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

void AppendText(std::string& text, HandheldType type, std::int64_t bits) {
  switch (type) {
    case HandheldType::Byte:
    case HandheldType::Integer:
    case HandheldType::Long:
      return AppendInteger(text, bits);
    case HandheldType::Single:
      return AppendSingleBits(text, static_cast<std::uint32_t>(bits));
    case HandheldType::Double:
      return AppendDoubleBits(text, static_cast<std::uint64_t>(bits));
    case HandheldType::Currency:
      return AppendCurrency(text, bits);
    case HandheldType::Boolean:
      text += bits != 0 ? kTrueText : kFalseText;
      return;
    case HandheldType::Date:
      return AppendIso(text, DateFromSeconds(bits));
    case HandheldType::Text:
      return;
  }
}

std::int64_t ParseBits(std::string_view text, HandheldType type) {
  switch (type) {
    case HandheldType::Byte:
      return ParseAs<std::uint8_t>(text);
    case HandheldType::Integer:
      return ParseAs<std::int16_t>(text);
    case HandheldType::Long:
      return ParseAs<std::int32_t>(text);
    case HandheldType::Single:
      return ParseSingleBits(text);
    case HandheldType::Double:
      return static_cast<std::int64_t>(ParseDoubleBits(text));
    case HandheldType::Currency:
      return ParseCurrency(text);
    case HandheldType::Boolean:
      return text == kTrueText ? 1 : 0;
    case HandheldType::Date:
      return SecondsFromDate(ParseDate(text));
    case HandheldType::Text:
      break;
  }
  throw StandardError(errors::kTypeMismatch);
}

}  // namespace

PDBAppforgeRecord::PDBAppforgeRecord() {
  AppforgeDefinition(std::make_shared<const PDBAppforgeDefinition>());
}

void PDBAppforgeRecord::AppforgeDefinition(std::shared_ptr<const PDBAppforgeDefinition> definition) {
  definition_ = std::move(definition);
  values_.assign(static_cast<std::size_t>(definition_->FieldCount()) + 1, Held());
}

PDBAppforgeRecord::Held& PDBAppforgeRecord::At(std::int16_t i) const {
  if (i < 0 || static_cast<std::size_t>(i) >= values_.size()) throw StandardError(errors::kSubscriptOutOfRange);
  return values_[static_cast<std::size_t>(i)];
}

std::string& PDBAppforgeRecord::Cleared(std::int16_t i) {
  Held& held = At(i);
  held.type = HandheldType::Text;
  held.hasText = true;
  held.text.clear();
  return held.text;
}

void PDBAppforgeRecord::Hold(std::int16_t i, HandheldType type, std::int64_t bits) {
  Held& held = At(i);
  held.type = type;
  held.bits = bits;
  held.hasText = false;
}

std::int64_t PDBAppforgeRecord::BitsAs(std::int16_t i, HandheldType type) const {
  const Held& held = At(i);
  return held.type == type ? held.bits : ParseBits(StringValue(i), type);
}

const std::string& PDBAppforgeRecord::StringValue(std::int16_t i) const {
  Held& held = At(i);
  if (!held.hasText) {
    held.text.clear();
    AppendText(held.text, held.type, held.bits);
    held.hasText = true;
  }
  return held.text;
}

void PDBAppforgeRecord::ByteStream(PDBByteStream stream) {
  stream_ = std::move(stream);
  std::int32_t pos = 0;
  const std::int16_t count = definition_->FieldCount();
  for (std::int32_t i = 1; i <= count; ++i) ReadField(static_cast<std::int16_t>(i), pos);
}

void PDBAppforgeRecord::ReadField(std::int16_t i, std::int32_t& pos) {
  std::uint8_t byte = 0;
  std::int16_t integer = 0;
  std::int32_t word = 0;
  std::int64_t amount = 0;
  const auto type = static_cast<HandheldType>(definition_->FieldType(i));
  switch (type) {
    case HandheldType::Byte:
      stream_.GetByte(byte, pos);
      return Hold(i, type, byte);
    case HandheldType::Integer:
      stream_.ByteToInteger(integer, pos, kSwap);
      return Hold(i, type, integer);
    case HandheldType::Long:
      stream_.ByteToLong(word, pos, kSwap);
      return Hold(i, type, word);
    case HandheldType::Single:  // as bits: a signalling not-a-number must not pass through a register
      stream_.ByteToLong(word, pos, kSwap);
      return Hold(i, type, static_cast<std::uint32_t>(word));
    case HandheldType::Double:
    case HandheldType::Currency:
      stream_.ByteToCurrency(amount, pos, kSwap);
      return Hold(i, type, amount);
    case HandheldType::Text:
      return stream_.ByteToString(Cleared(i), pos);
    case HandheldType::Boolean:
      stream_.GetByte(byte, pos);
      return Hold(i, type, byte != 0);
    case HandheldType::Date:
      stream_.ByteToLong(word, pos, kSwap);
      return Hold(i, type, SecondsFromDateWord(word));
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
  const auto type = static_cast<HandheldType>(definition_->FieldType(i));
  switch (type) {
    case HandheldType::Byte:
      return stream_.SetByte(ByteValue(i), pos);
    case HandheldType::Integer:
      return stream_.IntegerToByte(IntegerValue(i), pos, kSwap);
    case HandheldType::Long:
    case HandheldType::Single:
      return stream_.LongToByte(static_cast<std::int32_t>(BitsAs(i, type)), pos, kSwap);
    case HandheldType::Double:
    case HandheldType::Currency:
      return stream_.CurrencyToByte(BitsAs(i, type), pos, kSwap);
    case HandheldType::Text:
      return stream_.StringToByte(StringValue(i), pos);
    case HandheldType::Boolean:
      return stream_.SetByte(BooleanValue(i) ? kTrueByte : std::uint8_t{0}, pos);
    case HandheldType::Date:
      return stream_.LongToByte(DateWordFromSeconds(BitsAs(i, type)), pos, kSwap);
    default:
      return;
  }
}

std::uint8_t PDBAppforgeRecord::ByteValue(std::int16_t i) const {
  return static_cast<std::uint8_t>(BitsAs(i, HandheldType::Byte));
}

void PDBAppforgeRecord::ByteValue(std::int16_t i, std::uint8_t value) {
  Hold(i, HandheldType::Byte, value);
}

bool PDBAppforgeRecord::BooleanValue(std::int16_t i) const {
  return BitsAs(i, HandheldType::Boolean) != 0;
}

void PDBAppforgeRecord::BooleanValue(std::int16_t i, bool value) {
  Hold(i, HandheldType::Boolean, value);
}

std::int16_t PDBAppforgeRecord::IntegerValue(std::int16_t i) const {
  return static_cast<std::int16_t>(BitsAs(i, HandheldType::Integer));
}

void PDBAppforgeRecord::IntegerValue(std::int16_t i, std::int16_t value) {
  Hold(i, HandheldType::Integer, value);
}

std::int32_t PDBAppforgeRecord::LongValue(std::int16_t i) const {
  return static_cast<std::int32_t>(BitsAs(i, HandheldType::Long));
}

void PDBAppforgeRecord::LongValue(std::int16_t i, std::int32_t value) {
  Hold(i, HandheldType::Long, value);
}

double PDBAppforgeRecord::DoubleValue(std::int16_t i) const {
  const Held& held = At(i);
  if (held.type != HandheldType::Double) return ParseDouble(StringValue(i));
  return std::bit_cast<double>(held.bits);
}

void PDBAppforgeRecord::DoubleValue(std::int16_t i, double value) {
  Hold(i, HandheldType::Double, std::bit_cast<std::int64_t>(value));
}

std::int64_t PDBAppforgeRecord::CurrencyValue(std::int16_t i) const {
  return BitsAs(i, HandheldType::Currency);
}

void PDBAppforgeRecord::CurrencyValue(std::int16_t i, std::int64_t tenThousandths) {
  Hold(i, HandheldType::Currency, tenThousandths);
}

float PDBAppforgeRecord::SingleValue(std::int16_t i) const {
  const Held& held = At(i);
  if (held.type != HandheldType::Single) return ParseSingle(StringValue(i));
  return std::bit_cast<float>(static_cast<std::uint32_t>(held.bits));
}

void PDBAppforgeRecord::SingleValue(std::int16_t i, float value) {
  Hold(i, HandheldType::Single, std::bit_cast<std::uint32_t>(value));
}

Date PDBAppforgeRecord::DateValue(std::int16_t i) const {
  return DateFromSeconds(BitsAs(i, HandheldType::Date));
}

void PDBAppforgeRecord::DateValue(std::int16_t i, Date value) {
  Hold(i, HandheldType::Date, SecondsFromDate(value));
}

void PDBAppforgeRecord::StringValue(std::int16_t i, std::string_view text) {
  Held& held = At(i);
  held.text = text;  // which may be this text, or a part of it
  held.hasText = true;
  held.type = HandheldType::Text;
}

}  // namespace mv
