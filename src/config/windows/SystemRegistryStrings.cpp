#include "config/windows/SystemRegistryStrings.h"

#include <windows.h>

#include "config/windows/RegistryKey.h"
#include "platform/windows/Wide.h"

namespace mv {
namespace {

HKEY KeyOf(RegistryRoot root) {
  switch (root) {
    case RegistryRoot::LocalMachine:
      return HKEY_LOCAL_MACHINE;
  }
  return nullptr;
}

}  // namespace

void SystemRegistryStrings::WriteRegistryString(RegistryRoot root, const std::string& keyPath,
                                                const std::string& valueName, const std::string& data) {
  const std::string bytes = platform::Ansi(data);
  // Each call may be refused, the next ones then have no key to work on: nobody is told.
  HKEY key = nullptr;
  ::RegCreateKeyA(KeyOf(root), platform::Ansi(keyPath).c_str(), &key);
  ::RegSetValueExA(key, platform::Ansi(valueName).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(bytes.data()),
                   static_cast<DWORD>(bytes.size()));
  ::RegCloseKey(key);
}

std::string ReadMachineString(const std::string& keyPath, const std::string& valueName) {
  RegistryKey key;
  if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, platform::Wide(keyPath).c_str(), 0, KEY_QUERY_VALUE, key.Out()) !=
      ERROR_SUCCESS) {
    return {};
  }
  constexpr DWORD kMostUnits = 4096;
  std::wstring text(kMostUnits, L'\0');
  DWORD type = REG_NONE;
  DWORD bytes = kMostUnits * sizeof(wchar_t);
  const LONG code = ::RegQueryValueExW(key.Get(), platform::Wide(valueName).c_str(), nullptr, &type,
                                       reinterpret_cast<BYTE*>(text.data()), &bytes);
  if (code != ERROR_SUCCESS || type != REG_SZ) return {};
  // The writer need not have stored the closing zero.
  text.resize(bytes / sizeof(wchar_t));
  return platform::Narrow(text.substr(0, text.find(L'\0')));
}

}  // namespace mv
