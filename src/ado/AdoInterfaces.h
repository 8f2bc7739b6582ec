#pragma once

#include <windows.h>

#include <oaidl.h>

/// The COM interfaces of ADO that the adapter calls, as its published type library describes them: each method in its
/// slot, those nobody calls included, because a call goes by slot. Enumerations are LONG; `LONG_PTR` stands where the
/// library has a pointer-sized integer. The identifiers are those that every version of ADO 2.x and 6.x answers to.
///
/// Calls go through these slots and not by name (IDispatch::Invoke): a name needs a registered type library, a slot
/// does not.
namespace mv::ado {

/// A destructor would take a slot; objects die by Release.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

inline constexpr GUID kConnectionClass = {0x00000514, 0, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x6D, 0x2E, 0xA4}};
inline constexpr GUID kRecordsetClass = {0x00000535, 0, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x6D, 0x2E, 0xA4}};

/// Values of the enumerations that the adapter uses.
namespace cursor_location {
inline constexpr LONG kServer = 2;
}
namespace cursor_type {
inline constexpr LONG kForwardOnly = 0;
inline constexpr LONG kDynamic = 2;
}  // namespace cursor_type
namespace lock_type {
inline constexpr LONG kReadOnly = 1;
inline constexpr LONG kOptimistic = 3;
}  // namespace lock_type
namespace command_type {
inline constexpr LONG kTable = 2;
}
namespace connect_option {
inline constexpr LONG kUnspecified = -1;
}
namespace affect {
inline constexpr LONG kCurrent = 1;
}
namespace field_attribute {
inline constexpr LONG kLong = 0x80;  ///< a long value: its defined size is no limit that anybody meets
}

struct IAdoRecordset;

/// `_ADO`, what connections, recordsets and fields begin with.
struct IAdoObject : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE get_Properties(IDispatch** properties) = 0;
};

/// `_Collection`, what collections begin with.
struct IAdoCollection : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE get_Count(LONG* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE _NewEnum(IUnknown** enumerator) = 0;
  virtual HRESULT STDMETHODCALLTYPE Refresh() = 0;
};

/// `Error`: one message of the provider.
struct IAdoError : IDispatch {
  static constexpr GUID kId = {0x00000500, 0, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x6D, 0x2E, 0xA4}};

  virtual HRESULT STDMETHODCALLTYPE get_Number(LONG* number) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Source(BSTR* source) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Description(BSTR* description) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_HelpFile(BSTR* file) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_HelpContext(LONG* context) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_SQLState(BSTR* state) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_NativeError(LONG* number) = 0;
};

/// `Errors`: what the provider said about the last failed operation of a connection.
struct IAdoErrors : IAdoCollection {
  static constexpr GUID kId = {0x00000501, 0, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x6D, 0x2E, 0xA4}};

  virtual HRESULT STDMETHODCALLTYPE get_Item(VARIANT index, IAdoError** error) = 0;
  virtual HRESULT STDMETHODCALLTYPE Clear() = 0;
};

/// `Field`.
struct IAdoField : IAdoObject {
  static constexpr GUID kId = {0x00000569, 0, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x6D, 0x2E, 0xA4}};

  virtual HRESULT STDMETHODCALLTYPE get_ActualSize(LONG_PTR* size) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Attributes(LONG* attributes) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_DefinedSize(LONG_PTR* size) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Type(LONG* type) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Value(VARIANT* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Value(VARIANT value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Precision(BYTE* precision) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_NumericScale(BYTE* scale) = 0;
  virtual HRESULT STDMETHODCALLTYPE AppendChunk(VARIANT data) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetChunk(LONG length, VARIANT* data) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_OriginalValue(VARIANT* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_UnderlyingValue(VARIANT* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_DataFormat(IUnknown** format) = 0;
  virtual HRESULT STDMETHODCALLTYPE putref_DataFormat(IUnknown* format) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Precision(BYTE precision) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_NumericScale(BYTE scale) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Type(LONG type) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_DefinedSize(LONG_PTR size) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Attributes(LONG attributes) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Status(LONG* status) = 0;
};

/// `Fields`.
struct IAdoFields : IAdoCollection {
  static constexpr GUID kId = {0x00000564, 0, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x6D, 0x2E, 0xA4}};

  virtual HRESULT STDMETHODCALLTYPE get_Item(VARIANT index, IAdoField** field) = 0;
  virtual HRESULT STDMETHODCALLTYPE _Append(BSTR name, LONG type, LONG_PTR definedSize, LONG attributes) = 0;
  virtual HRESULT STDMETHODCALLTYPE Delete(VARIANT index) = 0;
  virtual HRESULT STDMETHODCALLTYPE Append(BSTR name, LONG type, LONG_PTR definedSize, LONG attributes,
                                           VARIANT value) = 0;
  virtual HRESULT STDMETHODCALLTYPE Update() = 0;
  virtual HRESULT STDMETHODCALLTYPE Resync(LONG values) = 0;
  virtual HRESULT STDMETHODCALLTYPE CancelUpdate() = 0;
};

/// `_Connection`.
struct IAdoConnection : IAdoObject {
  static constexpr GUID kId = {0x00000550, 0, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x6D, 0x2E, 0xA4}};

  virtual HRESULT STDMETHODCALLTYPE get_ConnectionString(BSTR* text) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_ConnectionString(BSTR text) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_CommandTimeout(LONG* seconds) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_CommandTimeout(LONG seconds) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ConnectionTimeout(LONG* seconds) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_ConnectionTimeout(LONG seconds) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Version(BSTR* version) = 0;
  virtual HRESULT STDMETHODCALLTYPE Close() = 0;
  virtual HRESULT STDMETHODCALLTYPE Execute(BSTR command, VARIANT* recordsAffected, LONG options,
                                            IAdoRecordset** recordset) = 0;
  virtual HRESULT STDMETHODCALLTYPE BeginTrans(LONG* level) = 0;
  virtual HRESULT STDMETHODCALLTYPE CommitTrans() = 0;
  virtual HRESULT STDMETHODCALLTYPE RollbackTrans() = 0;
  virtual HRESULT STDMETHODCALLTYPE Open(BSTR connectionString, BSTR user, BSTR password, LONG options) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Errors(IAdoErrors** errors) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_DefaultDatabase(BSTR* name) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_DefaultDatabase(BSTR name) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_IsolationLevel(LONG* level) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_IsolationLevel(LONG level) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Attributes(LONG* attributes) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Attributes(LONG attributes) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_CursorLocation(LONG* location) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_CursorLocation(LONG location) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Mode(LONG* mode) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Mode(LONG mode) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Provider(BSTR* provider) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Provider(BSTR provider) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_State(LONG* state) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenSchema(LONG schema, VARIANT restrictions, VARIANT schemaId,
                                               IAdoRecordset** recordset) = 0;
  virtual HRESULT STDMETHODCALLTYPE Cancel() = 0;
};

/// `_Recordset`.
struct IAdoRecordset : IAdoObject {
  static constexpr GUID kId = {0x00000556, 0, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x6D, 0x2E, 0xA4}};

  virtual HRESULT STDMETHODCALLTYPE get_AbsolutePosition(LONG_PTR* position) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_AbsolutePosition(LONG_PTR position) = 0;
  virtual HRESULT STDMETHODCALLTYPE putref_ActiveConnection(IDispatch* connection) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_ActiveConnection(VARIANT connection) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ActiveConnection(VARIANT* connection) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BOF(VARIANT_BOOL* isBof) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Bookmark(VARIANT* bookmark) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Bookmark(VARIANT bookmark) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_CacheSize(LONG* rows) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_CacheSize(LONG rows) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_CursorType(LONG* type) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_CursorType(LONG type) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_EOF(VARIANT_BOOL* isEof) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Fields(IAdoFields** fields) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_LockType(LONG* type) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_LockType(LONG type) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_MaxRecords(LONG_PTR* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_MaxRecords(LONG_PTR count) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_RecordCount(LONG_PTR* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE putref_Source(IDispatch* command) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Source(BSTR source) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Source(VARIANT* source) = 0;
  virtual HRESULT STDMETHODCALLTYPE AddNew(VARIANT fields, VARIANT values) = 0;
  virtual HRESULT STDMETHODCALLTYPE CancelUpdate() = 0;
  virtual HRESULT STDMETHODCALLTYPE Close() = 0;
  virtual HRESULT STDMETHODCALLTYPE Delete(LONG affected) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetRows(LONG rows, VARIANT start, VARIANT fields, VARIANT* values) = 0;
  virtual HRESULT STDMETHODCALLTYPE Move(LONG_PTR rows, VARIANT start) = 0;
  virtual HRESULT STDMETHODCALLTYPE MoveNext() = 0;
  virtual HRESULT STDMETHODCALLTYPE MovePrevious() = 0;
  virtual HRESULT STDMETHODCALLTYPE MoveFirst() = 0;
  virtual HRESULT STDMETHODCALLTYPE MoveLast() = 0;
  virtual HRESULT STDMETHODCALLTYPE Open(VARIANT source, VARIANT connection, LONG cursorType, LONG lockType,
                                         LONG options) = 0;
  virtual HRESULT STDMETHODCALLTYPE Requery(LONG options) = 0;
  virtual HRESULT STDMETHODCALLTYPE _xResync(LONG affected) = 0;
  virtual HRESULT STDMETHODCALLTYPE Update(VARIANT fields, VARIANT values) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_AbsolutePage(LONG_PTR* page) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_AbsolutePage(LONG_PTR page) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_EditMode(LONG* mode) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Filter(VARIANT* criteria) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Filter(VARIANT criteria) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_PageCount(LONG_PTR* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_PageSize(LONG* rows) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_PageSize(LONG rows) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Sort(BSTR* criteria) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Sort(BSTR criteria) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Status(LONG* status) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_State(LONG* state) = 0;
  virtual HRESULT STDMETHODCALLTYPE _xClone(IAdoRecordset** clone) = 0;
  virtual HRESULT STDMETHODCALLTYPE UpdateBatch(LONG affected) = 0;
  virtual HRESULT STDMETHODCALLTYPE CancelBatch(LONG affected) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_CursorLocation(LONG* location) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_CursorLocation(LONG location) = 0;
  virtual HRESULT STDMETHODCALLTYPE NextRecordset(VARIANT* recordsAffected, IAdoRecordset** recordset) = 0;
  virtual HRESULT STDMETHODCALLTYPE Supports(LONG options, VARIANT_BOOL* supported) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Collect(VARIANT index, VARIANT* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Collect(VARIANT index, VARIANT value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_MarshalOptions(LONG* options) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_MarshalOptions(LONG options) = 0;
  virtual HRESULT STDMETHODCALLTYPE Find(BSTR criteria, LONG_PTR skipRecords, LONG direction, VARIANT start) = 0;
  virtual HRESULT STDMETHODCALLTYPE Cancel() = 0;
  virtual HRESULT STDMETHODCALLTYPE get_DataSource(IUnknown** source) = 0;
  virtual HRESULT STDMETHODCALLTYPE putref_DataSource(IUnknown* source) = 0;
  virtual HRESULT STDMETHODCALLTYPE _xSave(BSTR fileName, LONG format) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ActiveCommand(IDispatch** command) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_StayInSync(VARIANT_BOOL stays) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_StayInSync(VARIANT_BOOL* stays) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetString(LONG format, LONG rows, BSTR columnDelimiter, BSTR rowDelimiter,
                                              BSTR nullText, BSTR* text) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_DataMember(BSTR* member) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_DataMember(BSTR member) = 0;
  virtual HRESULT STDMETHODCALLTYPE CompareBookmarks(VARIANT left, VARIANT right, LONG* result) = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(LONG lockType, IAdoRecordset** clone) = 0;
  virtual HRESULT STDMETHODCALLTYPE Resync(LONG affected, LONG values) = 0;
  virtual HRESULT STDMETHODCALLTYPE Seek(VARIANT keys, LONG option) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Index(BSTR name) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Index(BSTR* name) = 0;
  virtual HRESULT STDMETHODCALLTYPE Save(VARIANT destination, LONG format) = 0;
};

#pragma GCC diagnostic pop

}  // namespace mv::ado
