#include "config/windows/SystemRegistryStrings.h"

#include <windows.h>

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

}  // namespace mv
