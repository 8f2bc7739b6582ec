#pragma once

#include <gtest/gtest.h>

#include <oleauto.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ado/AdoErrors.h"
#include "ado/AdoInterfaces.h"
#include "ado/ComClasses.h"
#include "ado/VariantValue.h"
#include "recordset/Value.h"
#include "support/AdoUnusedSlots.h"

namespace mv::testing {

struct FakeAdoField {
  std::string name;
  DataType type = DataType::VarWChar;
  LONG_PTR definedSize = 255;
  LONG attributes = 0;
};

/// Where a planned failure leaves its message.
enum class Told { ByErrorInfo, ByConnectionErrors, Nowhere };

struct PlannedFailure {
  HRESULT result = E_FAIL;
  std::string source;
  std::string description;
  Told told = Told::ByErrorInfo;
  /// So many calls succeed before it.
  int after = 0;
};

/// ADO and a provider of Jet's kind in this process: tables in memory, behind the COM interfaces. Answers as the real
/// ones do where that matters: a row being edited is saved by a move; a row that was deleted stays current and cannot
/// be read; BOF and EOF stay false after the last row was deleted until the next move; closing with an edit pending
/// fails; a failed assignment leaves the row in edit mode. When it dies, all objects must have been released.
class FakeAdo : public ado::ComClasses {
 public:
  struct Row {
    std::vector<ado::Variant> values;
    bool isDeleted = false;
  };
  struct Table {
    std::vector<FakeAdoField> fields;
    std::vector<std::shared_ptr<Row>> rows;
    /// Two rows may not agree in this field.
    std::optional<std::size_t> uniqueField;
  };

  FakeAdo() = default;
  FakeAdo(const FakeAdo&) = delete;
  FakeAdo& operator=(const FakeAdo&) = delete;
  ~FakeAdo() override { EXPECT_EQ(liveObjects, 0) << "objects that were not released"; }

  HRESULT Create(const GUID& classId, const GUID& interfaceId, void** object) override;

  void AddRow(const std::string& table, const std::vector<Value>& values) {
    Table& target = tables.at(table);
    auto row = std::make_shared<Row>();
    for (std::size_t i = 0; i < values.size(); ++i) {
      row->values.push_back(ado::VariantFromValue(target.fields[i].type, values[i]));
    }
    target.rows.push_back(std::move(row));
  }
  /// The saved rows in order.
  std::vector<std::vector<Value>> RowsOf(const std::string& table) const {
    std::vector<std::vector<Value>> rows;
    for (const std::shared_ptr<Row>& row : tables.at(table).rows) {
      if (row->isDeleted) continue;
      std::vector<Value>& values = rows.emplace_back();
      for (const ado::Variant& value : row->values) values.push_back(ado::ValueFromVariant(value.Get()));
    }
    return rows;
  }

  /// The next call of `member` ("Recordset.Update") fails; with `after`, a later one.
  void Fail(const std::string& member, PlannedFailure failure) { failures_[member] = std::move(failure); }
  /// S_OK, or the failure that is planned for the call. `arguments` is given for calls that are written down.
  HRESULT Call(const std::string& member, const std::optional<std::string>& arguments = std::nullopt) {
    if (arguments) calls.push_back(arguments->empty() ? member : member + " " + *arguments);
    const auto planned = failures_.find(member);
    if (planned == failures_.end()) return S_OK;
    if (planned->second.after-- > 0) return S_OK;
    const PlannedFailure failure = std::move(planned->second);
    failures_.erase(planned);
    return Failed(failure);
  }
  /// Leaves the failure's message where it says, and returns its result.
  HRESULT Failed(const PlannedFailure& failure) {
    SetErrorInfo(0, nullptr);
    if (failure.told == Told::ByErrorInfo) SetInfo(failure);
    if (failure.told == Told::ByConnectionErrors) connectionErrors.push_back(failure);
    return failure.result;
  }
  /// Puts a message where COM keeps one for this thread.
  static void SetInfo(const PlannedFailure& failure) {
    ado::ComPtr<ICreateErrorInfo> created;
    CreateErrorInfo(created.Receive());
    created->SetSource(ado::Bstr(failure.source).Get());
    created->SetDescription(ado::Bstr(failure.description).Get());
    ado::ComPtr<IErrorInfo> info;
    created->QueryInterface(__uuidof(IErrorInfo), info.ReceiveAny());
    SetErrorInfo(0, info.Get());
  }
  /// Fails as ADO itself does, with an error of its own.
  HRESULT AdoError(HRESULT result, const std::string& description) {
    return Failed({result, "ADODB.Recordset", description, Told::ByErrorInfo, 0});
  }
  HRESULT ProviderError(HRESULT result, const std::string& description) {
    return Failed({result, "Microsoft JET Database Engine", description, Told::ByErrorInfo, 0});
  }

  std::map<std::string, Table> tables;
  /// "Connection.Open STRING|USER|PASSWORD|OPTIONS", "Recordset.Delete 1" and the like; reading is not written down.
  std::vector<std::string> calls;
  /// What creating any object returns.
  HRESULT createResult = S_OK;
  /// Whether objects promise to set COM's error information.
  bool promisesErrorInfo = true;
  std::vector<PlannedFailure> connectionErrors;
  int liveObjects = 0;
  /// Field values read and moves made; what work costs.
  int reads = 0;
  int moves = 0;

 private:
  std::map<std::string, PlannedFailure> failures_;
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// Counts its references and dies with the last one; hands out its one interface.
template <typename Slots, typename Interface>
class FakeComObject : public Slots, public ISupportErrorInfo {
 public:
  explicit FakeComObject(FakeAdo& ado) : ado_(ado) { ++ado_.liveObjects; }
  FakeComObject(const FakeComObject&) = delete;
  FakeComObject& operator=(const FakeComObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    *object = nullptr;
    if (id == Interface::kId || id == __uuidof(IUnknown) || id == __uuidof(IDispatch)) {
      *object = static_cast<Interface*>(this);
    } else if (id == __uuidof(ISupportErrorInfo)) {
      *object = static_cast<ISupportErrorInfo*>(this);
    } else {
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID) override {
    return ado_.promisesErrorInfo ? S_OK : S_FALSE;
  }

 protected:
  virtual ~FakeComObject() { --ado_.liveObjects; }

  FakeAdo& ado_;

 private:
  ULONG references_ = 1;
};

inline HRESULT HandOutText(const std::string& text, BSTR* out) {
  *out = ado::Bstr(text).Release();
  return S_OK;
}

/// `value` is a plain copy that owns nothing.
inline HRESULT CopyOut(VARIANT value, VARIANT* out) {
  return VariantCopy(out, &value);
}

class FakeAdoError : public FakeComObject<UnusedAdoError, ado::IAdoError> {
 public:
  FakeAdoError(FakeAdo& ado, PlannedFailure failure) : FakeComObject(ado), failure_(std::move(failure)) {}
  HRESULT STDMETHODCALLTYPE get_Number(LONG* number) override {
    *number = failure_.result;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_Source(BSTR* source) override { return HandOutText(failure_.source, source); }
  HRESULT STDMETHODCALLTYPE get_Description(BSTR* text) override { return HandOutText(failure_.description, text); }

 private:
  PlannedFailure failure_;
};

class FakeAdoErrors : public FakeComObject<UnusedAdoErrors, ado::IAdoErrors> {
 public:
  using FakeComObject::FakeComObject;
  HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override {
    *count = static_cast<LONG>(ado_.connectionErrors.size());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_Item(VARIANT index, ado::IAdoError** error) override {
    *error = new FakeAdoError(ado_, ado_.connectionErrors.at(static_cast<std::size_t>(V_I4(&index))));
    return S_OK;
  }
};

class FakeAdoConnection : public FakeComObject<UnusedAdoConnection, ado::IAdoConnection> {
 public:
  using FakeComObject::FakeComObject;
  HRESULT STDMETHODCALLTYPE put_CursorLocation(LONG location) override {
    return ado_.Call("Connection.CursorLocation", std::to_string(location));
  }
  HRESULT STDMETHODCALLTYPE Open(BSTR text, BSTR user, BSTR password, LONG options) override {
    const HRESULT result =
        ado_.Call("Connection.Open", ado::Utf8FromBstr(text) + "|" + ado::Utf8FromBstr(user) + "|" +
                                         ado::Utf8FromBstr(password) + "|" + std::to_string(options));
    isOpen_ = SUCCEEDED(result);
    return result;
  }
  HRESULT STDMETHODCALLTYPE Close() override {
    const HRESULT result = ado_.Call("Connection.Close", "");
    isOpen_ = false;
    return result;
  }
  HRESULT STDMETHODCALLTYPE get_Errors(ado::IAdoErrors** errors) override {
    *errors = new FakeAdoErrors(ado_);
    return S_OK;
  }
  bool IsOpen() const { return isOpen_; }

 private:
  bool isOpen_ = false;
};

/// A keyset cursor: rows added by others are not seen, their changes are.
class FakeAdoRecordset : public FakeComObject<UnusedAdoRecordset, ado::IAdoRecordset> {
 public:
  using FakeComObject::FakeComObject;

  HRESULT STDMETHODCALLTYPE putref_ActiveConnection(IDispatch* connection) override {
    connection_ = static_cast<FakeAdoConnection*>(connection);
    connection->AddRef();
    return ado_.Call("Recordset.ActiveConnection", "");
  }
  HRESULT STDMETHODCALLTYPE Open(VARIANT source, VARIANT connection, LONG cursorType, LONG lockType,
                                 LONG options) override {
    const std::string name = ado::Utf8FromBstr(V_BSTR(&source));
    const bool isLeftOut = V_VT(&connection) == VT_ERROR && V_ERROR(&connection) == DISP_E_PARAMNOTFOUND;
    const HRESULT result =
        ado_.Call("Recordset.Open", name + "|" + (isLeftOut ? "" : "?") + "|" + std::to_string(cursorType) + "|" +
                                        std::to_string(lockType) + "|" + std::to_string(options));
    if (FAILED(result)) return result;
    if (connection_ == nullptr || !connection_->IsOpen()) {
      return ado_.AdoError(static_cast<HRESULT>(0x800A0E7D), "The connection cannot be used.");
    }
    const auto found = ado_.tables.find(name);
    if (found == ado_.tables.end()) {
      return ado_.ProviderError(static_cast<HRESULT>(0x80040E37), "No table '" + name + "'.");
    }
    table_ = &found->second;
    rows_ = table_->rows;
    isEmpty_ = !IsLive(0) && NextLive(0) == rows_.size();
    at_ = NextLive(0);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Close() override {
    const HRESULT result = ado_.Call("Recordset.Close", "");
    if (mode_ != Mode::Reading) return ado_.AdoError(static_cast<HRESULT>(0x800A0C93), "An edit is pending.");
    return result;
  }
  HRESULT STDMETHODCALLTYPE get_Fields(ado::IAdoFields** fields) override;

  HRESULT STDMETHODCALLTYPE get_EOF(VARIANT_BOOL* isEnd) override {
    *isEnd = at_ == rows_.size() ? VARIANT_TRUE : VARIANT_FALSE;
    return ado_.Call("Recordset.EOF");
  }

  HRESULT STDMETHODCALLTYPE MoveFirst() override {
    return MoveRecord("Recordset.MoveFirst", [this] {
      if (NextLive(0) == rows_.size()) isEmpty_ = true;
      at_ = NextLive(0);
    });
  }
  HRESULT STDMETHODCALLTYPE MoveLast() override {
    return MoveRecord("Recordset.MoveLast", [this] {
      std::size_t last = rows_.size();
      while (last > 0 && !IsLive(last - 1)) --last;
      at_ = last == 0 ? rows_.size() : last - 1;
    });
  }
  HRESULT STDMETHODCALLTYPE MoveNext() override {
    if (at_ == rows_.size()) return NoCurrentRecord();
    return MoveRecord("Recordset.MoveNext", [this] { at_ = NextLive(at_ + 1); });
  }

  HRESULT STDMETHODCALLTYPE AddNew(VARIANT, VARIANT) override {
    const HRESULT result = ado_.Call("Recordset.AddNew", "");
    if (FAILED(result)) return result;
    const HRESULT saved = SaveRecord();
    if (FAILED(saved)) return saved;
    mode_ = Mode::Adding;
    edited_.clear();
    for (std::size_t i = 0; i < table_->fields.size(); ++i) edited_.emplace_back();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Update(VARIANT, VARIANT) override {
    const HRESULT result = ado_.Call("Recordset.Update", "");
    return FAILED(result) ? result : SaveRecord();
  }
  HRESULT STDMETHODCALLTYPE CancelUpdate() override {
    const HRESULT result = ado_.Call("Recordset.CancelUpdate", "");
    mode_ = Mode::Reading;
    return result;
  }
  HRESULT STDMETHODCALLTYPE Delete(LONG affected) override {
    const HRESULT result = ado_.Call("Recordset.Delete", std::to_string(affected));
    if (FAILED(result)) return result;
    if (mode_ != Mode::Reading) return ado_.AdoError(static_cast<HRESULT>(0x800A0C93), "An edit is pending.");
    if (at_ == rows_.size()) return NoCurrentRecord();
    if (!IsLive(at_)) return DeletedRow();
    rows_[at_]->isDeleted = true;
    return S_OK;
  }

  HRESULT Read(std::size_t field, VARIANT* value) {
    ++ado_.reads;
    const HRESULT result = ado_.Call("Field.get_Value");
    if (FAILED(result)) return result;
    if (mode_ != Mode::Reading) return CopyOut(edited_.at(field).Get(), value);
    if (at_ == rows_.size()) return NoCurrentRecord();
    if (!IsLive(at_)) return DeletedRow();
    return CopyOut(rows_[at_]->values.at(field).Get(), value);
  }
  HRESULT Write(std::size_t field, const VARIANT& value) {
    const HRESULT result = ado_.Call("Field.put_Value", table_->fields[field].name);
    if (mode_ == Mode::Reading) {
      if (at_ == rows_.size()) return NoCurrentRecord();
      if (!IsLive(at_)) return DeletedRow();
      mode_ = Mode::Editing;
      edited_.clear();
      for (const ado::Variant& old : rows_[at_]->values) CopyOut(old.Get(), edited_.emplace_back().Receive());
    }
    if (FAILED(result)) return result;
    const LONG_PTR limit = table_->fields[field].definedSize;
    const bool isTooLong = V_VT(&value) == VT_BSTR && static_cast<LONG_PTR>(SysStringLen(V_BSTR(&value))) > limit;
    if (isTooLong) {
      return ado_.ProviderError(static_cast<HRESULT>(0x80040E21), "The field is too small to accept the text.");
    }
    return CopyOut(value, edited_.at(field).Receive());
  }
  const FakeAdoField& FieldAt(std::size_t field) const { return table_->fields[field]; }
  std::size_t FieldCount() const { return table_->fields.size(); }

 private:
  enum class Mode { Reading, Editing, Adding };

  ~FakeAdoRecordset() override {
    if (connection_ != nullptr) connection_->Release();
  }

  bool IsLive(std::size_t row) const { return row < rows_.size() && !rows_[row]->isDeleted; }
  std::size_t NextLive(std::size_t row) const {
    while (row < rows_.size() && !IsLive(row)) ++row;
    return row;
  }
  HRESULT NoCurrentRecord() {
    return ado_.AdoError(ado::results::kNoCurrentRecord, "Either BOF or EOF is True, or the row was deleted.");
  }
  HRESULT DeletedRow() { return ado_.ProviderError(ado::results::kDeletedRow, "Record is deleted."); }

  HRESULT MoveRecord(const std::string& member, const std::function<void()>& move) {
    ++ado_.moves;
    const HRESULT result = ado_.Call(member, "");
    if (FAILED(result)) return result;
    if (isEmpty_ && mode_ == Mode::Reading) return NoCurrentRecord();
    const HRESULT saved = SaveRecord();
    if (FAILED(saved)) return saved;
    move();
    return S_OK;
  }

  bool IsDuplicate() const {
    if (!table_->uniqueField) return false;
    const std::size_t field = *table_->uniqueField;
    for (const std::shared_ptr<FakeAdo::Row>& row : table_->rows) {
      const bool isSelf = mode_ == Mode::Editing && row == rows_[at_];
      if (row->isDeleted || isSelf) continue;
      if (ado::ValueFromVariant(row->values[field].Get()) == ado::ValueFromVariant(edited_[field].Get())) return true;
    }
    return false;
  }
  HRESULT SaveRecord() {
    if (mode_ == Mode::Reading) return S_OK;
    if (IsDuplicate()) {
      return ado_.ProviderError(static_cast<HRESULT>(0x80040E21), "The changes would create duplicate values.");
    }
    if (mode_ == Mode::Adding) {
      auto row = std::make_shared<FakeAdo::Row>();
      table_->rows.push_back(row);
      rows_.push_back(row);
      at_ = rows_.size() - 1;
      isEmpty_ = false;
    }
    rows_[at_]->values = std::move(edited_);
    mode_ = Mode::Reading;
    return S_OK;
  }

  FakeAdoConnection* connection_ = nullptr;
  FakeAdo::Table* table_ = nullptr;
  std::vector<std::shared_ptr<FakeAdo::Row>> rows_;
  std::size_t at_ = 0;  ///< rows_.size() at EOF
  bool isEmpty_ = false;
  Mode mode_ = Mode::Reading;
  std::vector<ado::Variant> edited_;
};

/// Keeps its recordset alive, as ADO's do.
class FakeAdoColumn : public FakeComObject<UnusedAdoField, ado::IAdoField> {
 public:
  FakeAdoColumn(FakeAdo& ado, FakeAdoRecordset& records, std::size_t index)
      : FakeComObject(ado), records_(records), index_(index) {
    records_.AddRef();
  }
  HRESULT STDMETHODCALLTYPE get_Attributes(LONG* attributes) override {
    *attributes = records_.FieldAt(index_).attributes;
    return ado_.Call("Field.Attributes");
  }
  HRESULT STDMETHODCALLTYPE get_DefinedSize(LONG_PTR* size) override {
    *size = records_.FieldAt(index_).definedSize;
    return ado_.Call("Field.DefinedSize");
  }
  HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) override {
    const HRESULT result = ado_.Call("Field.Name");
    return FAILED(result) ? result : HandOutText(records_.FieldAt(index_).name, name);
  }
  HRESULT STDMETHODCALLTYPE get_Type(LONG* type) override {
    *type = static_cast<LONG>(records_.FieldAt(index_).type);
    return ado_.Call("Field.Type");
  }
  HRESULT STDMETHODCALLTYPE get_Value(VARIANT* value) override { return records_.Read(index_, value); }
  HRESULT STDMETHODCALLTYPE put_Value(VARIANT value) override { return records_.Write(index_, value); }

 private:
  ~FakeAdoColumn() override { records_.Release(); }

  FakeAdoRecordset& records_;
  std::size_t index_;
};

class FakeAdoColumns : public FakeComObject<UnusedAdoFields, ado::IAdoFields> {
 public:
  FakeAdoColumns(FakeAdo& ado, FakeAdoRecordset& records) : FakeComObject(ado), records_(records) { records_.AddRef(); }
  HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override {
    *count = static_cast<LONG>(records_.FieldCount());
    return ado_.Call("Fields.Count");
  }
  HRESULT STDMETHODCALLTYPE get_Item(VARIANT index, ado::IAdoField** field) override {
    const HRESULT result = ado_.Call("Fields.Item");
    if (FAILED(result)) return result;
    *field = new FakeAdoColumn(ado_, records_, static_cast<std::size_t>(V_I4(&index)));
    return S_OK;
  }

 private:
  ~FakeAdoColumns() override { records_.Release(); }

  FakeAdoRecordset& records_;
};

#pragma GCC diagnostic pop

inline HRESULT FakeAdoRecordset::get_Fields(ado::IAdoFields** fields) {
  const HRESULT result = ado_.Call("Recordset.Fields");
  if (FAILED(result)) return result;
  *fields = new FakeAdoColumns(ado_, *this);
  return S_OK;
}

inline HRESULT FakeAdo::Create(const GUID& classId, const GUID& interfaceId, void** object) {
  *object = nullptr;
  if (FAILED(createResult)) return createResult;
  if (classId == ado::kConnectionClass && interfaceId == ado::IAdoConnection::kId) {
    *object = static_cast<ado::IAdoConnection*>(new FakeAdoConnection(*this));
    return S_OK;
  }
  if (classId == ado::kRecordsetClass && interfaceId == ado::IAdoRecordset::kId) {
    const HRESULT result = Call("Create Recordset");
    if (FAILED(result)) return result;
    *object = static_cast<ado::IAdoRecordset*>(new FakeAdoRecordset(*this));
    return S_OK;
  }
  return REGDB_E_CLASSNOTREG;
}

}  // namespace mv::testing
