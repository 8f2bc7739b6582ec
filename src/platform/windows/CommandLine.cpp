#include "platform/windows/CommandLine.h"

namespace mv::platform {

std::wstring_view ArgumentsOf(std::wstring_view commandLine) {
  constexpr std::wstring_view kBlanks = L" \t";
  const bool quoted = commandLine.starts_with(L'"');
  const std::size_t nameEnd = quoted ? commandLine.find(L'"', 1) : commandLine.find_first_of(kBlanks);
  if (nameEnd == std::wstring_view::npos) return {};
  const std::wstring_view rest = commandLine.substr(quoted ? nameEnd + 1 : nameEnd);
  const std::size_t first = rest.find_first_not_of(kBlanks);
  return first == std::wstring_view::npos ? std::wstring_view() : rest.substr(first);
}

}  // namespace mv::platform
