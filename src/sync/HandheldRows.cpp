#include "sync/HandheldRows.h"

#include "pdb/FieldBytes.h"
#include "pdb/RecordFlags.h"

namespace mv {

void HandheldRows::Add(ByteView record, std::int32_t attributes) {
  std::int32_t pos = 0;
  for (const HandheldType type : types_) SkipField(record, pos, type);
  records_.push_back({record.first(static_cast<std::size_t>(pos)), static_cast<std::uint8_t>(attributes)});
}

void HandheldRows::ReadRow(std::size_t row, std::vector<Value>& values) const {
  const Record& record = records_[row];
  values.resize(types_.size() + 2);
  std::int32_t pos = 0;
  for (std::size_t field = 0; field < types_.size(); ++field) {
    mv::ReadField(record.bytes, pos, types_[field], values[field]);
  }
  values[types_.size()] = (record.attributes & kRecordDeleted) != 0;
  values[types_.size() + 1] = (record.attributes & kRecordModified) != 0;
}

void HandheldRows::ReadField(std::size_t row, std::size_t field, Value& value) const {
  const Record& record = records_[row];
  if (field >= types_.size()) {
    value = (record.attributes & (field == types_.size() ? kRecordDeleted : kRecordModified)) != 0;
    return;
  }
  std::int32_t pos = 0;
  for (std::size_t before = 0; before < field; ++before) SkipField(record.bytes, pos, types_[before]);
  mv::ReadField(record.bytes, pos, types_[field], value);
}

}  // namespace mv
