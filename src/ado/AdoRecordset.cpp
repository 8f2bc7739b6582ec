#include "ado/AdoRecordset.h"

#include <string>
#include <utility>

#include "ado/VariantValue.h"
#include "base/Checked.h"
#include "base/Error.h"
#include "base/Text.h"
#include "recordset/Conversions.h"
#include "recordset/FindCriterion.h"

namespace mv::ado {
namespace {

/// ADO gives a size for every type; only those of texts and bytes that are no long values limit anything.
bool IsLimited(DataType type, LONG attributes) {
  if ((attributes & field_attribute::kLong) != 0) return false;
  switch (type) {
    case DataType::Char:
    case DataType::WChar:
    case DataType::VarWChar:
    case DataType::Binary:
    case DataType::VarBinary:
      return true;
    default:
      return false;
  }
}

}  // namespace

AdoRecordset::AdoRecordset(ComPtr<IAdoRecordset> records, ComPtr<IAdoConnection> connection,
                           std::function<std::int64_t()> countRows)
    : connection_(std::move(connection)), records_(std::move(records)), countRows_(std::move(countRows)) {
  ComPtr<IAdoFields> columns;
  Check(records_->get_Fields(columns.Receive()), records_);
  LONG count = 0;
  Check(columns->get_Count(&count), columns);
  for (LONG i = 0; i < count; ++i) {
    ComPtr<IAdoField>& column = columns_.emplace_back();
    Check(columns->get_Item(Variant::OfLong(i).Get(), column.Receive()), columns);
    Bstr name;
    LONG type = 0;
    LONG attributes = 0;
    LONG_PTR size = 0;
    Check(column->get_Name(name.Receive()), column);
    Check(column->get_Type(&type), column);
    Check(column->get_Attributes(&attributes), column);
    Check(column->get_DefinedSize(&size), column);
    const auto dataType = static_cast<DataType>(type);
    fields_.push_back({name.Utf8(), dataType, IsLimited(dataType, attributes) ? CheckedCast<std::int32_t>(size) : 0});
  }
  Land();
}

AdoRecordset::~AdoRecordset() {
  CancelUpdate();
  records_->Close();
}

void AdoRecordset::RequireField(std::size_t index) const {
  if (index >= fields_.size()) throw StandardError(errors::kItemNotFound);
}

void AdoRecordset::RequireLiveRow() const {
  if (position_ != Position::Row) throw StandardError(errors::kNoCurrentRecord);
}

Value AdoRecordset::FieldValue(std::size_t index) const {
  RequireField(index);
  if (pending_ == Pending::Nothing) RequireLiveRow();
  Variant value;
  Check(columns_[index]->get_Value(value.Receive()), columns_[index]);
  return ValueFromVariant(value.Get());
}

void AdoRecordset::SetFieldValue(std::size_t index, Value value) {
  RequireField(index);
  if (pending_ == Pending::Nothing) RequireLiveRow();
  const DataType type = fields_[index].type;
  const bool isNullFlag = IsNull(value) && type == DataType::Boolean;
  const Variant assigned = VariantFromValue(type, isNullFlag ? Value(false) : ConvertedTo(type, std::move(value)));
  try {
    Check(columns_[index]->put_Value(assigned.Get()), columns_[index]);
  } catch (const Error&) {
    // The attempt alone may have started an edit in ADO.
    if (pending_ == Pending::Nothing) DropAdoEdit();
    throw;
  }
  if (pending_ == Pending::Nothing) pending_ = Pending::Edit;
}

void AdoRecordset::AddNew() {
  Update();
  Check(records_->AddNew(Variant::Missing().Get(), Variant::Missing().Get()), records_);
  pending_ = Pending::NewRow;
}

void AdoRecordset::Update() {
  const Pending pending = std::exchange(pending_, Pending::Nothing);
  if (pending == Pending::Nothing) return;
  try {
    Check(records_->Update(Variant::Missing().Get(), Variant::Missing().Get()), records_);
  } catch (const Error&) {
    // ADO would keep the edit pending, and every move would try to save it again.
    DropAdoEdit();
    throw;
  }
  if (pending == Pending::NewRow) position_ = Position::Row;
}

void AdoRecordset::CancelUpdate() {
  if (std::exchange(pending_, Pending::Nothing) != Pending::Nothing) DropAdoEdit();
}

void AdoRecordset::DropAdoEdit() const {
  records_->CancelUpdate();
}

void AdoRecordset::Delete() {
  if (pending_ == Pending::NewRow) throw StandardError(errors::kNoCurrentRecord);
  RequireLiveRow();
  CancelUpdate();
  Check(records_->Delete(affect::kCurrent), records_);
  position_ = Position::DeletedRow;
  const HRESULT moved = records_->MoveNext();
  // The answer of a provider that notices at once that the last row is gone.
  if (moved != results::kNoCurrentRecord) Check(moved, records_);
}

void AdoRecordset::MoveFirst() {
  Update();
  Check(records_->MoveFirst(), records_);
  Land();
  RequireLiveRow();
}

void AdoRecordset::MoveLast() {
  Update();
  Check(records_->MoveLast(), records_);
  Land();
  RequireLiveRow();
}

void AdoRecordset::MoveNext() {
  Update();
  if (position_ == Position::End) throw StandardError(errors::kNoCurrentRecord);
  if (position_ == Position::Row) Check(records_->MoveNext(), records_);
  Land();
}

void AdoRecordset::Land() {
  position_ = IsAdoAtEnd() ? Position::End : Position::Row;
}

bool AdoRecordset::IsAdoAtEnd() const {
  VARIANT_BOOL isEnd = VARIANT_FALSE;
  Check(records_->get_EOF(&isEnd), records_);
  return isEnd != VARIANT_FALSE;
}

bool AdoRecordset::HasRowsBeforeEnd() const {
  const HRESULT moved = records_->MoveFirst();
  if (moved == results::kNoCurrentRecord) return false;
  Check(moved, records_);
  if (IsAdoAtEnd()) return false;
  Check(records_->MoveLast(), records_);
  Check(records_->MoveNext(), records_);
  return true;
}

/// ADO says that it is at neither end right after the last row was deleted, and after a move from there that only EOF
/// is true. So the rows are looked for.
bool AdoRecordset::HasRows() const {
  return position_ == Position::Row || !IsAdoAtEnd() || HasRowsBeforeEnd();
}

bool AdoRecordset::Bof() const {
  return pending_ != Pending::NewRow && !HasRows();
}

bool AdoRecordset::Eof() const {
  if (pending_ == Pending::NewRow || position_ == Position::Row) return false;
  return position_ == Position::End || !HasRows();
}

void AdoRecordset::Find(std::string_view criterion) {
  const FindCriterion wanted = ParseFindCriterion(criterion);
  const std::size_t field = FieldIndex(wanted.fieldName);
  Update();
  if (Eof()) throw StandardError(errors::kNoCurrentRecord);
  const std::string text = FoldCase(wanted.text);
  if (position_ == Position::DeletedRow) MoveNext();
  while (position_ == Position::Row && !CurrentRowReads(field, text)) MoveNext();
}

bool AdoRecordset::CurrentRowReads(std::size_t index, const std::string& foldedText) const {
  Variant value;
  const HRESULT read = columns_[index]->get_Value(value.Receive());
  if (read == results::kDeletedRow) return false;
  Check(read, columns_[index]);
  return FoldCase(TextOf(ValueFromVariant(value.Get()))) == foldedText;
}

}  // namespace mv::ado
