#include "device/SystemRapi.h"

#include <windows.h>

#include "device/windows/DllRapi.h"
#include "platform/windows/Wide.h"

namespace mv {
namespace {

/// Holds the library that fits this program's width: Windows shows a 32-bit program the folder of 32-bit libraries
/// here.
std::string SystemFolder() {
  std::wstring folder(::GetSystemDirectoryW(nullptr, 0), L'\0');
  folder.resize(::GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size())));
  return platform::Narrow(folder);
}

}  // namespace

bool SystemHasRapi() {
  return true;
}

std::unique_ptr<Rapi> MakeSystemRapi(const std::string& programFolder) {
  return std::make_unique<DllRapi>(std::vector<std::string>{programFolder, SystemFolder()});
}

}  // namespace mv
