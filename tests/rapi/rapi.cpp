// The exported functions, with their published signatures. README.md tells what the library is for. CeFindClose and
// what lists and describes have sources of their own, because there is a library without them.
#include <windows.h>

#include "Device.h"

extern "C" {

__declspec(dllexport) HRESULT WINAPI CeRapiInitEx(StartUpRecord* record) {
  return TheDevice().Start(record);
}

__declspec(dllexport) HRESULT WINAPI CeRapiUninit() {
  return TheDevice().End();
}

__declspec(dllexport) HRESULT WINAPI CeRapiGetError() {
  return TheDevice().RapiError();
}

__declspec(dllexport) DWORD WINAPI CeGetLastError() {
  return TheDevice().LastError();
}

__declspec(dllexport) HANDLE WINAPI CeFindFirstFile(LPCWSTR path, DeviceFindData* found) {
  return TheDevice().FindFirst(path, found);
}

__declspec(dllexport) HANDLE WINAPI
    CeCreateFile(LPCWSTR path, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES securityAttributes,
                 DWORD disposition, DWORD flags, HANDLE templateFile) {
  return TheDevice().Create(path, access, shareMode, securityAttributes, disposition, flags, templateFile);
}

__declspec(dllexport) DWORD WINAPI CeGetFileSize(HANDLE file, LPDWORD high) {
  return TheDevice().Size(file, high);
}

__declspec(dllexport) BOOL WINAPI CeReadFile(HANDLE file, LPVOID buffer, DWORD bytes, LPDWORD bytesRead, LPOVERLAPPED) {
  return TheDevice().Read(file, buffer, bytes, bytesRead);
}

__declspec(dllexport) BOOL WINAPI
    CeWriteFile(HANDLE file, LPCVOID buffer, DWORD bytes, LPDWORD bytesWritten, LPOVERLAPPED) {
  return TheDevice().Write(file, buffer, bytes, bytesWritten);
}

__declspec(dllexport) BOOL WINAPI CeCloseHandle(HANDLE handle) {
  return TheDevice().CloseFile(handle);
}

}  // extern "C"
