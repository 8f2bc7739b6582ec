#include "check/Finding.h"

#include <array>

namespace mv::check {
namespace {

constexpr std::array<std::string_view, kKinds> kKindNames = {
    "file",   "header",     "commit-word", "account",    "page",        "page-owner", "free-page",   "map",
    "slot",   "free-space", "row",         "row-count",  "moved-row",   "value",      "long-value",  "definition",
    "column", "relation",   "index",       "index-page", "index-order", "index-key",  "index-entry", "unique",
    "null",   "catalog",    "permission",  "property",   "autonumber",  "reference",  "handheld"};

void AppendWhere(std::string& line, std::string_view what, std::string_view name) {
  if (name.empty()) return;
  if (!line.empty()) line += ", ";
  line += what;
  line += ' ';
  line += name;
}

std::string Counted(std::size_t count, std::string_view one) {
  std::string text = std::to_string(count) + ' ';
  text += one;
  if (count == 1) return text;
  if (text.ends_with('x')) return text + "es";
  return text + 's';
}

}  // namespace

std::string_view NameOf(Severity severity) {
  return severity == Severity::Damage ? "damage" : "note";
}

std::string_view NameOf(Kind kind) {
  return kKindNames.at(static_cast<std::size_t>(kind));
}

std::string LineOf(const Finding& finding) {
  std::string where;
  AppendWhere(where, "table", finding.table);
  AppendWhere(where, "index", finding.index);
  AppendWhere(where, "column", finding.column);
  if (finding.page) AppendWhere(where, "page", std::to_string(*finding.page));
  if (finding.row) AppendWhere(where, "row", std::to_string(*finding.row));
  std::string line(NameOf(finding.severity));
  line += ": ";
  if (!where.empty()) line += where + ": ";
  return line + finding.text;
}

std::string LineOf(const Omission& omission) {
  std::string line(NameOf(omission.severity));
  line += ": ";
  line += NameOf(omission.kind);
  return line + ": and " + std::to_string(omission.count) + " more";
}

std::string SummaryOf(const Report& report) {
  if (!report.checked) return "not checked";
  std::string line = Counted(report.pages, "page") + ", " + Counted(report.tables, "table") + ", " +
                     Counted(report.rows, "row") + ", " + Counted(report.indexes, "index") + ": ";
  if (report.IsSound()) {
    line += "sound";
  } else {
    line += Counted(report.damages, "damage");
  }
  if (report.notes != 0) line += ", " + Counted(report.notes, "note");
  return line;
}

}  // namespace mv::check
