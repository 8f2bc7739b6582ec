#include "platform/windows/ScriptingFiles.h"

#include <windows.h>
// After windows.h, which they need.
#include <objbase.h>
#include <oleauto.h>

#include "platform/windows/Com.h"
#include "platform/windows/Wide.h"

namespace mv::platform {
namespace {

constexpr const wchar_t* kClassName = L"Scripting.FileSystemObject";

/// Null when there is none.
ComPtr<IDispatch> MakeFileSystemObject() {
  ComPtr<IDispatch> object;
  CLSID id = {};
  if (SUCCEEDED(::CLSIDFromProgID(kClassName, &id))) {
    // A failure leaves the pointer null, which says it all.
    ::CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IDispatch), object.ReceiveAny());
  }
  return object;
}

}  // namespace

std::optional<bool> ScriptingFileExists(const std::wstring& native) {
  const ComApartment apartment;
  const ComPtr<IDispatch> object = MakeFileSystemObject();
  if (!object) return std::nullopt;
  wchar_t name[] = L"FileExists";
  wchar_t* names[] = {name};
  DISPID member = 0;
  if (FAILED(object->GetIDsOfNames(GUID_NULL, names, 1, LOCALE_USER_DEFAULT, &member))) return std::nullopt;
  const Variant path = Variant::OfText(Narrow(native));
  VARIANT argument = path.Get();  // a copy of the record: `path` goes on owning the text
  DISPPARAMS arguments = {&argument, nullptr, 1, 0};
  Variant answer;
  const HRESULT result = object->Invoke(member, GUID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &arguments,
                                        answer.Receive(), nullptr, nullptr);
  if (FAILED(result) || V_VT(&answer.Get()) != VT_BOOL) return std::nullopt;
  return V_BOOL(&answer.Get()) != VARIANT_FALSE;
}

}  // namespace mv::platform
