#pragma once

#include "ado/AdoInterfaces.h"
#include "ado/ComClasses.h"
#include "base/Error.h"

namespace mv::ado {

/// Results of ADO and of its providers that the adapter knows by name.
namespace results {
inline constexpr HRESULT kNoCurrentRecord = static_cast<HRESULT>(0x800A0BCD);   ///< ADO: 3021
inline constexpr HRESULT kProviderNotFound = static_cast<HRESULT>(0x800A0E7A);  ///< ADO: 3706
inline constexpr HRESULT kDeletedRow = static_cast<HRESULT>(0x80040E23);        ///< provider: the row is deleted
}  // namespace results

/// The number under which the program reports a failed call. ADO's own errors are 3001 to 3999, the low word of a
/// result of facility "control"; values that do not convert or do not fit are 13 and 6, no memory is 7, a row that
/// somebody deleted is 3021. All others, those of providers above all, are the result itself as a signed 32-bit number.
std::int32_t ErrorNumberOf(HRESULT result);

/// The error of a call on `object`, made through its interface `interfaceId`, that returned `result`. To be called
/// before any other call. Text and source are those of COM's error information where the object promises some, else
/// those of the connection's messages (`connection` may be null), else the system's text for the result.
Error ErrorOfCall(HRESULT result, IUnknown& object, const GUID& interfaceId, IAdoConnection* connection);

/// The error of a result that no object tells more about.
Error ErrorOfResult(HRESULT result);

/// Raises the error of a failed call.
template <typename Interface>
void Check(HRESULT result, const ComPtr<Interface>& object, const ComPtr<IAdoConnection>& connection) {
  if (FAILED(result)) throw ErrorOfCall(result, *object, Interface::kId, connection.Get());
}

/// True when `result` says that ADO, or the provider that a connection string names, is not installed for programs of
/// this kind: its class or library is missing or unregistered, or is one of the other word size only. What a provider
/// says about a database is never meant.
bool MeansNotInstalled(HRESULT result);

}  // namespace mv::ado
