#include "fileio/IniDocument.h"

#include <algorithm>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "base/Utf.h"

namespace mv {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
/// A carriage return counts as a blank, whether it belongs to the line end or not.
constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kLineEnds = "\r\n";

/// Without blanks at both ends; points into `text` even when nothing is left.
std::string_view WithoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return text.substr(text.size());
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string FoldedName(std::string_view name) {
  return FoldCase(ValidUtf8(WithoutBlanks(name)));
}

bool IsQuoted(std::string_view value) {
  return value.size() >= 2 && value.front() == value.back() && (value.front() == '"' || value.front() == '\'');
}

/// The form that reads back as `value`.
std::string Written(std::string_view value) {
  if (WithoutBlanks(value) == value && !IsQuoted(value)) return std::string(value);
  return '"' + std::string(value) + '"';
}

std::string_view WithoutLineEnd(std::string_view raw) {
  if (raw.ends_with('\n')) raw.remove_suffix(1);
  return raw;
}

}  // namespace

IniDocument::IniDocument(std::string_view text, std::string_view lineEnd) : lineEnd_(lineEnd) {
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::size_t length = end == std::string_view::npos ? text.size() : end + 1;
    lines_.push_back(Parsed(std::string(text.substr(0, length))));
    text.remove_prefix(length);
  }
  if (lines_.empty() || !lines_.front().raw.ends_with('\n')) return;
  lineEnd_ = lines_.front().raw.ends_with("\r\n") ? "\r\n" : "\n";
}

IniDocument::Line IniDocument::Parsed(std::string raw) {
  Line line;
  line.raw = std::move(raw);
  std::string_view content = WithoutLineEnd(line.raw);
  if (content.starts_with(kByteOrderMark)) content.remove_prefix(kByteOrderMark.size());
  content = WithoutBlanks(content);
  if (content.empty() || content.front() == ';' || content.front() == '#') return line;

  if (content.front() == '[') {
    const std::size_t close = content.find(']');
    if (close == std::string_view::npos) return line;
    line.kind = LineKind::Section;
    line.name = FoldedName(content.substr(1, close - 1));
    return line;
  }

  const std::size_t equals = content.find('=');
  if (equals == std::string_view::npos) return line;
  const std::string_view value = WithoutBlanks(content.substr(equals + 1));
  line.kind = LineKind::Entry;
  line.name = FoldedName(content.substr(0, equals));
  line.valueBegin = static_cast<std::size_t>(value.data() - line.raw.data());
  line.valueEnd = line.valueBegin + value.size();
  return line;
}

IniDocument::Place IniDocument::Locate(std::string_view section, std::string_view key) const {
  const std::string wantedSection = FoldedName(section);
  const std::string wantedKey = FoldedName(key);
  Place place;
  bool inSection = false;
  bool firstPartOver = false;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    const Line& line = lines_[i];
    if (line.kind == LineKind::Section) {
      firstPartOver = place.lastLine.has_value();
      inSection = line.name == wantedSection;
    }
    if (!inSection || line.kind == LineKind::Other) continue;
    if (line.kind == LineKind::Entry && line.name == wantedKey) {
      place.entry = i;
      return place;
    }
    if (!firstPartOver) place.lastLine = i;
  }
  return place;
}

std::optional<std::string> IniDocument::Get(std::string_view section, std::string_view key) const {
  const Place place = Locate(section, key);
  if (!place.entry) return std::nullopt;
  return EntryOf(lines_[*place.entry]).value;
}

IniDocument::Entry IniDocument::EntryOf(const Line& line) {
  const std::string_view raw(line.raw);
  std::string_view key = raw.substr(0, raw.find('='));
  if (key.starts_with(kByteOrderMark)) key.remove_prefix(kByteOrderMark.size());
  std::string_view value = raw.substr(line.valueBegin, line.valueEnd - line.valueBegin);
  if (IsQuoted(value)) value = value.substr(1, value.size() - 2);
  return {ValidUtf8(WithoutBlanks(key)), ValidUtf8(value)};
}

std::vector<std::string> IniDocument::Sections() const {
  std::vector<std::string> sections;
  std::vector<std::string> folded;
  for (const Line& line : lines_) {
    if (line.kind != LineKind::Section) continue;
    if (std::find(folded.begin(), folded.end(), line.name) != folded.end()) continue;
    folded.push_back(line.name);
    const std::size_t open = line.raw.find('[');
    sections.push_back(ValidUtf8(WithoutBlanks(line.raw.substr(open + 1, line.raw.find(']') - open - 1))));
  }
  return sections;
}

std::vector<IniDocument::Entry> IniDocument::Entries(std::string_view section) const {
  const std::string wanted = FoldedName(section);
  std::vector<Entry> entries;
  bool inSection = false;
  for (const Line& line : lines_) {
    if (line.kind == LineKind::Section) inSection = line.name == wanted;
    if (inSection && line.kind == LineKind::Entry) entries.push_back(EntryOf(line));
  }
  return entries;
}

void IniDocument::Set(std::string_view section, std::string_view key, std::string_view value) {
  if (value.find_first_of(kLineEnds) != std::string_view::npos) {
    throw StandardError(errors::kInvalidProcedureCall, "SaveSetting");
  }
  Place place = Locate(section, key);
  if (place.entry) {
    Line& line = lines_[*place.entry];
    line = Parsed(line.raw.replace(line.valueBegin, line.valueEnd - line.valueBegin, Written(value)));
    return;
  }
  if (!place.lastLine) {
    AddSection(section);
    place.lastLine = lines_.size() - 1;
  }
  InsertLine(*place.lastLine + 1, std::string(key) + "=" + Written(value));
}

void IniDocument::Remove(std::string_view section, std::string_view key) {
  for (Place place = Locate(section, key); place.entry; place = Locate(section, key)) {
    lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(*place.entry));
  }
}

void IniDocument::RemoveSection(std::string_view section) {
  const std::string removed = FoldedName(section);
  bool inSection = false;
  std::erase_if(lines_, [&](const Line& line) {
    if (line.kind == LineKind::Section) inSection = line.name == removed;
    return inSection;
  });
}

void IniDocument::AddSection(std::string_view section) {
  const bool separate = !lines_.empty() && !WithoutBlanks(WithoutLineEnd(lines_.back().raw)).empty();
  if (separate) InsertLine(lines_.size(), "");
  std::string header(1, '[');
  header.append(section).append("]");
  InsertLine(lines_.size(), header);
}

void IniDocument::InsertLine(std::size_t position, std::string_view content) {
  if (position > 0) EndLine(position - 1);
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(position), Parsed(std::string(content) + lineEnd_));
}

void IniDocument::EndLine(std::size_t index) {
  std::string& raw = lines_[index].raw;
  if (!raw.ends_with('\n')) raw += lineEnd_;
}

std::string IniDocument::Text() const {
  std::string text;
  for (const Line& line : lines_) text += line.raw;
  return text;
}

}  // namespace mv
