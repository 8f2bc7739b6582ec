#include "config/AutoStart.h"

namespace mv {
namespace {

/// The blank at the end separates it from the switch.
constexpr const char* kAutoStartProgram = "C:\\Program Files\\Motorva\\MVPPCSync.exe ";

void WriteAutoStart(RegistryStrings& registry, const std::string& data) {
  registry.WriteRegistryString(RegistryRoot::LocalMachine, kAutoStartKey, kAutoStartValue, data);
}

}  // namespace

void RegisterAutoStart(RegistryStrings& registry, const std::string& switchText) {
  WriteAutoStart(registry, kAutoStartProgram + switchText);
}

void UnregisterAutoStart(RegistryStrings& registry) {
  WriteAutoStart(registry, "");
}

}  // namespace mv
