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

/// The names that `enumerate` gives for 0, 1, ..., each into a buffer of that many units, until it has no more.
template <typename Enumerate>
std::vector<std::string> NamesFrom(Enumerate enumerate) {
  constexpr DWORD kLongestName = 16384;  // of a value; keys have shorter ones
  std::vector<std::string> names;
  std::wstring buffer(kLongestName, L'\0');
  for (DWORD i = 0;; ++i) {
    DWORD length = kLongestName;
    if (enumerate(i, buffer.data(), &length) != ERROR_SUCCESS) return names;
    names.push_back(Narrow(buffer.substr(0, length)));
  }
}

}  // namespace

std::vector<SettingName> RegistrySettingsStore::Names(const std::string& application) {
  RegistryKey root;
  const std::wstring path = Wide(kBranch + application);
  if (::RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, root.Out()) != ERROR_SUCCESS) return {};
  const std::vector<std::string> sections = NamesFrom([&](DWORD i, wchar_t* name, DWORD* length) {
    return ::RegEnumKeyExW(root.Get(), i, name, length, nullptr, nullptr, nullptr, nullptr);
  });
  std::vector<SettingName> names;
  for (const std::string& section : sections) {
    RegistryKey key;
    if (::RegOpenKeyExW(root.Get(), Wide(section).c_str(), 0, KEY_READ, key.Out()) != ERROR_SUCCESS) continue;
    for (const std::string& name : NamesFrom([&](DWORD i, wchar_t*text, DWORD*length) {
           return ::RegEnumValueW(key.Get(), i, text, length, nullptr, nullptr, nullptr, nullptr);
         })) {
      names.push_back({section, name});
    }
  }
  return names;
}

std::string RegistrySettingsStore::PlaceOf(const std::string& application) const {
  return "HKEY_CURRENT_USER\\" + (kBranch + application);
}

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
