#include "fileio/IniProfile.h"

#include <algorithm>

#include "base/Utf.h"
#include "fileio/FileText.h"

namespace mv {
namespace {

constexpr const char* kLineEnd = "\r\n";

bool HasMark(ByteView content) {
  return content.size() >= kUnicodeMark.size() && std::equal(kUnicodeMark.begin(), kUnicodeMark.end(), content.begin());
}

}  // namespace

IniProfile::Loaded IniProfile::Load(const std::string& file) {
  Bytes content;
  if (files_.FileExists(file)) content = platform::ReadWhole(files_, file);
  const bool marked = HasMark(content);
  const FileEncoding encoding = marked ? FileEncoding::Unicode : FileEncoding::Ansi;
  const ByteView text = ByteView(content).subspan(marked ? kUnicodeMark.size() : 0);
  return {IniDocument(TextFromFile(text, encoding), kLineEnd), encoding};
}

void IniProfile::Change(const std::string& file, const std::function<void(IniDocument&)>& change) {
  Loaded ini = Load(file);
  const std::string before = ini.document.Text();
  change(ini.document);
  const std::string after = ini.document.Text();
  if (after == before) return;
  Bytes content;
  if (ini.encoding == FileEncoding::Unicode) content.assign(kUnicodeMark.begin(), kUnicodeMark.end());
  const Bytes text = BytesForFile(after, ini.encoding);
  content.insert(content.end(), text.begin(), text.end());
  files_.WriteWhole(file, content);
}

std::optional<std::string> IniProfile::Read(const std::string& file, const std::string& section, const std::string& key,
                                            std::size_t longest) {
  const std::optional<std::string> value = Load(file).document.Get(section, key);
  if (!value) return std::nullopt;
  return FirstCharacters(*value, longest);
}

std::vector<IniProfile::Entry> IniProfile::Section(const std::string& file, const std::string& section) {
  return Load(file).document.Entries(section);
}

void IniProfile::Write(const std::string& file, const std::string& section, const std::string& key,
                       const std::string& value) {
  Change(file, [&](IniDocument& ini) { ini.Set(section, key, value); });
}

void IniProfile::RemoveKey(const std::string& file, const std::string& section, const std::string& key) {
  Change(file, [&](IniDocument& ini) { ini.Remove(section, key); });
}

void IniProfile::RemoveSection(const std::string& file, const std::string& section) {
  Change(file, [&](IniDocument& ini) { ini.RemoveSection(section); });
}

}  // namespace mv
