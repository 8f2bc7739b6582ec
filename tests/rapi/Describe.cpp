#include <windows.h>

#include "Device.h"

extern "C" {

__declspec(dllexport) BOOL WINAPI CeFindAllFiles(LPCWSTR pattern, DWORD flags, LPDWORD count, DeviceFindData** found) {
  return TheDevice().FindAll(pattern, flags, count, found);
}

__declspec(dllexport) HRESULT WINAPI CeRapiFreeBuffer(LPVOID buffer) {
  return TheDevice().FreeBuffer(buffer);
}

__declspec(dllexport) BOOL WINAPI CeGetVersionEx(DeviceVersionInfo* version) {
  return TheDevice().Version(version);
}

}  // extern "C"
