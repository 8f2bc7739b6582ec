#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bytes.h"
#include "check/Finding.h"

namespace mv::check {

/// Where a check is. Cheap to make and to pass on: names are views of the definitions, which outlive the check.
struct Place {
  std::string_view table = {};
  std::string_view index = {};
  std::string_view column = {};
  std::optional<jet::PageNumber> page = {};
  std::optional<std::uint8_t> row = {};

  Place OnPage(jet::PageNumber number) const {
    return {.table = table, .index = index, .column = column, .page = number, .row = {}};
  }
  Place AtRow(jet::RowId address) const {
    Place place = OnPage(address.page);
    place.row = address.slot;
    return place;
  }
  Place OfIndex(std::string_view name) const {
    Place place = *this;
    place.index = name;
    return place;
  }
  Place OfColumn(std::string_view name) const {
    Place place = *this;
    place.column = name;
    return place;
  }
};

/// Bytes to be shown in a text, in hex; long ones are cut.
struct Hex {
  ByteView bytes;
};

/// Collects findings. Of each kind and severity the first kKeptOfAKind are kept and the others counted, which costs
/// nothing more: the parts of a text are put together only when it is kept.
class Findings {
 public:
  static constexpr std::size_t kKeptOfAKind = 100;

  /// `parts`: texts, whole numbers, row addresses and Hex, put together to the finding's text.
  template <typename... Parts>
  void Damage(Kind kind, const Place& place, const Parts&... parts) {
    Add(Severity::Damage, kind, place, parts...);
  }
  template <typename... Parts>
  void Note(Kind kind, const Place& place, const Parts&... parts) {
    Add(Severity::Note, kind, place, parts...);
  }

  std::size_t Damages() const { return total_[0]; }

  /// Moves what was found into the report.
  void MoveInto(Report& report);

 private:
  template <typename... Parts>
  void Add(Severity severity, Kind kind, const Place& place, const Parts&... parts) {
    ++total_[static_cast<std::size_t>(severity)];
    if (++counts_[static_cast<std::size_t>(severity)][static_cast<std::size_t>(kind)] > kKeptOfAKind) return;
    std::string text;
    (Append(text, parts), ...);
    Keep(severity, kind, place, std::move(text));
  }
  void Keep(Severity severity, Kind kind, const Place& place, std::string text);

  static void Append(std::string& text, std::string_view part) { text += part; }
  static void Append(std::string& text, std::integral auto number) { text += std::to_string(number); }
  static void Append(std::string& text, jet::RowId row) {
    text += std::to_string(row.page) + '/' + std::to_string(row.slot);
  }
  static void Append(std::string& text, Hex hex);

  std::vector<Finding> kept_;
  std::array<std::array<std::size_t, kKinds>, 2> counts_ = {};
  std::array<std::size_t, 2> total_ = {};
};

}  // namespace mv::check
