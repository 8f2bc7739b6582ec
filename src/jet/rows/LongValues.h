#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/Bytes.h"
#include "jet/definition/TableDefinition.h"
#include "jet/file/Page.h"
#include "jet/file/PageFile.h"
#include "jet/pages/UsageMap.h"
#include "recordset/Value.h"

namespace mv::jet {

class DataPageView;

/// The Memo or OLE values of one column. A row keeps a descriptor; the bytes follow it there or lie on pages that
/// belong to the column. All numbers little-endian.
///
/// Descriptor:
/// | offset | size | content                                                                          |
/// |--------|------|----------------------------------------------------------------------------------|
/// | 0      | 4    | bits 0-29 length of the stored bytes; bits 30-31 form: 2 inline, 1 one row, 0 chain |
/// | 4      | 4    | row address of the (first) row; 0 when inline                                    |
/// | 8      | 4    | chain: its stamp; else 0                                                         |
/// | 12     |      | inline: the stored bytes                                                         |
///
/// The form depends on the length before compression (2 bytes a UTF-16 unit):
/// | length        | form                                           | a Memo is compressed           |
/// |---------------|------------------------------------------------|--------------------------------|
/// | 0 to 64       | inline                                         | if shorter, whatever the flag  |
/// | 65 to 3816    | one row of a data page owned by "LVAL"         | if shorter, column with flag   |
/// | more; above 64 without a free-space map | chain                | never                          |
///
/// A chain's rows are the address of the next row (4 bytes, 0 in the last) and up to 4072 bytes; each is alone on its
/// page. The stamp stands in the descriptor and in word 8 of the chain's first page and differs from chain to chain: a
/// row whose descriptor names a chain written for somebody else is recognised by it.
///
/// Pages with more than 257 free bytes, chains aside, may be in the column's free-space map; others are not.
///
/// Other writers have values of any length in each form, parts of chains of any length that share pages with other
/// rows, and stamps of 0 in both places. All that is read and removed, and stays as long as the value does.
class LongValues {
 public:
  /// `column` is a Memo or OLE column; copied.
  LongValues(PageFile& file, const Column& column);

  enum class Form : std::uint8_t { Chain = 0, OneRow = 1, Inline = 2 };
  /// How a value will be stored, known before anything changes.
  struct Plan {
    Form form = Form::Inline;
    Bytes stored;

    /// Bytes that the value will take in its row.
    std::size_t SizeInRow() const;
  };
  /// `value`: text for Memo, bytes for OLE. Throws ConstraintError for a value of more than 2^30 - 1 bytes and for a
  /// text that cannot be stored, UnsupportedError when the column has no pages of its own and needs some.
  Plan PlanFor(const Value& value) const;
  /// Puts a value where the plan says and returns its bytes in the row.
  Bytes Store(const Plan& plan);

  /// The value of a descriptor, given with the bytes behind it. Throws DamagedFileError for one that the pages
  /// contradict; allocates no more than the pages hold.
  Value Load(ByteView extent) const;
  /// True when the bytes of a value lie in its row, behind the descriptor.
  static bool IsInline(ByteView extent);
  /// Takes a value's rows off their pages and frees pages that are left without rows.
  void Remove(ByteView extent);

 private:
  struct Piece {
    RowId row;
    ByteView bytes;
  };

  std::vector<Piece> PiecesOf(ByteView extent) const;
  std::vector<Piece> ChainOf(RowId first, std::size_t length, std::uint32_t stamp) const;
  ByteView ValueRow(RowId row) const;
  std::optional<PageNumber> PageWithRoom(std::size_t length);
  bool MayHoldChainPart(const DataPageView& page) const;
  RowId StoreRow(ByteView stored);
  RowId StoreChain(ByteView stored, std::uint32_t stamp);
  void RemoveRow(RowId row);
  [[noreturn]] void Damaged(const char* what) const;

  PageFile& file_;
  FreePages freePages_;
  Column column_;
  UsageMap owned_;
  UsageMap freeSpace_;
  /// Where the search for a page with room goes on, downwards: a hint that is checked against the map.
  PageNumber searchBelow_;
  /// The page that this object has begun last for values of one row: there are no parts of chains on it.
  PageNumber begun_ = 0;
};

}  // namespace mv::jet
