#include <windows.h>

#include "Device.h"

extern "C" __declspec(dllexport) BOOL WINAPI CeFindClose(HANDLE find) {
  return TheDevice().CloseFind(find);
}
