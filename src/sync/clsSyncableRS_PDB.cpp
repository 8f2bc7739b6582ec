#include "sync/clsSyncableRS_PDB.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "base/Checked.h"
#include "base/Error.h"
#include "base/Text.h"
#include "fileio/cFileIO.h"
#include "pdb/FieldBytes.h"
#include "pdb/FieldValue.h"
#include "pdb/HandheldType.h"
#include "pdb/RecordFlags.h"
#include "pdb/TableFormat.h"
#include "recordset/Conversions.h"
#include "sync/HandheldRows.h"

namespace mv {
namespace {

constexpr std::int32_t kUnknownTypeError = -1;
constexpr std::int32_t kNoRecordsetError = -2;

constexpr const char* kDeletedField = "_D";
constexpr const char* kModifiedField = "_M";

constexpr std::size_t kExtensionLength = 4;

/// As arguments of PDBDatabase::Update.
constexpr std::int32_t kAppend = -1;
constexpr std::int32_t kNewId = 0;
constexpr std::int16_t kNoCategory = 0;
constexpr std::int32_t kNoFlags = 0;
/// Behind the fields of each record.
constexpr std::size_t kSpareBytes = 1;

bool IsFlagField(const std::string& name) {
  return name == kModifiedField || name == kDeletedField;
}

/// "brnd_Fuel" for "C:\work\brnd_Fuel.pdb".
std::string BaseName(std::string_view fileName) {
  const std::size_t separator = fileName.rfind('\\');
  if (separator != fileName.npos) fileName.remove_prefix(separator + 1);
  fileName = Trim(fileName);
  fileName.remove_suffix(std::min(fileName.size(), kExtensionLength));
  return std::string(fileName);
}

/// The folder with a separator at its end: without it, PDBFilePath takes a folder with a dot in its name for a file.
std::string AsFolder(const std::string& folder) {
  return folder.empty() || folder.ends_with('\\') || folder.ends_with('/') ? folder : folder + '\\';
}

/// The handheld's type for a recordset field.
HandheldType RequiredType(DataType type) {
  if (const std::optional<HandheldType> known = HandheldTypeOf(type)) return *known;
  throw Error(kUnknownTypeError, "adoTypeToPDBType",
              "Unknown field type: " + std::to_string(static_cast<std::int32_t>(type)));
}

/// The total count decides, not the record's: a table moves the spinner at each record or never.
bool ReportsProgress(std::int32_t records) {
  return records % 8 == 0;
}

/// The types of these codes; nothing when one of them has no meaning.
std::optional<std::vector<HandheldType>> KnownTypes(const std::vector<std::int32_t>& codes) {
  std::vector<HandheldType> types;
  for (const std::int32_t code : codes) {
    const std::optional<HandheldType> type = HandheldTypeNumbered(code);
    if (!type) return std::nullopt;
    types.push_back(*type);
  }
  return types;
}

/// Whether equal bytes of such a value mean equal values: a NaN differs from itself, and what stands behind a zero in a
/// text is read as other fields.
bool IsExact(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return text->find('\0') == text->npos;
  if (const auto* number = std::get_if<double>(&value)) return !std::isnan(*number);
  const auto* number = std::get_if<float>(&value);
  return number == nullptr || !std::isnan(*number);
}

std::vector<std::int32_t> TypeCodesOf(const PDBAppforgeDefinition& definition) {
  std::vector<std::int32_t> codes;
  for (std::int16_t i = 1; i <= definition.FieldCount(); ++i) codes.push_back(definition.FieldType(i));
  return codes;
}

}  // namespace

clsSyncableRS_PDB::clsSyncableRS_PDB(const SyncContext& context)
    : context_(context), database_(cFileIO(context.files, context.shell, context.currentPdbFolder), context.clock) {}

std::int32_t clsSyncableRS_PDB::adoTypeToPDBType(DataType type) {
  return CodeOf(RequiredType(type));
}

void clsSyncableRS_PDB::SetDatabaseName(const std::string& fileName) {
  database_.PDBFilePath(AsFolder(context_.currentPdbFolder));
  database_.PDBDatabaseName(BaseName(fileName));
}

// --- The handheld's side --------------------------------------------------------------------------------------------

void clsSyncableRS_PDB::createADORS() {
  SetDatabaseName(name_);
  std::vector<FieldDefinition> fields;
  if (OpenTable()) fields = FieldsOfTable();
  handheldRows_ = nullptr;
  records_ = std::make_unique<MemoryRecordset>(std::move(fields));
  const bool wantsRows = context_.syncMode == RunMode::Synchronize || context_.syncMode == RunMode::OverwritePc;
  if (wantsRows && !database_.OpenFailure()) LoadRecords();
  database_.CloseDatabase();
}

void clsSyncableRS_PDB::RequireOpened() const {
  const std::optional<Error>& failure = database_.OpenFailure();
  if (!failure) return;
  const bool held = failure->Number() == errors::kPermissionDenied;
  const Error shown = StandardError(held ? errors::kPathFileAccess : failure->Number());
  throw Error(shown.Number(), "clsSyncableRS_PDB",
              shown.Description() + ": " + failure->Source() + (held ? " is held by another program" : ""));
}

void clsSyncableRS_PDB::RequireHeader() const {
  if (database_.IsBlank()) throw StandardError(errors::kSubscriptOutOfRange);
}

bool clsSyncableRS_PDB::OpenTable() {
  fieldTypes_.clear();
  if (!database_.OpenDatabase()) return false;
  const auto definition = std::make_shared<PDBAppforgeDefinition>();
  if (!definition->IsAppforgeData(database_.ReadAppInfoBlock())) return false;
  syncableFields_ = definition->FieldCount();
  fieldTypes_ = TypeCodesOf(*definition);
  record_.AppforgeDefinition(definition);
  return true;
}

std::vector<FieldDefinition> clsSyncableRS_PDB::FieldsOfTable() {
  const PDBAppforgeDefinition& definition = *record_.AppforgeDefinition();
  std::vector<FieldDefinition> fields;
  std::int16_t i = 0;
  for (const std::int32_t type : fieldTypes_) {
    ++i;
    const std::optional<HandheldType> known = HandheldTypeNumbered(type);
    if (!known) {
      context_.showMessage("Unknown PDB field type: " + std::to_string(type));
      continue;
    }
    fields.push_back({definition.FieldName(i), DataTypeOf(*known), 0});
  }
  fields.push_back({kDeletedField, DataType::Boolean, 0});
  fields.push_back({kModifiedField, DataType::Boolean, 0});
  return fields;
}

void clsSyncableRS_PDB::LoadRecords() {
  if (database_.RecordCount() == 0) return;
  records_->FieldIndex(kDeletedField);  // Without it the file is no table.
  if (std::optional<std::vector<HandheldType>> types = KnownTypes(fieldTypes_)) {
    LoadRecordsAsTheyAre(std::move(*types));
  } else {
    LoadConvertedRecords();
  }
}

/// Every record is looked through, so that a damaged one stops the run here. Its values are made when somebody asks for
/// them: of most records nobody does after a comparison.
void clsSyncableRS_PDB::LoadRecordsAsTheyAre(std::vector<HandheldType> types) {
  const std::int32_t count = database_.RecordCount();
  auto rows = std::make_unique<HandheldRows>(std::move(types), static_cast<std::size_t>(count));
  for (std::int32_t i = 1; i <= count; ++i) {
    std::int32_t attributes = 0;
    const ByteView record = database_.DataAt(i, attributes);
    rows->Add(record, attributes);
    if (ReportsProgress(count)) context_.reportProgress();
  }
  rows->Keep(database_.TakeContent());
  const HandheldRows* const handheldRows = rows.get();
  records_ = std::make_unique<MemoryRecordset>(records_->Fields(), std::move(rows));
  handheldRows_ = handheldRows;
}

/// Of a table with fields of unknown types: values stand in columns of other types then.
void clsSyncableRS_PDB::LoadConvertedRecords() {
  const std::int32_t count = database_.RecordCount();
  const std::size_t deletedField = records_->FieldIndex(kDeletedField);
  const std::size_t modifiedField = records_->FieldIndex(kModifiedField);
  for (std::int32_t i = 1; i <= count; ++i) {
    const std::int32_t attributes = ReadRecord(i);
    if (ReportsProgress(count)) context_.reportProgress();
    std::vector<Value> row(records_->Fields().size());
    row[deletedField] = (attributes & kRecordDeleted) != 0;
    row[modifiedField] = (attributes & kRecordModified) != 0;
    FillRow(row);
    records_->AddRow(std::move(row));
  }
}

std::int32_t clsSyncableRS_PDB::ReadRecord(std::int32_t index) {
  std::int32_t uniqueId = 0;
  std::int16_t category = 0;
  std::int32_t attributes = 0;
  PDBByteStream stream;
  stream.ByteArray(database_.ReadNextByIndex(index, uniqueId, category, attributes));
  record_.ByteStream(std::move(stream));
  return attributes;
}

void clsSyncableRS_PDB::FillRow(std::vector<Value>& row) const {
  const std::vector<FieldDefinition>& fields = records_->Fields();
  std::int16_t field = 0;
  for (const std::int32_t type : fieldTypes_) {
    ++field;
    // The place counts fields of unknown types too, although the recordset lacks them.
    const auto place = static_cast<std::size_t>(field) - 1;
    const std::optional<HandheldType> known = HandheldTypeNumbered(type);
    if (!known) continue;
    if (place >= row.size()) throw StandardError(errors::kItemNotFound);
    row[place] = ConvertedTo(fields[place].type, FieldValueOf(record_, field, *known));
  }
}

Recordset& clsSyncableRS_PDB::adors() const {
  if (!records_) throw StandardError(errors::kObjectNotSet);
  return *records_;
}

std::string clsSyncableRS_PDB::keyCriteria(const Recordset& rs) const {
  if (!keyInfo_) throw StandardError(errors::kObjectNotSet);
  return keyInfo_->Criteria(rs);
}

bool clsSyncableRS_PDB::Flag(std::size_t fromEnd, const char* member) const {
  if (!records_) throw Error(kNoRecordsetError, member, "Unexpected null recordset");
  const std::size_t field = records_->Fields().size() - fromEnd;
  Value room;
  const std::optional<std::size_t> stored = records_->CurrentStoredRow();
  // Without making values of the row: most rows are only asked for their flags.
  if (stored) handheldRows_->ReadField(*stored, field, room);
  const bool* const flag = std::get_if<bool>(stored ? &room : &records_->PeekField(field, room));
  return flag != nullptr && *flag;
}

std::optional<HandheldFields> clsSyncableRS_PDB::currentFields() const {
  const std::optional<std::size_t> stored = records_ ? records_->CurrentStoredRow() : std::nullopt;
  if (!stored) return std::nullopt;
  return HandheldFields{handheldRows_->Types(), handheldRows_->FieldBytes(*stored)};
}

// --- The output -----------------------------------------------------------------------------------------------------

void clsSyncableRS_PDB::createDB(const std::string& fileName, const Recordset& templateRS) {
  syncableFields_ = CheckedCast<std::int16_t>(templateRS.Fields().size());
  if (!database_.CreateDatabase()) {
    context_.showMessage("Failed to create PDB: " + fileName);
    return;
  }
  SetDatabaseName(fileName);
  database_.CreatorId(table_format::kCreator);
  PDBAppforgeDefinition definition;
  for (const FieldDefinition& field : templateRS.Fields()) {
    if (!IsFlagField(field.name)) definition.AddFieldName(field.name, adoTypeToPDBType(field.type));
  }
  database_.WriteAppInfoBlock(definition.AppInfoBlock());
  database_.CloseDatabase(OnDisk::Later);
}

void clsSyncableRS_PDB::openDB(const std::string& fileName) {
  SetDatabaseName(fileName);
  if (!database_.OpenDatabase()) return;
  const auto definition = std::make_shared<PDBAppforgeDefinition>();
  definition->IsAppforgeData(database_.ReadAppInfoBlock());
  outputTypes_ = KnownTypes(TypeCodesOf(*definition)).value_or(std::vector<HandheldType>());
  record_.AppforgeDefinition(definition);
}

void clsSyncableRS_PDB::closeDB() {
  database_.CloseDatabase();
}

bool clsSyncableRS_PDB::copyRecordToNative(ISyncableRS& source) {
  const Recordset& row = source.adors();
  outputIsExact_ = false;
  if (!AppendPlainRecord(row)) AppendConvertedRecord(row);
  return false;
}

/// Of a row whose fields have the types of the output's. False, with nothing appended, for any other.
bool clsSyncableRS_PDB::AppendPlainRecord(const Recordset& row) {
  const std::vector<FieldDefinition>& fields = row.Fields();
  const std::size_t count = outputTypes_.size();
  if (count != static_cast<std::size_t>(syncableFields_) || fields.size() < count) return false;
  outputRecord_.clear();
  bool isExact = true;
  Value room;
  for (std::size_t place = 0; place < count; ++place) {
    const HandheldType type = outputTypes_[place];
    if (HandheldTypeOf(fields[place].type) != type) return false;
    const Value& value = row.PeekField(place, room);
    if (!AppendField(outputRecord_, type, value)) return false;
    isExact = isExact && IsExact(value);
  }
  outputRecord_.resize(outputRecord_.size() + kSpareBytes);
  database_.Update(kAppend, kNewId, kNoCategory, kNoFlags, outputRecord_);
  outputIsExact_ = isExact;
  return true;
}

std::optional<HandheldFields> clsSyncableRS_PDB::copiedFields() const {
  if (!outputIsExact_) return std::nullopt;
  return HandheldFields{outputTypes_, ByteView(outputRecord_).first(outputRecord_.size() - kSpareBytes)};
}

void clsSyncableRS_PDB::AppendConvertedRecord(const Recordset& row) {
  const std::vector<FieldDefinition>& fields = row.Fields();
  const auto count = static_cast<std::size_t>(syncableFields_);
  Value room;
  for (std::size_t place = 0; place < count; ++place) {
    const Value& value = row.PeekField(place, room);
    SetFieldValue(record_, static_cast<std::int16_t>(place + 1), RequiredType(fields[place].type), value);
  }
  database_.Update(kAppend, kNewId, kNoCategory, kNoFlags, record_.ByteStream().ByteArray());
}

}  // namespace mv
