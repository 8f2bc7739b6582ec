#include "mvtool/commands/ReportPrinter.h"

#include <string>

#include "json/Json.h"

namespace mv::tool {
namespace {

std::string JsonOf(const history::TableRecord& table) {
  JsonWriter writer;
  writer.BeginObject().Name("table").Text(table.table);
  WriteSide(writer, "desktop", table.desktop);
  WriteSide(writer, "handheld", table.handheld);
  writer.Name("dropped").Integer(table.dropped).Name("overruled").Integer(table.overruled);
  return writer.EndObject().Result();
}

}  // namespace

void PrintReport(const std::vector<history::Change>& changes, std::span<const history::TableRecord> tables, bool json,
                 std::ostream& out) {
  const auto printRows = [&](bool losses) {
    for (const history::Change& change : changes) {
      if (IsLoss(change.what) != losses) continue;
      out << (json ? JsonLineOf(change) : LineOf(change)) << '\n';
    }
  };
  printRows(true);
  for (const history::TableRecord& table : tables) out << (json ? JsonOf(table) : SummaryOf(table)) << '\n';
  printRows(false);
}

}  // namespace mv::tool
