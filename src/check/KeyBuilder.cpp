#include "check/KeyBuilder.h"

#include <algorithm>
#include <array>

#include "check/StoredText.h"
#include "jet/index/TextKeys.h"
#include "jet/index/TextWeights.h"

namespace mv::check {
namespace {

constexpr std::uint8_t kAscendingStart = 0x7F;
constexpr std::uint8_t kDescendingStart = 0x80;
constexpr std::uint8_t kAscendingNull = 0x00;
constexpr std::uint8_t kDescendingNull = 0xFF;
constexpr std::uint8_t kTrueByte = 0x00;
constexpr std::uint8_t kFalseByte = 0xFF;
constexpr std::uint8_t kTopBit = 0x80;
constexpr std::size_t kGroup = 8;
constexpr std::uint8_t kMoreFollows = 9;
constexpr std::uint8_t kPrimaryEnd = 0x01;
constexpr SortOrderBytes kGeneral = {0x09, 0x04, 0x00, 0x00};

void InvertFrom(Bytes& key, std::size_t from) {
  for (std::size_t i = from; i < key.size(); ++i) key[i] = static_cast<std::uint8_t>(~key[i]);
}

void AppendReversed(Bytes& key, ByteView value) {
  key.insert(key.end(), value.rbegin(), value.rend());
}

void AppendInteger(Bytes& key, ByteView value) {
  const std::size_t from = key.size();
  AppendReversed(key, value);
  key[from] ^= kTopBit;
}

void AppendFloat(Bytes& key, ByteView value) {
  const std::size_t from = key.size();
  AppendReversed(key, value);
  if ((key[from] & kTopBit) != 0) {
    InvertFrom(key, from);
  } else {
    key[from] ^= kTopBit;
  }
}

void AppendGroups(Bytes& key, ByteView value, bool ascending) {
  const auto append = [&](ByteView group, std::uint8_t close) {
    const std::size_t from = key.size();
    key.insert(key.end(), group.begin(), group.end());
    key.resize(from + kGroup, 0);
    key.push_back(close);
    if (!ascending) InvertFrom(key, from);
    if (close == kMoreFollows) key.back() = kMoreFollows;
  };
  for (; value.size() > kGroup; value = value.subspan(kGroup)) append(value.first(kGroup), kMoreFollows);
  if (!value.empty()) append(value, static_cast<std::uint8_t>(value.size()));
}

/// In the order in which it is printed: rows keep the first three groups little-endian.
void AppendGuid(Bytes& key, ByteView value, bool ascending) {
  constexpr std::size_t kPrinted[] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  std::array<std::uint8_t, std::size(kPrinted)> printed;
  for (std::size_t i = 0; i < printed.size(); ++i) printed[i] = value[kPrinted[i]];
  AppendGroups(key, printed, ascending);
}

void AppendDecimal(Bytes& key, ByteView value, bool ascending, KeyBuilder::Style style) {
  const bool negative = (value[0] & kTopBit) != 0;
  key.push_back(negative ? 0x00 : 0xFF);
  if (!ascending && style != KeyBuilder::Style::Usual) key.back() = static_cast<std::uint8_t>(~key.back());
  const std::size_t from = key.size();
  for (std::size_t word = 1; word < value.size(); word += 4) AppendReversed(key, value.subspan(word, 4));
  if (negative == ascending) InvertFrom(key, from);
}

/// The letter whose weight a character of several letters has first.
char16_t FirstLetterOf(char16_t unit) {
  const jet::TextWeight weight = jet::WeightOf(unit);
  if (weight.kind != jet::TextWeight::Kind::Letters) return unit;
  for (char16_t letter = u'a'; letter <= u'z'; ++letter) {
    if (jet::WeightOf(letter).primary == jet::LettersOf(weight.detail).primary[0]) return letter;
  }
  return unit;
}

/// Where the primary weights of a text key end, and where the accents behind them do.
Bytes::iterator EndOfPrimary(Bytes& key, Bytes::iterator from) {
  return std::find(from, key.end(), kPrimaryEnd);
}
Bytes::iterator EndOfAccents(Bytes& key, Bytes::iterator from) {
  const auto primaryEnd = EndOfPrimary(key, from);
  if (primaryEnd == key.end()) return primaryEnd;
  return std::find_if(primaryEnd + 1, key.end(), [](std::uint8_t byte) { return byte <= kPrimaryEnd; });
}

/// The usual primary weights, and behind them what a text has in which such characters are their first letters; of that
/// only the accents in the style OtherAccents.
bool AppendOtherTextKey(Bytes& key, std::u16string units, KeyBuilder::Style style) {
  Bytes usual;
  if (jet::AppendTextKey(usual, units)) return false;
  std::transform(units.begin(), units.end(), units.begin(), FirstLetterOf);
  Bytes other;
  if (jet::AppendTextKey(other, units)) return false;
  key.insert(key.end(), usual.begin(), EndOfPrimary(usual, usual.begin()));
  key.insert(key.end(), EndOfPrimary(other, other.begin()), EndOfAccents(other, other.begin()));
  Bytes& rest = style == KeyBuilder::Style::OtherAccents ? usual : other;
  key.insert(key.end(), EndOfAccents(rest, rest.begin()), rest.end());
  return true;
}

}  // namespace

KeyBuilder::KeyBuilder(Context& context, const Definition& definition)
    : reader_(definition), definition_(definition), longValues_(context) {}

void KeyBuilder::Build(const Index& index, const Row& row, Style style, Key& key) {
  key.bytes.clear();
  key.allNull = true;
  key.anyNull = false;
  key.known = true;
  for (const Index::KeyColumn& part : index.columns) {
    const Column& column = definition_.columns[*part.column];
    const Cell cell = reader_.Read(row, *part.column);
    const bool isBoolean = column.type == ColumnType::Boolean;
    const bool isNull =
        !isBoolean && (cell.state != Cell::State::Value || (column.IsLongValue() && cell.bytes.empty()));
    if (isNull) {
      key.anyNull = true;
      key.bytes.push_back(part.ascending ? kAscendingNull : kDescendingNull);
      continue;
    }
    key.allNull = false;
    key.bytes.push_back(part.ascending ? kAscendingStart : kDescendingStart);
    if (isBoolean) {
      const bool isTrue = cell.state == Cell::State::Value;
      key.bytes.push_back(isTrue == part.ascending ? kTrueByte : kFalseByte);
    } else if (key.known) {
      key.known = Append(key.bytes, column, cell.bytes, part.ascending, style);
    }
  }
}

bool KeyBuilder::Append(Bytes& key, const Column& column, ByteView value, bool ascending, Style style) {
  const std::size_t from = key.size();
  switch (column.type) {
    case ColumnType::Byte:
      key.push_back(value[0]);
      break;
    case ColumnType::Integer:
    case ColumnType::Long:
    case ColumnType::Currency:
      AppendInteger(key, value);
      break;
    case ColumnType::Single:
    case ColumnType::Double:
    case ColumnType::DateTime:
      AppendFloat(key, value);
      break;
    case ColumnType::Text:
    case ColumnType::Memo:
      return AppendText(key, column, value, ascending, style);
    case ColumnType::Binary:
      AppendGroups(key, value, ascending);
      return true;
    case ColumnType::Guid:
      AppendGuid(key, value, ascending);
      return true;
    case ColumnType::Decimal:
      AppendDecimal(key, value, ascending, style);
      return true;
    case ColumnType::Boolean:
    case ColumnType::Ole:
    case ColumnType::RawBlock:
    default:
      return false;
  }
  if (!ascending) InvertFrom(key, from);
  return true;
}

bool KeyBuilder::AppendText(Bytes& key, const Column& column, ByteView value, bool ascending, Style style) {
  if (column.sortOrder != kGeneral) return false;
  if (column.type == ColumnType::Memo) {
    longValues_.Fetch(value, memo_);
    value = memo_;
  }
  if (!DecodeStoredText(value, units_)) return false;
  const std::size_t from = key.size();
  if (style != Style::Usual) {
    if (!AppendOtherTextKey(key, units_, style)) return false;
  } else if (jet::AppendTextKey(key, units_)) {
    return false;
  }
  if (ascending) return true;
  InvertFrom(key, from);
  key.push_back(0x00);
  return true;
}

}  // namespace mv::check
