#include "mvtool/files/ExportNames.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <string_view>

#include "base/Text.h"
#include "base/Utf.h"
#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

constexpr std::string_view kExtension = ".csv";
constexpr std::size_t kLongestName = 200;  // of 255, to leave room for the name that the file has while it is written

bool IsForbidden(char character) {
  constexpr std::string_view kForbidden = "<>:\"/\\|?*%\x7F";
  return static_cast<unsigned char>(character) < 0x20 || kForbidden.find(character) != std::string_view::npos;
}

/// True for bytes that continue a UTF-8 character.
bool Continues(char character) {
  return (static_cast<unsigned char>(character) & 0xC0) == 0x80;
}

bool IsDevice(std::string_view table) {
  const std::string name = AsciiUpper(Trim(table.substr(0, table.find('.'))));
  constexpr std::string_view kDevices[] = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"};
  if (std::find(std::begin(kDevices), std::end(kDevices), name) != std::end(kDevices)) return true;
  if (!name.starts_with("COM") && !name.starts_with("LPT")) return false;
  const std::string_view number = std::string_view(name).substr(3);
  constexpr std::string_view kSuperscripts[] = {"\u00B9", "\u00B2", "\u00B3"};
  return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') ||
         std::find(std::begin(kSuperscripts), std::end(kSuperscripts), number) != std::end(kSuperscripts);
}

void AppendEscaped(std::string& text, char character) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  const auto byte = static_cast<std::uint8_t>(character);
  text += '%';
  text += kHexDigits[byte >> 4];
  text += kHexDigits[byte & 0x0F];
}

/// The name with its first `escaped` characters written as numbers.
std::string Escaped(std::string_view table, std::size_t escaped) {
  std::string name;
  std::size_t characters = 0;
  for (const char character : table) {
    if (!Continues(character)) ++characters;
    if (characters <= escaped || IsForbidden(character)) {
      AppendEscaped(name, character);
    } else {
      name += character;
    }
  }
  return name;
}

/// The first form of the name, from so many escaped characters on, that is not in use, which is added to those in use.
std::optional<std::string> UnusedName(const std::string& table, std::size_t leastEscaped, std::set<std::string>& used) {
  for (std::size_t escaped = std::max<std::size_t>(IsDevice(table) ? 1 : 0, leastEscaped); escaped <= table.size();
       ++escaped) {
    std::string name = Escaped(table, escaped);
    if (name.size() > kLongestName) break;
    if (used.insert(FoldCase(name)).second) return name;
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::string> ExportFileNames(const std::vector<std::string>& tables) {
  std::set<std::string> used;
  std::vector<std::string> names;
  for (const std::string& table : tables) {
    std::optional<std::string> name = UnusedName(table, 0, used);
    if (!name) throw Failure("there is no file name for table \"" + table + "\"");
    names.push_back(name->append(kExtension));
  }
  return names;
}

std::optional<std::string> SafeFileName(const std::string& name, std::set<std::string>& used) {
  if (name.empty()) return std::nullopt;
  const bool endsOddly = name.ends_with('.') || name.ends_with(' ');
  return UnusedName(name, endsOddly ? CharacterCount(name) : 0, used);
}

}  // namespace mv::tool
