#pragma once

#include "ado/AdoInterfaces.h"

namespace mv::testing {

/// The slots of ADO's interfaces that the adapter does not use: whoever calls one gets E_NOTIMPL. Test doubles derive
/// from these and write only the rest.

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

template <typename Interface>
struct UnusedDispatch : Interface {
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return E_NOTIMPL;
  }
};

struct UnusedAdoError : UnusedDispatch<ado::IAdoError> {
  HRESULT STDMETHODCALLTYPE get_HelpFile(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_HelpContext(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_SQLState(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_NativeError(LONG*) override { return E_NOTIMPL; }
};

struct UnusedAdoErrors : UnusedDispatch<ado::IAdoErrors> {
  HRESULT STDMETHODCALLTYPE _NewEnum(IUnknown**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Refresh() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Clear() override { return E_NOTIMPL; }
};

struct UnusedAdoField : UnusedDispatch<ado::IAdoField> {
  HRESULT STDMETHODCALLTYPE get_Properties(IDispatch**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_ActualSize(LONG_PTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Precision(BYTE*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_NumericScale(BYTE*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE AppendChunk(VARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetChunk(LONG, VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_OriginalValue(VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_UnderlyingValue(VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_DataFormat(IUnknown**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE putref_DataFormat(IUnknown*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Precision(BYTE) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_NumericScale(BYTE) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Type(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_DefinedSize(LONG_PTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Attributes(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Status(LONG*) override { return E_NOTIMPL; }
};

struct UnusedAdoFields : UnusedDispatch<ado::IAdoFields> {
  HRESULT STDMETHODCALLTYPE _NewEnum(IUnknown**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Refresh() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE _Append(BSTR, LONG, LONG_PTR, LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Delete(VARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Append(BSTR, LONG, LONG_PTR, LONG, VARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Update() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Resync(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CancelUpdate() override { return E_NOTIMPL; }
};

struct UnusedAdoConnection : UnusedDispatch<ado::IAdoConnection> {
  HRESULT STDMETHODCALLTYPE get_Properties(IDispatch**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_ConnectionString(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_ConnectionString(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_CommandTimeout(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_CommandTimeout(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_ConnectionTimeout(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_ConnectionTimeout(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Version(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Execute(BSTR, VARIANT*, LONG, ado::IAdoRecordset**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE BeginTrans(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CommitTrans() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE RollbackTrans() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_DefaultDatabase(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_DefaultDatabase(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_IsolationLevel(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_IsolationLevel(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Attributes(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Attributes(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_CursorLocation(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Mode(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Mode(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Provider(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Provider(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_State(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE OpenSchema(LONG, VARIANT, VARIANT, ado::IAdoRecordset**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Cancel() override { return E_NOTIMPL; }
};

struct UnusedAdoRecordset : UnusedDispatch<ado::IAdoRecordset> {
  HRESULT STDMETHODCALLTYPE get_Properties(IDispatch**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_AbsolutePosition(LONG_PTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_AbsolutePosition(LONG_PTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_ActiveConnection(VARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_ActiveConnection(VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_BOF(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Bookmark(VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Bookmark(VARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_CacheSize(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_CacheSize(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_CursorType(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_CursorType(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_LockType(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_LockType(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_MaxRecords(LONG_PTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_MaxRecords(LONG_PTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_RecordCount(LONG_PTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE putref_Source(IDispatch*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Source(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Source(VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetRows(LONG, VARIANT, VARIANT, VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Move(LONG_PTR, VARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE MovePrevious() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Requery(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE _xResync(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_AbsolutePage(LONG_PTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_AbsolutePage(LONG_PTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_EditMode(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Filter(VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Filter(VARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_PageCount(LONG_PTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_PageSize(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_PageSize(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Sort(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Sort(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Status(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_State(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE _xClone(ado::IAdoRecordset**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE UpdateBatch(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CancelBatch(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_CursorLocation(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_CursorLocation(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE NextRecordset(VARIANT*, ado::IAdoRecordset**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Supports(LONG, VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Collect(VARIANT, VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Collect(VARIANT, VARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_MarshalOptions(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_MarshalOptions(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Find(BSTR, LONG_PTR, LONG, VARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Cancel() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_DataSource(IUnknown**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE putref_DataSource(IUnknown*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE _xSave(BSTR, LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_ActiveCommand(IDispatch**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_StayInSync(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_StayInSync(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetString(LONG, LONG, BSTR, BSTR, BSTR, BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_DataMember(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_DataMember(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CompareBookmarks(VARIANT, VARIANT, LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Clone(LONG, ado::IAdoRecordset**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Resync(LONG, LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Seek(VARIANT, LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Index(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Index(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Save(VARIANT, LONG) override { return E_NOTIMPL; }
};

#pragma GCC diagnostic pop

}  // namespace mv::testing
