#pragma once

#include <windows.h>

#include <cstddef>

/// The published records, declared here once more and not taken from the program: a wrong layout there must show.
struct StartUpRecord {
  DWORD cbSize;
  HANDLE heRapiInit;
  HRESULT hrRapiInit;
};
static_assert(sizeof(StartUpRecord) == (sizeof(void*) == 8 ? 24 : 12));

struct DeviceFindData {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD dwOID;
  WCHAR cFileName[260];
};
static_assert(sizeof(DeviceFindData) == 560);

struct DeviceVersionInfo {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  WCHAR szCSDVersion[128];
};
static_assert(sizeof(DeviceVersionInfo) == 276);
