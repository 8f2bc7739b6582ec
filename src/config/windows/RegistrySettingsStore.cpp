#include "config/windows/RegistrySettingsStore.h"

#include <cstring>

#include "base/Bytes.h"
#include "base/Error.h"
#include "config/windows/RegistryKey.h"
#include "platform/windows/SystemError.h"
#include "platform/windows/Wide.h"

namespace mv {
namespace {

using platform::Narrow;
using platform::Wide;

constexpr const char* kBranch = "Software\\VB and VBA Program Settings\\";
/// Longer than any setting of this program; a longer value costs a second call.
constexpr std::size_t kUsualSize = 1024;

struct Value {
  DWORD type = REG_NONE;
  Bytes data;
};

std::wstring KeyPath(const std::string& application, const std::string& section) {
  return Wide(kBranch + application + "\\" + section);
}

std::string SourceOf(const std::string& section, const std::string& key) {
  return "[" + section + "] " + key;
}

bool IsMissing(LONG code) {
  return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
}

void Check(LONG code, const std::string& source) {
  if (code == ERROR_SUCCESS) return;
  const Error error = platform::ErrorFromCode(static_cast<DWORD>(code));
  throw Error(error.Number(), source, error.Description()).About(source);
}

/// The value of a key; its code is the registry's. Another program may let the value grow between two calls.
LONG Query(HKEY key, const std::wstring& name, Value& value) {
  value.data.resize(kUsualSize);
  auto size = static_cast<DWORD>(value.data.size());
  LONG code = ::RegQueryValueExW(key, name.c_str(), nullptr, &value.type, value.data.data(), &size);
  while (code == ERROR_MORE_DATA) {
    value.data.resize(size);
    code = ::RegQueryValueExW(key, name.c_str(), nullptr, &value.type, value.data.data(), &size);
  }
  if (code == ERROR_SUCCESS) value.data.resize(size);
  return code;
}

std::string TextOfUnits(const Bytes& data) {
  std::wstring units(data.size() / sizeof(wchar_t), L'\0');
  if (!units.empty()) std::memcpy(units.data(), data.data(), units.size() * sizeof(wchar_t));
  return Narrow(units.substr(0, units.find(L'\0')));
}

std::string TextOfNumber(const Bytes& data) {
  DWORD number = 0;
  std::memcpy(&number, data.data(), sizeof number);
  return std::to_string(number);
}

std::string TextOf(const Value& value, const std::string& source) {
  if (value.type == REG_SZ || value.type == REG_EXPAND_SZ) return TextOfUnits(value.data);
  if (value.type == REG_DWORD && value.data.size() == sizeof(DWORD)) return TextOfNumber(value.data);
  throw StandardError(errors::kTypeMismatch, source).About(source);
}

}  // namespace

std::optional<std::string> RegistrySettingsStore::GetSetting(const std::string& application, const std::string& section,
                                                             const std::string& key) {
  const std::string source = SourceOf(section, key);
  RegistryKey opened;
  LONG code =
      ::RegOpenKeyExW(HKEY_CURRENT_USER, KeyPath(application, section).c_str(), 0, KEY_QUERY_VALUE, opened.Out());
  if (IsMissing(code)) return std::nullopt;
  Check(code, source);
  Value value;
  code = Query(opened.Get(), Wide(key), value);
  if (IsMissing(code)) return std::nullopt;
  Check(code, source);
  return TextOf(value, source);
}

void RegistrySettingsStore::SaveSetting(const std::string& application, const std::string& section,
                                        const std::string& key, const std::string& text) {
  const std::string source = SourceOf(section, key);
  if (text.find('\0') != std::string::npos) throw StandardError(errors::kInvalidProcedureCall, source);
  RegistryKey opened;
  Check(::RegCreateKeyExW(HKEY_CURRENT_USER, KeyPath(application, section).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                          KEY_QUERY_VALUE | KEY_SET_VALUE, nullptr, opened.Out(), nullptr),
        source);
  const std::wstring wide = Wide(text);
  const auto size = static_cast<DWORD>((wide.size() + 1) * sizeof(wchar_t));
  Check(::RegSetValueExW(opened.Get(), Wide(key).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(wide.c_str()), size),
        source);
  Check(::RegFlushKey(opened.Get()), source);
}

}  // namespace mv
