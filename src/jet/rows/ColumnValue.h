#pragma once

#include <string_view>

#include "base/Bytes.h"
#include "jet/definition/TableDefinition.h"
#include "jet/rows/TextCompression.h"
#include "recordset/Value.h"

namespace mv::jet {

/// A column's bytes in a row, null and long values aside. All numbers little-endian.
///
/// | type      | bytes    | stored as                                                                          |
/// |-----------|----------|------------------------------------------------------------------------------------|
/// | Boolean   | none     | the column's bit in the null mask                                                  |
/// | Byte      | 1        | unsigned                                                                           |
/// | Integer   | 2        | signed                                                                             |
/// | Long      | 4        | signed                                                                             |
/// | Currency  | 8        | signed, value x 10000                                                              |
/// | Single    | 4        | IEEE 754                                                                           |
/// | Double    | 8        | IEEE 754                                                                           |
/// | DateTime  | 8        | IEEE 754, days since 1899-12-30; before that day the fraction still counts forward |
/// | Binary    | to 510   | as given; filled with 00 where the column has a fixed place                        |
/// | Text      | to 510   | TextCompression.h; filled with blanks and plain where the column has a fixed place |
/// | GUID      | 16       | first three groups little-endian, the rest as printed                              |
/// | Decimal   | 17       | u8 80 when negative, then the magnitude in four u32, most significant first        |
/// | raw block | as given |                                                                                    |
///
/// Memo and OLE: see LongValues.h.

/// The type of Value that the engine takes and gives for a column.
DataType DataTypeOf(ColumnType type);

/// The value of a column's bytes. Not for Boolean and long values. Throws DamagedFileError when the number of bytes is
/// not that of the type.
Value ValueFromBytes(const Column& column, ByteView bytes);

/// The same into `value`; a text that it holds already gives its memory.
void ReadColumnValue(const Column& column, ByteView bytes, Value& value);

/// Whether a value can be stored in a column as it is, as far as that is told without making its bytes. False says
/// nothing; so it is for null and for long values.
bool CertainlyFits(const Column& column, const Value& value);

/// Replaces `out` with the bytes of a value that has the column's type (see DataTypeOf), not null. Not for Boolean and
/// long values. Error 13 for a text that is no GUID or no decimal number, error 6 for a number or date outside the
/// column's range; ConstraintError for a text or binary value that is too long.
void BytesFromValue(const Column& column, const Value& value, Bytes& out);

/// EncodeText, but ConstraintError for a text that would read back as another one: plain, with U+FEFF first.
Bytes StoredText(std::u16string_view units, TextForm form);

}  // namespace mv::jet
