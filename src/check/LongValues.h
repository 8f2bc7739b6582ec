#pragma once

#include <cstdint>
#include <string>

#include "check/Context.h"
#include "check/Definition.h"

namespace mv::check {

/// Memo and OLE values. A row keeps a descriptor:
///
/// | offset | size | content                                                                          |
/// |--------|------|----------------------------------------------------------------------------------|
/// | 0      | 4    | bits 0-29 length of the stored bytes; bits 30-31 form: 2 inline, 1 one row, 0 chain |
/// | 4      | 4    | address of the (first) row                                                       |
/// | 8      | 4    | stamp of a chain: that of its first page                                         |
/// | 12     |      | inline: the bytes                                                                |
///
/// A row of a chain is the address of the next and 4072 bytes, the last one fewer; each is alone on its page.
class LongValues {
 public:
  explicit LongValues(Context& context) : context_(context) {}

  /// Checks one value and takes its rows. False, with a finding, when it cannot be read. `place` names row and column.
  bool Check(const Column& column, ByteView descriptor, const Place& place);

  /// The units of the Memo value that was checked last.
  const std::u16string& Units() const { return units_; }

  /// Replaces `bytes` with a value. Needs one that was checked and found readable.
  void Fetch(ByteView descriptor, Bytes& bytes) const;

  /// Reports rows of the column's pages that belong to no value. Call when all rows of the table have been checked.
  void NoteOrphans(const std::vector<PageNumber>& pages, const Place& place) const;

 private:
  struct Value {
    std::size_t length = 0;
    RowId first;
    std::uint32_t stamp = 0;
    ByteView descriptor;
  };

  bool CheckInline(const Value& value, const Place& place);
  bool CheckOneRow(const Column& column, const Value& value, const Place& place);
  bool CheckChain(const Column& column, const Value& value, const Place& place);
  bool CheckLength(const Column& column, const Value& value, std::size_t least, std::size_t most, const Place& place);
  bool TakeRow(const Column& column, RowId row, const Place& place);
  bool NotesStamp(RowId row, const Place& place);

  Context& context_;
  Bytes bytes_;  ///< of the value under check, when it is a Memo
  std::u16string units_;
};

}  // namespace mv::check
