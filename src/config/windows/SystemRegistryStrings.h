#pragma once

#include <string>

#include "config/RegistryStrings.h"

namespace mv {

/// The registry of this machine. LocalMachine is HKEY_LOCAL_MACHINE.
///
/// The value is of type REG_SZ, in the system's ANSI code page, and its length does not count a closing zero: that is
/// what the reader of the entry, the device-connection manager, was made for.
class SystemRegistryStrings : public RegistryStrings {
 public:
  void WriteRegistryString(RegistryRoot root, const std::string& keyPath, const std::string& valueName,
                           const std::string& data) override;
};

/// A text value below HKEY_LOCAL_MACHINE; empty when it is missing, of another type, or closed to this user.
std::string ReadMachineString(const std::string& keyPath, const std::string& valueName);

}  // namespace mv
