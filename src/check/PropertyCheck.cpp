#include "check/PropertyCheck.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "base/Utf.h"
#include "check/PageReader.h"

namespace mv::check {
namespace {

constexpr std::uint8_t kMark[] = {'M', 'R', '2', 0};
constexpr std::size_t kBlockKindAt = 4;
constexpr std::size_t kBlockHead = 6;
constexpr std::uint16_t kNames = 0x80;
constexpr std::uint16_t kOfObject = 0;
constexpr std::uint16_t kOfColumn = 1;
constexpr std::size_t kOwnerNameSizeAt = 4;
constexpr std::size_t kOwnerNameAt = 6;
constexpr std::size_t kEntryTypeAt = 3;
constexpr std::size_t kEntryNameAt = 4;
constexpr std::size_t kEntryValueSizeAt = 6;
constexpr std::size_t kEntryHead = 8;
constexpr std::uint8_t kBoolean = 1;
constexpr std::string_view kRequired = "Required";

std::string TextOf(ByteView bytes) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) units[i] = static_cast<char16_t>(Word16(bytes, 2 * i));
  return Utf8FromUtf16(units);
}

/// Goes through one list and stops at the first thing that does not fit.
class PropertyReader {
 public:
  /// What is wrong; empty when nothing is.
  std::string_view Read(ByteView list) {
    if (list.size() < sizeof kMark || !std::equal(std::begin(kMark), std::end(kMark), list.begin())) {
      return "the property list does not begin with MR2";
    }
    for (std::size_t at = sizeof kMark; at < list.size();) {
      if (list.size() - at < kBlockHead) return "the property list ends within a block";
      const std::size_t size = Word32(list, at);
      if (size < kBlockHead || size > list.size() - at) return "a block of the property list is too long or too short";
      const std::string_view wrong =
          ReadBlock(Word16(list, at + kBlockKindAt), list.subspan(at + kBlockHead, size - kBlockHead));
      if (!wrong.empty()) return wrong;
      at += size;
    }
    return {};
  }

  std::vector<std::string>& Required() { return required_; }

 private:
  std::string_view ReadBlock(std::uint16_t kind, ByteView body) {
    if ((kind == kNames) == hasNames_) return "the property list has no block of names, or more than one";
    hasNames_ = true;
    if (kind == kNames) return ReadNames(body);
    if (kind != kOfObject && kind != kOfColumn) return "a block of the property list is of an unknown kind";
    return ReadOwner(kind, body);
  }

  std::string_view ReadNames(ByteView body) {
    for (std::size_t at = 0; at < body.size();) {
      const std::size_t left = body.size() - at;
      if (left < 2 || Word16(body, at) > left - 2) return "a property's name does not fit into its block";
      names_.push_back(TextOf(body.subspan(at + 2, Word16(body, at))));
      at += 2u + Word16(body, at);
    }
    return {};
  }

  std::string_view ReadOwner(std::uint16_t kind, ByteView body) {
    if (body.size() < kOwnerNameAt) return "a block of the property list is too short for its owner";
    const std::size_t size = Word32(body, 0);
    const std::size_t nameSize = Word16(body, kOwnerNameSizeAt);
    if (size != kOwnerNameAt + nameSize || size > body.size()) return "the name of a property's owner does not fit";
    const std::string owner = kind == kOfColumn ? TextOf(body.subspan(kOwnerNameAt, nameSize)) : "";
    for (std::size_t at = size; at < body.size();) {
      const ByteView left = body.subspan(at);
      if (left.size() < kEntryHead || Word16(left, 0) < kEntryHead || Word16(left, 0) > left.size()) {
        return "a property does not fit into its block";
      }
      const ByteView entry = left.first(Word16(left, 0));
      if (const std::string_view wrong = ReadEntry(owner, entry); !wrong.empty()) return wrong;
      at += entry.size();
    }
    return {};
  }

  std::string_view ReadEntry(const std::string& owner, ByteView entry) {
    const std::size_t name = Word16(entry, kEntryNameAt);
    const std::size_t size = Word16(entry, kEntryValueSizeAt);
    if (name >= names_.size()) return "a property has a name that is not listed";
    if (size > entry.size() - kEntryHead) return "a property's value does not fit";
    const bool isTrue = entry[kEntryTypeAt] == kBoolean && size != 0 && entry[kEntryHead] != 0;
    if (!owner.empty() && isTrue && names_[name] == kRequired) required_.push_back(owner);
    return {};
  }

  bool hasNames_ = false;
  std::vector<std::string> names_;
  std::vector<std::string> required_;
};

}  // namespace

std::vector<std::string> CheckProperties(ByteView list, const Place& place, Findings& findings) {
  PropertyReader reader;
  if (const std::string_view wrong = reader.Read(list); !wrong.empty()) findings.Damage(Kind::Property, place, wrong);
  return std::move(reader.Required());
}

}  // namespace mv::check
