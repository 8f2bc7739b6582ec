#include "check/Findings.h"

#include <algorithm>
#include <utility>

#include "base/Utf.h"

namespace mv::check {
namespace {

constexpr std::size_t kShownBytes = 24;
constexpr Severity kSeverities[] = {Severity::Damage, Severity::Note};

}  // namespace

void Findings::Keep(Severity severity, Kind kind, const Place& place, std::string text) {
  Finding finding;
  finding.severity = severity;
  finding.kind = kind;
  finding.table = place.table;
  finding.index = place.index;
  finding.column = place.column;
  finding.page = place.page;
  if (place.row) finding.row = *place.row;
  finding.text = std::move(text);
  kept_.push_back(std::move(finding));
}

void Findings::Append(std::string& text, Hex hex) {
  constexpr char kDigits[] = "0123456789abcdef";
  for (const std::uint8_t byte : hex.bytes.first(std::min(hex.bytes.size(), kShownBytes))) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  if (hex.bytes.size() > kShownBytes) text += "... (" + std::to_string(hex.bytes.size()) + " bytes)";
}

void Findings::MoveInto(Report& report) {
  report.findings = std::move(kept_);
  report.damages = total_[0];
  report.notes = total_[1];
  for (const Severity severity : kSeverities) {
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
      const std::size_t count = counts_[static_cast<std::size_t>(severity)][kind];
      if (count > kKeptOfAKind) report.omissions.push_back({severity, static_cast<Kind>(kind), count - kKeptOfAKind});
    }
  }
}

}  // namespace mv::check
