// A library that has the name and the first function, and nothing else.
#include <windows.h>

extern "C" __declspec(dllexport) HRESULT WINAPI CeRapiInitEx(void*) {
  return S_OK;
}
