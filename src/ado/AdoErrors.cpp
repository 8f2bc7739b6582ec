#include "ado/AdoErrors.h"

#include <oleauto.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>

#include "base/Text.h"
#include "platform/windows/Wide.h"

namespace mv::ado {
namespace {

struct Message {
  std::string source;
  std::string description;
};

/// COM keeps one error information per thread, perhaps left from an earlier call; only an object that promises it sets
/// a new one whenever it fails.
bool SetsErrorInfo(IUnknown& object, const GUID& interfaceId) {
  ComPtr<ISupportErrorInfo> promise;
  if (FAILED(object.QueryInterface(__uuidof(ISupportErrorInfo), promise.ReceiveAny()))) return false;
  return promise->InterfaceSupportsErrorInfo(interfaceId) == S_OK;
}

std::optional<Message> TakeErrorInfo() {
  ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, info.Receive()) != S_OK) return std::nullopt;
  Bstr source;
  Bstr description;
  info->GetSource(source.Receive());
  info->GetDescription(description.Receive());
  return Message{source.Utf8(), description.Utf8()};
}

/// The connection's message for `result`. Older messages stay in its list until the next one of a provider.
std::optional<Message> MessageOf(HRESULT result, IAdoConnection& connection) {
  ComPtr<IAdoErrors> errors;
  LONG count = 0;
  if (FAILED(connection.get_Errors(errors.Receive())) || FAILED(errors->get_Count(&count))) return std::nullopt;
  for (LONG i = 0; i < count; ++i) {
    ComPtr<IAdoError> error;
    LONG number = 0;
    if (FAILED(errors->get_Item(Variant::OfLong(i).Get(), error.Receive())) || FAILED(error->get_Number(&number))) {
      return std::nullopt;
    }
    if (number != result) continue;
    Bstr source;
    Bstr description;
    error->get_Source(source.Receive());
    error->get_Description(description.Receive());
    return Message{source.Utf8(), description.Utf8()};
  }
  return std::nullopt;
}

/// Without the line end that the system puts behind its texts.
std::string SystemText(HRESULT result) {
  wchar_t text[512];
  const DWORD length =
      FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, static_cast<DWORD>(result), 0,
                     text, static_cast<DWORD>(std::size(text)), nullptr);
  std::wstring_view line(text, length);
  while (!line.empty() && (line.back() == L'\r' || line.back() == L'\n' || line.back() == L' ')) line.remove_suffix(1);
  return platform::Narrow(line);
}

Error ErrorWith(HRESULT result, Message message) {
  const std::int32_t number = ErrorNumberOf(result);
  if (message.description.empty() && number == result) message.description = SystemText(result);
  if (!message.description.empty()) return Error(number, std::move(message.source), std::move(message.description));
  return StandardError(number, std::move(message.source));
}

}  // namespace

std::int32_t ErrorNumberOf(HRESULT result) {
  switch (result) {
    case DISP_E_TYPEMISMATCH:
      return errors::kTypeMismatch;
    case DISP_E_OVERFLOW:
      return errors::kOverflow;
    case E_OUTOFMEMORY:
      return errors::kOutOfMemory;
    case results::kDeletedRow:
      return errors::kNoCurrentRecord;
    default:
      return HRESULT_FACILITY(result) == FACILITY_CONTROL ? HRESULT_CODE(result) : result;
  }
}

Error ErrorOfCall(HRESULT result, IUnknown& object, const GUID& interfaceId, IAdoConnection* connection) {
  std::optional<Message> message;
  if (SetsErrorInfo(object, interfaceId)) message = TakeErrorInfo();
  if (!message && connection != nullptr) message = MessageOf(result, *connection);
  return ErrorWith(result, message.value_or(Message{}));
}

Error ErrorOfResult(HRESULT result) {
  return ErrorWith(result, {});
}

bool MeansNotInstalled(HRESULT result) {
  constexpr std::array kNotInstalled = {
      REGDB_E_CLASSNOTREG,                       // no class of this identifier (64-bit: only a 32-bit one)
      CO_E_CLASSSTRING,                          // no class of the provider's name
      CLASS_E_CLASSNOTAVAILABLE,                 // the library does not have the class any more
      CO_E_DLLNOTFOUND,                          // registered, but the library is gone
      CO_E_ERRORINDLL,                           // the library does not load
      HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND),   // same, or one that it needs is gone
      HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND),  // a library that it needs is too old
      HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT),  // a library of the other word size
      results::kProviderNotFound,                // "Provider cannot be found. It may not be properly installed."
  };
  return std::find(kNotInstalled.begin(), kNotInstalled.end(), result) != kNotInstalled.end();
}

}  // namespace mv::ado
