// consoleprobe [--beneath TEXT] PROGRAM [ARGUMENT]: starts a program as a prompt does that runs in a console of 80
// columns: with no standard handles of its own to inherit. Prints what the console shows afterwards, a line each
// without the blanks at its end, and returns the program's exit status. --beneath: TEXT stands in the console before,
// as a prompt does.
#include <windows.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Console.h"
#include "platform/windows/Wide.h"

namespace {

constexpr SHORT kColumns = 80;
constexpr SHORT kLines = 60;
constexpr DWORD kLongest = 60'000;  // milliseconds
constexpr int kFailed = 99;

void Require(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(std::string(what) + ": error " + std::to_string(::GetLastError()));
}

/// A console of this process's own, which its children share.
class Screen {
 public:
  Screen() {
    ::FreeConsole();
    Require(::AllocConsole(), "no console");
    out_ = ::CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, 0, nullptr);
    Require(out_ != INVALID_HANDLE_VALUE, "no screen");
    Require(::SetConsoleScreenBufferSize(out_, {kColumns, kLines}), "no screen of that size");
  }
  ~Screen() {
    ::CloseHandle(out_);
    ::FreeConsole();
  }
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  void Write(const std::wstring& text) {
    DWORD count = 0;
    Require(::WriteConsoleW(out_, text.data(), static_cast<DWORD>(text.size()), &count, nullptr), "cannot write");
  }

  /// The lines down to the last that is not empty.
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    std::size_t used = 0;
    for (SHORT y = 0; y < kLines; ++y) {
      std::wstring line(kColumns, L' ');
      DWORD count = 0;
      Require(::ReadConsoleOutputCharacterW(out_, line.data(), kColumns, {0, y}, &count), "cannot read");
      line.resize(count);
      line.erase(line.find_last_not_of(L' ') + 1);
      lines.push_back(mv::platform::Narrow(line));
      if (!line.empty()) used = lines.size();
    }
    lines.resize(used);
    return lines;
  }

 private:
  HANDLE out_ = INVALID_HANDLE_VALUE;
};

DWORD Run(const std::string& program, const std::vector<std::string>& arguments) {
  std::wstring line = L'"' + mv::platform::Wide(program) + L'"';
  for (const std::string& argument : arguments) line += L" " + mv::platform::Wide(argument);
  STARTUPINFOW start = {};
  start.cb = sizeof start;
  PROCESS_INFORMATION process = {};
  Require(::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process),
          "the program does not start");
  const bool ended = ::WaitForSingleObject(process.hProcess, kLongest) == WAIT_OBJECT_0;
  DWORD status = 0;
  ::GetExitCodeProcess(process.hProcess, &status);
  if (!ended) ::TerminateProcess(process.hProcess, 1);
  ::CloseHandle(process.hThread);
  ::CloseHandle(process.hProcess);
  if (!ended) throw std::runtime_error("the program does not end");
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  // No stream of this process outlives the change of its console; what is said goes into the file.
  const std::vector<std::string> words = mv::platform::Arguments(argc, argv);
  if (words.size() < 3) return kFailed;
  std::ofstream out(words[0], std::ios::binary);
  try {
    Screen screen;
    for (const DWORD which : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) ::SetStdHandle(which, nullptr);
    screen.Write(mv::platform::Wide(words[1]));
    const DWORD status = Run(words[2], {words.begin() + 3, words.end()});
    for (const std::string& line : screen.Lines()) out << line << '\n';
    return static_cast<int>(status);
  } catch (const std::exception& error) {
    out << "consoleprobe: " << error.what() << '\n';
    return kFailed;
  }
}
