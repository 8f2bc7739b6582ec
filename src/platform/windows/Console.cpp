#include "platform/Console.h"

#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include <iostream>

#include "platform/windows/Wide.h"

namespace mv::platform {

std::vector<std::string> Arguments(int, char**) {
  // The C library's own arguments went through the ANSI code page and have lost what it does not hold.
  int count = 0;
  wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(Narrow(words[i]));
  ::LocalFree(words);
  return arguments;
}

void UseUtf8Streams() {
  for (FILE* stream : {stdin, stdout, stderr}) ::_setmode(::_fileno(stream), _O_BINARY);
  ::SetConsoleOutputCP(CP_UTF8);
  ::SetConsoleCP(CP_UTF8);
  std::ios::sync_with_stdio(false);
}

}  // namespace mv::platform
