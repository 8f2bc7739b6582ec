#include "check/LongValues.h"

#include <algorithm>

#include "check/StoredText.h"

namespace mv::check {
namespace {

constexpr std::size_t kDescriptorSize = 12;
constexpr std::size_t kAddressAt = 4;
constexpr std::size_t kStampAt = 8;
constexpr std::uint32_t kLengthMask = 0x3FFFFFFF;
constexpr unsigned kFormShift = 30;
constexpr std::size_t kNextSize = 4;
constexpr std::size_t kChunkSize = 4076;

/// Longest values of the forms, before compression.
constexpr std::size_t kMaxInline = 64;
constexpr std::size_t kMaxOneRow = 3816;

enum class Form : std::uint8_t { Chain = 0, OneRow = 1, Inline = 2 };

Form FormOf(ByteView descriptor) {
  return static_cast<Form>(Word32(descriptor, 0) >> kFormShift);
}

void Append(Bytes& bytes, ByteView part) {
  bytes.insert(bytes.end(), part.begin(), part.end());
}

}  // namespace

bool LongValues::Check(const Column& column, ByteView descriptor, const Place& place) {
  bytes_.clear();
  if (descriptor.size() < kDescriptorSize) {
    context_.findings.Damage(Kind::LongValue, place, "the descriptor has only ", descriptor.size(), " bytes");
    return false;
  }
  const Value value{Word32(descriptor, 0) & kLengthMask, RowAt(descriptor, kAddressAt), Word32(descriptor, kStampAt),
                    descriptor};
  const Form form = FormOf(descriptor);
  if (form != Form::Chain && value.stamp != 0) {
    context_.findings.Note(Kind::LongValue, place, "the value has a stamp, but is no chain");
  }
  switch (form) {
    case Form::Inline:
      return CheckInline(value, place) && CheckLength(column, value, 0, kMaxInline, place);
    case Form::OneRow:
      return CheckOneRow(column, value, place) && CheckLength(column, value, kMaxInline + 1, kMaxOneRow, place);
    case Form::Chain: {
      const std::size_t least = column.hasFreeSpaceMap ? kMaxOneRow + 1 : 0;
      return CheckChain(column, value, place) && CheckLength(column, value, least, kLengthMask, place);
    }
  }
  context_.findings.Damage(Kind::LongValue, place, "the value is of an unknown form");
  return false;
}

/// The form goes by the length before compression. Decodes the text of a Memo.
bool LongValues::CheckLength(const Column& column, const Value& value, std::size_t least, std::size_t most,
                             const Place& place) {
  std::size_t length = value.length;
  if (column.type == ColumnType::Memo) {
    if (!DecodeStoredText(bytes_, units_)) {
      context_.findings.Damage(Kind::Value, place, "the text ends within a character");
      return false;
    }
    length = 2 * units_.size();
  }
  if (length < least || length > most) {
    context_.findings.Note(Kind::LongValue, place, "a value of ", length, " bytes should be stored in another form");
  }
  return true;
}

bool LongValues::CheckInline(const Value& value, const Place& place) {
  const ByteView stored = value.descriptor.subspan(kDescriptorSize);
  if (stored.size() < value.length) {
    context_.findings.Damage(Kind::LongValue, place, "the value should have ", value.length, " bytes, but only ",
                             stored.size(), " follow its descriptor");
    return false;
  }
  if (stored.size() > value.length) {
    context_.findings.Note(Kind::LongValue, place, "more bytes follow the descriptor than the value has");
  }
  Append(bytes_, stored.first(value.length));
  return true;
}

/// A row of a value lies on a page of its column and belongs to no other value.
bool LongValues::TakeRow(const Column& column, RowId row, const Place& place) {
  Findings& findings = context_.findings;
  DataPages& rows = context_.rows;
  if (!context_.pages.Has(row.page) || column.longValues == 0 ||
      context_.owners.OwnerOf(row.page) != column.longValues) {
    findings.Damage(Kind::LongValue, place, "the value leads to ", row, ", which is on no page of its column");
    return false;
  }
  if (!rows.Has(row) || rows.StateOf(row) != SlotState::Live) {
    findings.Damage(Kind::LongValue, place, "the value leads to ", row, ", where no live row is");
    return false;
  }
  if (rows.MarkOf(row) != Mark::None) {
    findings.Damage(Kind::LongValue, place, "the value leads to ", row, ", which belongs to a value already");
    return false;
  }
  rows.SetMark(row, Mark::Used);
  return true;
}

bool LongValues::NotesStamp(RowId row, const Place& place) {
  if (context_.rows.StampOf(row.page) == 0) return false;
  context_.findings.Note(Kind::LongValue, place, "page ", row.page, " has a stamp, but begins no chain");
  return true;
}

bool LongValues::CheckOneRow(const Column& column, const Value& value, const Place& place) {
  if (!TakeRow(column, value.first, place)) return false;
  const ByteView row = context_.rows.Bytes(value.first);
  if (row.size() < value.length) {
    context_.findings.Damage(Kind::LongValue, place, "the value should have ", value.length, " bytes, but its row at ",
                             value.first, " has ", row.size());
    return false;
  }
  NotesStamp(value.first, place);
  if (column.type == ColumnType::Memo) Append(bytes_, row.first(value.length));
  return true;
}

bool LongValues::CheckChain(const Column& column, const Value& value, const Place& place) {
  Findings& findings = context_.findings;
  std::size_t got = 0;
  for (RowId at = value.first; got < value.length || at.page != 0;) {
    if (at.page == 0) {
      findings.Damage(Kind::LongValue, place, "the chain ends after ", got, " of ", value.length, " bytes");
      return false;
    }
    if (got >= value.length) {
      findings.Damage(Kind::LongValue, place, "the chain goes on behind its ", value.length, " bytes");
      return false;
    }
    if (!TakeRow(column, at, place)) return false;
    const ByteView row = context_.rows.Bytes(at);
    if (row.size() <= kNextSize) {
      findings.Damage(Kind::LongValue, place, "the part of the chain at ", at, " has no content");
      return false;
    }
    if (at == value.first) {
      const std::uint32_t stamp = context_.rows.StampOf(at.page);
      if (stamp != value.stamp) {
        findings.Damage(Kind::LongValue, place, "the value has the stamp ", value.stamp, ", its first page ", at.page,
                        " has ", stamp);
      } else if (stamp == 0) {
        findings.Note(Kind::LongValue, place, "the chain has no stamp");
      }
    } else {
      NotesStamp(at, place);
    }
    if (context_.rows.SlotCount(at.page) != 1) {
      findings.Note(Kind::LongValue, place, "the part of the chain at ", at, " is not alone on its page");
    }
    const ByteView part = row.subspan(kNextSize);
    got += part.size();
    if (column.type == ColumnType::Memo) Append(bytes_, part);
    at = RowAt(row, 0);
    if (at.page != 0 && row.size() != kChunkSize) {
      findings.Note(Kind::LongValue, place, "a part of the chain has ", row.size(), " bytes, not ", kChunkSize);
    }
  }
  if (got != value.length) {
    findings.Damage(Kind::LongValue, place, "the chain has ", got, " bytes, but should have ", value.length);
    return false;
  }
  return true;
}

void LongValues::Fetch(ByteView descriptor, Bytes& bytes) const {
  bytes.clear();
  if (descriptor.size() < kDescriptorSize) return;
  const std::size_t length = Word32(descriptor, 0) & kLengthMask;
  const Form form = FormOf(descriptor);
  if (form == Form::Inline) return Append(bytes, descriptor.subspan(kDescriptorSize, length));
  RowId at = RowAt(descriptor, kAddressAt);
  if (form == Form::OneRow) return Append(bytes, context_.rows.Bytes(at).first(length));
  while (bytes.size() < length) {
    const ByteView row = context_.rows.Bytes(at);
    Append(bytes, row.subspan(kNextSize));
    at = RowAt(row, 0);
  }
}

void LongValues::NoteOrphans(const std::vector<PageNumber>& pages, const Place& place) const {
  for (const PageNumber page : pages) {
    std::size_t orphans = 0;
    for (unsigned slot = 0; slot < context_.rows.SlotCount(page); ++slot) {
      const RowId row{page, static_cast<std::uint8_t>(slot)};
      const SlotState state = context_.rows.StateOf(row);
      const bool isLive = state == SlotState::Live || state == SlotState::Moved;
      if (isLive && context_.rows.MarkOf(row) == Mark::None) ++orphans;
    }
    if (orphans != 0) {
      context_.findings.Note(Kind::LongValue, place.OnPage(page), "rows that belong to no value: ", orphans);
    }
  }
}

}  // namespace mv::check
