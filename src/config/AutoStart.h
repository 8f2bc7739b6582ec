#pragma once

#include <string>

#include "config/RegistryStrings.h"

namespace mv {

/// Where the entry stands, below HKEY_LOCAL_MACHINE.
inline constexpr const char* kAutoStartKey = "Software\\Microsoft\\Windows CE Services\\AutoStartOnConnect";
inline constexpr const char* kAutoStartValue = "Brindle Software";

/// Tells the device-connection manager to start the program whenever a handheld connects, with `switchText` ("-Mode0",
/// "-Mode1" or "-Mode2") as its command line. The program's path in the entry is fixed; it does not follow the folder
/// the program was installed to. Fails silently.
void RegisterAutoStart(RegistryStrings& registry, const std::string& switchText);

/// Empties the entry; the value itself stays. Fails silently.
void UnregisterAutoStart(RegistryStrings& registry);

}  // namespace mv
