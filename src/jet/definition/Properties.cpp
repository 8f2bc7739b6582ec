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

constexpr const char* kRequired = "Required";
constexpr const char* kAllowZeroLength = "AllowZeroLength";
constexpr const char* kDefaultValue = "DefaultValue";
constexpr const char* kValidationRule = "ValidationRule";
constexpr const char* kValidationText = "ValidationText";
constexpr const char* kDescription = "Description";
constexpr const char* kCaption = "Caption";
constexpr const char* kFormat = "Format";

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
  if (property.IsBoolean(kRequired)) rules.required = property.value.AnyByteSet();
  if (property.IsBoolean(kAllowZeroLength)) rules.allowZeroLength = property.value.AnyByteSet();
  if (property.IsText(kDefaultValue)) rules.defaultValue = property.value.Text();
  if (property.IsText(kValidationRule)) rules.validationRule = property.value.Text();
  if (property.IsText(kValidationText)) rules.validationText = property.value.Text();
}

void Apply(const Property& property, TableRules& rules) {
  if (property.IsText(kValidationRule)) rules.validationRule = property.value.Text();
  if (property.IsText(kValidationText)) rules.validationText = property.value.Text();
}

void Apply(const Property& property, DisplayTexts& texts) {
  if (property.IsText(kDescription)) texts.description = property.value.Text();
  if (property.IsText(kCaption)) texts.caption = property.value.Text();
  if (property.IsText(kFormat)) texts.format = property.value.Text();
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

/// Hands each property of a column that the table has, by its position, on to `applyToColumn`, and each of the table
/// itself to `applyToTable`.
template <typename ColumnVisitor, typename TableVisitor>
void VisitList(ByteView list, const TableDefinition& table, ColumnVisitor applyToColumn, TableVisitor applyToTable) {
  if (list.empty()) return;
  const PropertyReader reader(list, table.name);
  if (!reader.StartsWith(kMagic)) reader.Fail();
  std::vector<std::string> names;
  const auto visitColumn = [&](const std::string& column, const Property& property) {
    if (const auto position = table.PositionOf(column)) applyToColumn(*position, property);
  };
  const auto visitTable = [&](const std::string&, const Property& property) { applyToTable(property); };
  for (std::size_t at = kMagic.size(); at < reader.Size();) {
    const std::size_t size = reader.Number<std::uint32_t>(at + kBlockSizeAt);
    const auto kind = reader.Number<std::uint16_t>(at + kBlockKindAt);
    if (size < kBlockHeader) reader.Fail();
    const PropertyReader body = reader.Part(at, size).Part(kBlockHeader, size - kBlockHeader);
    if (kind == kNamesBlock) names = ReadNames(body);
    if (kind == kTableBlock) VisitProperties(body, names, visitTable);
    if (kind == kColumnBlock) VisitProperties(body, names, visitColumn);
    at += size;
  }
}

/// Puts a list together block by block.
class PropertyWriter {
 public:
  void Add(const char* name, ColumnType type, const Bytes& value) {
    if (value.size() > kLongestValue) {
      throw ConstraintError(std::string("The property ") + name + " is longer than a property list can hold.");
    }
    AppendLittle(block_, static_cast<std::uint16_t>(kEntryHeader + value.size()));
    block_.push_back(kOfDefinition);
    block_.push_back(static_cast<std::uint8_t>(type));
    AppendLittle(block_, NumberOf(name));
    AppendLittle(block_, static_cast<std::uint16_t>(value.size()));
    block_.insert(block_.end(), value.begin(), value.end());
  }
  void AddText(const char* name, ColumnType type, const std::string& text) {
    if (!text.empty()) Add(name, type, Utf16BytesOf(text));
  }

  /// Closes the block of what was added since the last one, if anything was.
  void EndBlock(std::uint16_t kind, const std::string& owner) {
    if (block_.empty()) return;
    const Bytes name = Utf16BytesOf(owner);
    Bytes body;
    AppendLittle(body, static_cast<std::uint32_t>(kOwnerNameAt + 2 + name.size()));
    AppendCounted(body, name);
    body.insert(body.end(), block_.begin(), block_.end());
    AppendBlock(blocks_, kind, body);
    block_.clear();
  }

  Bytes Result() const {
    if (blocks_.empty()) return {};
    Bytes names;
    for (const std::string& name : names_) AppendCounted(names, Utf16BytesOf(name));
    Bytes list(kMagic.begin(), kMagic.end());
    AppendBlock(list, kNamesBlock, names);
    list.insert(list.end(), blocks_.begin(), blocks_.end());
    return list;
  }

 private:
  static constexpr std::uint8_t kOfDefinition = 1;
  /// The entry that holds it has its size in 16 bits.
  static constexpr std::size_t kLongestValue = 0xFFFF - kEntryHeader;

  template <std::unsigned_integral T>
  static void AppendLittle(Bytes& bytes, T number) {
    bytes.resize(bytes.size() + sizeof(T));
    StoreLittle(bytes.data() + bytes.size() - sizeof(T), number);
  }
  static Bytes Utf16BytesOf(const std::string& text) {
    Bytes bytes;
    for (const char16_t unit : Utf16FromUtf8(text)) AppendLittle(bytes, static_cast<std::uint16_t>(unit));
    return bytes;
  }
  static void AppendCounted(Bytes& bytes, const Bytes& name) {
    AppendLittle(bytes, static_cast<std::uint16_t>(name.size()));
    bytes.insert(bytes.end(), name.begin(), name.end());
  }
  static void AppendBlock(Bytes& bytes, std::uint16_t kind, const Bytes& body) {
    AppendLittle(bytes, static_cast<std::uint32_t>(kBlockHeader + body.size()));
    AppendLittle(bytes, kind);
    bytes.insert(bytes.end(), body.begin(), body.end());
  }
  /// Names are numbered as they appear first.
  std::uint16_t NumberOf(const char* name) {
    const auto found = std::find(names_.begin(), names_.end(), name);
    const auto number = static_cast<std::uint16_t>(found - names_.begin());
    if (found == names_.end()) names_.emplace_back(name);
    return number;
  }

  std::vector<std::string> names_;
  Bytes blocks_;
  Bytes block_;  ///< entries of the one that is open
};

void AddTexts(PropertyWriter& writer, const DisplayTexts& texts) {
  writer.AddText(kDescription, ColumnType::Text, texts.description);
  writer.AddText(kCaption, ColumnType::Text, texts.caption);
  writer.AddText(kFormat, ColumnType::Text, texts.format);
}

void AddRules(PropertyWriter& writer, const ColumnRules& rules) {
  if (rules.required) writer.Add(kRequired, ColumnType::Boolean, {1});
  if (!rules.allowZeroLength) writer.Add(kAllowZeroLength, ColumnType::Boolean, {0});
  writer.AddText(kDefaultValue, ColumnType::Memo, rules.defaultValue);
  writer.AddText(kValidationRule, ColumnType::Memo, rules.validationRule);
  writer.AddText(kValidationText, ColumnType::Text, rules.validationText);
}

}  // namespace

TableRules RulesFromProperties(ByteView list, const TableDefinition& table) {
  TableRules rules;
  rules.columns.resize(table.columns.size());
  VisitList(
      list, table, [&](std::size_t column, const Property& property) { Apply(property, rules.columns[column]); },
      [&](const Property& property) { Apply(property, rules); });
  return rules;
}

TableProperties PropertiesFromList(ByteView list, const TableDefinition& table) {
  TableProperties properties{.rules = RulesFromProperties(list, table), .texts = {}, .columns = {}};
  properties.columns.resize(table.columns.size());
  VisitList(
      list, table, [&](std::size_t column, const Property& property) { Apply(property, properties.columns[column]); },
      [&](const Property& property) { Apply(property, properties.texts); });
  return properties;
}

Bytes ListFromProperties(const TableProperties& properties, std::span<const std::string> columns) {
  PropertyWriter writer;
  writer.AddText(kValidationRule, ColumnType::Memo, properties.rules.validationRule);
  writer.AddText(kValidationText, ColumnType::Text, properties.rules.validationText);
  AddTexts(writer, properties.texts);
  writer.EndBlock(kTableBlock, {});
  for (std::size_t i = 0; i < columns.size(); ++i) {
    AddRules(writer, properties.RulesOf(i));
    AddTexts(writer, properties.TextsOf(i));
    writer.EndBlock(kColumnBlock, columns[i]);
  }
  return writer.Result();
}

}  // namespace mv::jet
