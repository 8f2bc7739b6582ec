#pragma once

#include <span>
#include <string>

#include "jet/definition/TableDefinition.h"
#include "recordset/Value.h"

namespace mv::jet {

/// The bytes an index keeps for one column: start byte and value, ascending or descending; see the table in the source.
/// `value` has the column's type (Null, bool, uint8_t ... text for Text, Memo, GUID and Decimal). Throws
/// UnsupportedError for what the engine cannot build: a sort order other than General (0409, 0, 0), a surrogate, NaN,
/// descending Decimal, OLE and raw columns; the text names column and character.
void AppendKey(Bytes& key, const Column& column, const Value& value, bool ascending);

/// The whole key of a row in one index. `values` are by position in TableDefinition::columns. Throws also when the key
/// is longer than 510 bytes.
struct IndexKey {
  Bytes bytes;
  bool allNull = true;
  bool anyNull = false;
  /// 0, or how many bytes are those of the key's entry whoever wrote it: see CertainPartOfTextKey. Whether an entry
  /// that begins with them is of this key then only its row tells.
  std::size_t certain = 0;
};
IndexKey KeyOf(const TableDefinition& table, const IndexData& index, std::span<const Value> values);

/// Why the engine could not keep this index right; empty when it can. Looks at column types, directions and sort
/// orders, not at rows.
std::string WhyNotWritable(const TableDefinition& table, const IndexData& index);

}  // namespace mv::jet
