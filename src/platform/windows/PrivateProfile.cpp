#include "platform/windows/PrivateProfile.h"

#include <windows.h>

#include <string_view>

#include "platform/windows/SystemError.h"
#include "platform/windows/Wide.h"

namespace mv::platform {
namespace {

/// No file holds this character, so it tells a missing key from an empty value.
constexpr const wchar_t* kMissing = L"\xFFFF";
constexpr std::size_t kUsualSectionLength = 4096;
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kQuotes = "\"'";
constexpr std::string_view kLineBreakers("\r\n\0", 3);

/// A name that is no full path would be looked for in the system's own folder.
std::wstring Native(const std::string& file) {
  return FullPath(NativePath(file));
}

bool Exists(const std::wstring& native) {
  return ::GetFileAttributesW(native.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool IsOneOf(char c, std::string_view characters) {
  return characters.find(c) != std::string_view::npos;
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsOneOf(text.front(), kBlanks)) text.remove_prefix(1);
  while (!text.empty() && IsOneOf(text.back(), kBlanks)) text.remove_suffix(1);
  return text;
}

/// Blanks around a value and one pair of quotes do not survive reading; another pair of quotes protects them.
std::string Protected(const std::string& value) {
  const bool bare = Trimmed(value) == value && (value.empty() || !IsOneOf(value.front(), kQuotes));
  return bare ? value : '"' + value + '"';
}

/// A line of a section as the system hands it out; nothing for a comment and for a line that sets no key.
std::optional<PrivateProfile::Entry> ParsedLine(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos || line.front() == ';' || line.front() == '#') return std::nullopt;
  std::string_view value = Trimmed(line.substr(equals + 1));
  const bool quoted = value.size() >= 2 && value.front() == value.back() && IsOneOf(value.front(), kQuotes);
  if (quoted) value = value.substr(1, value.size() - 2);
  return PrivateProfile::Entry{std::string(Trimmed(line.substr(0, equals))), std::string(value)};
}

/// Null for `key` means the whole section, null for `value` takes the key out.
void Change(const std::wstring& native, const std::string& section, const wchar_t* key, const wchar_t* value) {
  if (!::WritePrivateProfileStringW(Wide(section).c_str(), key, value, native.c_str())) throw LastError();
  // The result of this form says nothing.
  ::WritePrivateProfileStringW(nullptr, nullptr, nullptr, native.c_str());
}

}  // namespace

std::optional<std::string> WindowsPrivateProfile::Read(const std::string& file, const std::string& section,
                                                       const std::string& key, std::size_t longest) {
  std::wstring buffer(longest + 1, L'\0');
  buffer.resize(::GetPrivateProfileStringW(Wide(section).c_str(), Wide(key).c_str(), kMissing, buffer.data(),
                                           static_cast<DWORD>(buffer.size()), Native(file).c_str()));
  if (buffer == kMissing) return std::nullopt;
  // The cut may have gone through a character of two units.
  if (!buffer.empty() && IS_HIGH_SURROGATE(buffer.back())) buffer.pop_back();
  return Narrow(buffer);
}

std::vector<PrivateProfile::Entry> WindowsPrivateProfile::Section(const std::string& file, const std::string& section) {
  const std::wstring native = Native(file);
  const std::wstring name = Wide(section);
  std::wstring buffer(kUsualSectionLength, L'\0');
  DWORD length = 0;
  // A buffer that was too small is filled but for the two zeros at its end.
  while ((length = ::GetPrivateProfileSectionW(name.c_str(), buffer.data(), static_cast<DWORD>(buffer.size()),
                                               native.c_str())) == buffer.size() - 2) {
    buffer.resize(2 * buffer.size());
  }
  std::vector<Entry> entries;
  for (std::size_t begin = 0; begin < length; begin = buffer.find(L'\0', begin) + 1) {
    if (std::optional<Entry> entry = ParsedLine(Narrow(buffer.c_str() + begin))) entries.push_back(*entry);
  }
  return entries;
}

void WindowsPrivateProfile::Write(const std::string& file, const std::string& section, const std::string& key,
                                  const std::string& value) {
  if (value.find_first_of(kLineBreakers) != std::string::npos) throw StandardError(errors::kInvalidProcedureCall);
  Change(Native(file), section, Wide(key).c_str(), Wide(Protected(value)).c_str());
}

void WindowsPrivateProfile::RemoveKey(const std::string& file, const std::string& section, const std::string& key) {
  if (!Read(file, section, key, 1)) return;
  Change(Native(file), section, Wide(key).c_str(), nullptr);
}

void WindowsPrivateProfile::RemoveSection(const std::string& file, const std::string& section) {
  const std::wstring native = Native(file);
  if (Exists(native)) Change(native, section, nullptr, nullptr);
}

}  // namespace mv::platform
