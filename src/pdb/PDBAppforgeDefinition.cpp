#include "pdb/PDBAppforgeDefinition.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/ByteOrder.h"
#include "base/Checked.h"
#include "base/Cp1252.h"
#include "base/Text.h"
#include "pdb/HandheldType.h"

namespace mv {
namespace {

constexpr std::size_t kCategoryMask = 0;
constexpr std::size_t kCategoryNames = 2;
constexpr std::size_t kCategoryNameWidth = 16;
constexpr std::size_t kCategoryIds = 258;
constexpr std::size_t kLastUniqueId = 274;
constexpr std::size_t kMark = 276;
constexpr std::string_view kMarkText = "APPFORG2";
constexpr std::size_t kSizeWord = 288;
constexpr std::size_t kTableNameOffset = 290;
constexpr std::size_t kFieldCount = 292;
constexpr std::size_t kRecordSize = 294;
constexpr std::size_t kEntries = 300;
constexpr std::size_t kEntrySize = 6;
constexpr std::size_t kEntryType = 2;

/// Name offsets count from here.
constexpr std::size_t kSection = kMark;
/// What the size word leaves out: everything before the section, and one more because it names the last byte.
constexpr std::size_t kNotCounted = kSection + 1;

constexpr std::size_t kSortCount = 16;
constexpr std::size_t kSortFixedSize = 20;
constexpr std::size_t kSortEntrySize = 4;

void RequireBytes(ByteView block, std::size_t offset, std::size_t count) {
  if (offset > block.size() || count > block.size() - offset) throw StandardError(errors::kSubscriptOutOfRange);
}

std::uint16_t WordAt(ByteView block, std::size_t offset) {
  RequireBytes(block, offset, 2);
  return LoadBig<std::uint16_t>(block.data() + offset);
}

/// `bytes` up to the first zero byte, without blanks around the text.
std::string TextOf(ByteView bytes) {
  const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
  const auto length = static_cast<std::size_t>(end - bytes.begin());
  return std::string(Trim(Utf8FromCp1252(bytes.first(length))));
}

/// Reads names from a block. Together they cannot be longer than the block that holds them: offsets that all lead to
/// one long text would let a small block fill the memory.
class NameReader {
 public:
  explicit NameReader(ByteView block) : block_(block), unread_(block.size()) {}

  /// The zero-terminated name at `offset`, counted from the section's start.
  std::string At(std::size_t offset) {
    RequireBytes(block_, kSection, offset);
    const ByteView rest = block_.subspan(kSection + offset);
    const auto end = std::find(rest.begin(), rest.end(), std::uint8_t{0});
    const auto length = static_cast<std::size_t>(end - rest.begin());
    if (end == rest.end() || length >= unread_) throw StandardError(errors::kSubscriptOutOfRange);
    unread_ -= length + 1;
    return TextOf(rest.first(length));
  }

 private:
  ByteView block_;
  std::size_t unread_;
};

/// Puts a 16-bit value into a block that is long enough.
void PutWord(Bytes& block, std::size_t offset, std::size_t value) {
  StoreBig(block.data() + offset, CheckedCast<std::int16_t>(value));
}

void PutText(Bytes& block, std::size_t offset, std::string_view ansi) {
  std::copy(ansi.begin(), ansi.end(), block.begin() + static_cast<std::ptrdiff_t>(offset));
}

}  // namespace

void PDBAppforgeDefinition::SortInfoBlock(Bytes block) {
  RequireBytes(block, 0, kSortFixedSize);
  RequireBytes(block, kSortFixedSize, kSortEntrySize * WordAt(block, kSortCount));
  sortInfoBlock_ = std::move(block);
}

bool PDBAppforgeDefinition::IsAppforgeData(ByteView block) {
  if (block.size() < kMark + kMarkText.size()) return false;
  ReadCategories(block);
  if (!std::equal(kMarkText.begin(), kMarkText.end(), block.begin() + kMark)) return false;

  const std::size_t count = WordAt(block, kFieldCount);
  if (count > static_cast<std::size_t>(std::numeric_limits<std::int16_t>::max())) {
    throw StandardError(errors::kSubscriptOutOfRange);
  }
  RequireBytes(block, kEntries, kEntrySize * count);

  NameReader names(block);
  std::string tableName = names.At(WordAt(block, kTableNameOffset));
  std::vector<Field> fields(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = kEntries + kEntrySize * i;
    fields[i].name = names.At(WordAt(block, entry));
    fields[i].type = static_cast<std::int16_t>(WordAt(block, entry + kEntryType));
  }
  tableName_ = std::move(tableName);
  fields_ = std::move(fields);
  return true;
}

void PDBAppforgeDefinition::ReadCategories(ByteView block) {
  categoryMask_ = static_cast<std::int16_t>(WordAt(block, kCategoryMask));
  for (std::size_t i = 0; i < kCategories; ++i) {
    categoryNames_[i] = TextOf(block.subspan(kCategoryNames + kCategoryNameWidth * i, kCategoryNameWidth));
    categoryIds_[i] = block[kCategoryIds + i];
  }
  lastUniqueId_ = block[kLastUniqueId];
}

void PDBAppforgeDefinition::WriteCategories(Bytes& block) const {
  StoreBig(block.data() + kCategoryMask, categoryMask_);
  for (std::size_t i = 0; i < kCategories; ++i) {
    const std::string name = Cp1252FromUtf8(categoryNames_[i]);
    PutText(block, kCategoryNames + kCategoryNameWidth * i, std::string_view(name).substr(0, kCategoryNameWidth));
    block[kCategoryIds + i] = categoryIds_[i];
  }
  block[kLastUniqueId] = lastUniqueId_;
}

std::int16_t PDBAppforgeDefinition::FixedRecordSize() const {
  std::int32_t size = 0;
  for (const Field& field : fields_) size += FieldWidth(field.type);
  return CheckedCast<std::int16_t>(size);
}

Bytes PDBAppforgeDefinition::AppInfoBlock() const {
  const std::string tableName = Cp1252FromUtf8(tableName_);
  const std::size_t tableNameStart = kEntries + kEntrySize * fields_.size();
  std::vector<std::string> names;
  names.reserve(fields_.size());
  std::size_t size = tableNameStart + tableName.size() + 1;
  for (const Field& field : fields_) {
    names.push_back(Cp1252FromUtf8(field.name));
    size += names.back().size() + 1;
  }

  Bytes block(static_cast<std::size_t>(CheckedCast<std::int16_t>(size)));
  WriteCategories(block);
  PutText(block, kMark, kMarkText);
  PutWord(block, kSizeWord, size - kNotCounted);
  PutWord(block, kTableNameOffset, tableNameStart - kSection);
  PutWord(block, kFieldCount, fields_.size());
  StoreBig(block.data() + kRecordSize, FixedRecordSize());
  PutText(block, tableNameStart, tableName);

  std::size_t nameStart = tableNameStart + tableName.size() + 1;
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const std::size_t entry = kEntries + kEntrySize * i;
    PutWord(block, entry, nameStart - kSection);
    StoreBig(block.data() + entry + kEntryType, CheckedCast<std::int16_t>(fields_[i].type));
    PutText(block, nameStart, names[i]);
    nameStart += names[i].size() + 1;
  }
  return block;
}

void PDBAppforgeDefinition::AddFieldName(std::string name, std::int32_t type) {
  CheckedCast<std::int16_t>(fields_.size() + 1);
  fields_.push_back({std::move(name), type});
}

std::size_t PDBAppforgeDefinition::IndexOf(std::int16_t i) const {
  if (i < 1 || i > FieldCount()) throw StandardError(errors::kSubscriptOutOfRange);
  return static_cast<std::size_t>(i) - 1;
}

void PDBAppforgeDefinition::FieldName(std::int16_t i, std::string name) {
  fields_[IndexOf(i)].name = std::move(name);
}

void PDBAppforgeDefinition::FieldType(std::int16_t i, std::int32_t type) {
  fields_[IndexOf(i)].type = type;
}

}  // namespace mv
