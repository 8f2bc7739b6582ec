#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/PrivateProfile.h"

namespace mv {

/// The text of one settings file, which users edit by hand:
///
///   ; a comment (or #), always a line of its own
///   [Section]
///   Key = value
///   Padded = "  a value with blanks at an end stands in quotes, double or single  "
///
/// Lines end in LF or CR LF; a UTF-8 byte-order mark may come first. Blanks and tabs around a section's name, a key and
/// a value do not count, nor does the case of sections and keys. Where a key stands twice, in one part of its section
/// or in two, the first counts. Lines of any other form mean nothing and are kept.
///
/// Setting a key changes the bytes of its value and no other byte.
class IniDocument {
 public:
  /// A key and its value as Get returns it.
  using Entry = platform::PrivateProfile::Entry;

  IniDocument() = default;
  /// Added lines end as the first line of `text` does; `lineEnd` decides when that has none.
  explicit IniDocument(std::string_view text, std::string_view lineEnd = "\n");

  /// The value as UTF-8, what is malformed in it replaced; nothing when the key is missing.
  std::optional<std::string> Get(std::string_view section, std::string_view key) const;

  /// Replaces the key's value, or adds the key at the end of its section, or the section at the end of the text.
  /// A value of more than one line cannot be kept: error 5 "Invalid procedure call or argument".
  void Set(std::string_view section, std::string_view key, std::string_view value);

  /// The sections as they are first written, each once, in the order of the text.
  std::vector<std::string> Sections() const;

  /// The keys of a section in the order of the text, in all parts of the section; a key that stands twice comes twice.
  std::vector<Entry> Entries(std::string_view section) const;

  /// Takes every line of the key out. Without one nothing changes.
  void Remove(std::string_view section, std::string_view key);
  /// Takes every part of the section out, up to the next section: keys, comments and blank lines.
  void RemoveSection(std::string_view section);

  /// The whole text, byte for byte as it came in but for what was set or removed.
  std::string Text() const;

 private:
  enum class LineKind { Other, Section, Entry };
  struct Line {
    std::string raw;  ///< with its line end, if it has one
    LineKind kind = LineKind::Other;
    std::string name;            ///< section or key, in the folded form under which names compare
    std::size_t valueBegin = 0;  ///< Entry: where the value's bytes stand in `raw`
    std::size_t valueEnd = 0;
  };
  /// Where a key is, or where it would go.
  struct Place {
    std::optional<std::size_t> entry;     ///< the key's line
    std::optional<std::size_t> lastLine;  ///< header or last entry of the first part of the section
  };

  static Line Parsed(std::string raw);
  static Entry EntryOf(const Line& line);
  Place Locate(std::string_view section, std::string_view key) const;
  void AddSection(std::string_view section);
  void InsertLine(std::size_t position, std::string_view content);
  void EndLine(std::size_t index);

  std::vector<Line> lines_;
  std::string lineEnd_ = "\n";
};

}  // namespace mv
