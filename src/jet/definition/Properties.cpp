#include "jet/definition/Properties.h"

#include <algorithm>
#include <array>
#include <string>

#include "base/ByteOrder.h"
#include "base/Utf.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

constexpr std::array<std::uint8_t, 4> kMagic = {'M', 'R', '2', 0};

constexpr std::size_t kBlockSizeAt = 0;
constexpr std::size_t kBlockKindAt = 4;
constexpr std::size_t kBlockHeader = 6;
constexpr std::uint16_t kNamesBlock = 0x80;
constexpr std::uint16_t kTableBlock = 0;
constexpr std::uint16_t kColumnBlock = 1;

constexpr std::size_t kOwnerSizeAt = 0;
constexpr std::size_t kOwnerNameAt = 4;

constexpr std::size_t kEntrySizeAt = 0;
constexpr std::size_t kEntryTypeAt = 3;
constexpr std::size_t kEntryNameAt = 4;
constexpr std::size_t kEntryValueSizeAt = 6;
constexpr std::size_t kEntryHeader = 8;

/// Bytes of the list, every access checked.
class PropertyReader {
 public:
  PropertyReader(ByteView bytes, const std::string& table) : bytes_(bytes), table_(table) {}

  [[noreturn]] void Fail() const {
    throw DamagedFileError("table '" + table_ + "': its property list contradicts itself");
  }

  std::size_t Size() const { return bytes_.size(); }

  PropertyReader Part(std::size_t at, std::size_t size) const {
    if (at > bytes_.size() || size > bytes_.size() - at) Fail();
    return {bytes_.subspan(at, size), table_};
  }

  template <std::integral T>
  T Number(std::size_t at) const {
    return LoadLittle<T>(Part(at, sizeof(T)).bytes_.data());
  }

  /// u16 byte length and UTF-16 at `at`, which advances past it.
  std::string Name(std::size_t& at) const {
    const std::size_t size = Number<std::uint16_t>(at);
    const PropertyReader part = Part(at + 2, size);
    at += 2 + size;
    return part.Text();
  }
  /// All bytes as UTF-16.
  std::string Text() const {
    if (Size() % 2 != 0) Fail();
    std::u16string units;
    for (std::size_t i = 0; i < Size(); i += 2) units += static_cast<char16_t>(Number<std::uint16_t>(i));
    return Utf8FromUtf16(units);
  }

  bool AnyByteSet() const {
    return std::any_of(bytes_.begin(), bytes_.end(), [](std::uint8_t byte) { return byte != 0; });
  }

  bool StartsWith(ByteView start) const {
    return bytes_.size() >= start.size() && std::equal(start.begin(), start.end(), bytes_.begin());
  }

 private:
  ByteView bytes_;
  const std::string& table_;
};

std::vector<std::string> ReadNames(const PropertyReader& body) {
  std::vector<std::string> names;
  for (std::size_t at = 0; at < body.Size();) names.push_back(body.Name(at));
  return names;
}

/// A property of a column or a table.
struct Property {
  std::string name;
  ColumnType type = ColumnType::Boolean;
  PropertyReader value;

  bool IsBoolean(const char* wanted) const { return name == wanted && type == ColumnType::Boolean; }
  bool IsText(const char* wanted) const {
    return name == wanted && (type == ColumnType::Text || type == ColumnType::Memo);
  }
};

Property ReadProperty(const PropertyReader& entry, const std::vector<std::string>& names) {
  const auto type = static_cast<ColumnType>(entry.Number<std::uint8_t>(kEntryTypeAt));
  const std::size_t number = entry.Number<std::uint16_t>(kEntryNameAt);
  const PropertyReader value = entry.Part(kEntryHeader, entry.Number<std::uint16_t>(kEntryValueSizeAt));
  if (number >= names.size()) entry.Fail();
  return {names[number], type, value};
}

void Apply(const Property& property, ColumnRules& rules) {
  // True is 01 or FF, sometimes in four bytes.
  if (property.IsBoolean("Required")) rules.required = property.value.AnyByteSet();
  if (property.IsBoolean("AllowZeroLength")) rules.allowZeroLength = property.value.AnyByteSet();
  if (property.IsText("DefaultValue")) rules.defaultValue = property.value.Text();
  if (property.IsText("ValidationRule")) rules.validationRule = property.value.Text();
  if (property.IsText("ValidationText")) rules.validationText = property.value.Text();
}

void Apply(const Property& property, TableRules& rules) {
  if (property.IsText("ValidationRule")) rules.validationRule = property.value.Text();
  if (property.IsText("ValidationText")) rules.validationText = property.value.Text();
}

/// Null for a column that the table no longer has.
ColumnRules* RulesOf(const std::string& column, const TableDefinition& table, TableRules& rules) {
  const std::optional<std::size_t> position = table.PositionOf(column);
  return position ? &rules.columns[*position] : nullptr;
}

/// Hands the owner's name and each property of a block on to `apply`.
template <typename Visitor>
void VisitProperties(const PropertyReader& body, const std::vector<std::string>& names, Visitor apply) {
  std::size_t nameEnd = kOwnerNameAt;
  const std::string owner = body.Name(nameEnd);
  std::size_t at = body.Number<std::uint32_t>(kOwnerSizeAt);
  if (at < nameEnd || at > body.Size()) body.Fail();
  while (at < body.Size()) {
    const std::size_t size = body.Number<std::uint16_t>(at + kEntrySizeAt);
    if (size < kEntryHeader) body.Fail();
    apply(owner, ReadProperty(body.Part(at, size), names));
    at += size;
  }
}

}  // namespace

TableRules RulesFromProperties(ByteView list, const TableDefinition& table) {
  TableRules rules;
  rules.columns.resize(table.columns.size());
  if (list.empty()) return rules;
  const PropertyReader reader(list, table.name);
  if (!reader.StartsWith(kMagic)) reader.Fail();
  std::vector<std::string> names;
  const auto applyToColumn = [&](const std::string& column, const Property& property) {
    if (ColumnRules* const columnRules = RulesOf(column, table, rules)) Apply(property, *columnRules);
  };
  const auto applyToTable = [&](const std::string&, const Property& property) { Apply(property, rules); };
  for (std::size_t at = kMagic.size(); at < reader.Size();) {
    const std::size_t size = reader.Number<std::uint32_t>(at + kBlockSizeAt);
    const auto kind = reader.Number<std::uint16_t>(at + kBlockKindAt);
    if (size < kBlockHeader) reader.Fail();
    const PropertyReader body = reader.Part(at, size).Part(kBlockHeader, size - kBlockHeader);
    if (kind == kNamesBlock) names = ReadNames(body);
    if (kind == kTableBlock) VisitProperties(body, names, applyToTable);
    if (kind == kColumnBlock) VisitProperties(body, names, applyToColumn);
    at += size;
  }
  return rules;
}

}  // namespace mv::jet
