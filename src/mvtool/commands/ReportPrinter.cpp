#include "mvtool/commands/ReportPrinter.h"

#include <string>

#include "json/Json.h"

namespace mv::tool {
namespace {

void AddSide(JsonWriter& writer, std::string_view name, const history::SideCounts& side) {
  writer.Name(name).BeginObject().Name("before").Integer(side.before).Name("after").Integer(side.after);
  writer.Name("added").Integer(side.added).Name("changed").Integer(side.changed).Name("deleted").Integer(side.deleted);
  writer.EndObject();
}

std::string JsonOf(const history::TableRecord& table) {
  JsonWriter writer;
  writer.BeginObject().Name("table").Text(table.table);
  AddSide(writer, "desktop", table.desktop);
  AddSide(writer, "handheld", table.handheld);
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
