#include <optional>
#include <ostream>
#include <utility>

#include "jet/Database.h"
#include "json/Json.h"
#include "mvtool/commands/Command.h"
#include "mvtool/files/FileKind.h"
#include "mvtool/files/PropertiesOf.h"
#include "mvtool/files/ToolErrors.h"
#include "mvtool/text/RecordJson.h"
#include "mvtool/text/RowWriter.h"
#include "mvtool/text/SchemaJson.h"
#include "mvtool/text/TableRows.h"
#include "pdb/TableFile.h"

namespace mv::tool {
namespace {

constexpr std::string_view kShowHelp =
    "  Prints a table, one row a line, as JSON objects in UTF-8. For a database name\n"
    "  the table; rows come in the order in which they are stored. A file is\n"
    "  recognised by its content, not by its name.\n"
    "    --csv     as CSV with a header line (RFC 4180) instead; a null is an empty\n"
    "              field, an empty text is \"\"\n"
    "    --schema  the fields, their types and the indexes as one JSON object; fit\n"
    "              to go into the schema of \"create\", or for a table file to be the\n"
    "              first line of \"make\"\n"
    "  Currency is text with four places (\"12.5000\"), a date is ISO text\n"
    "  (\"2024-05-17T08:30:00\"), bytes are hex text, a number that is none is the text\n"
    "  \"NaN\", \"Infinity\" or \"-Infinity\".\n"
    "  Records of a table file begin with two members more: \"_attributes\" (64\n"
    "  modified, 128 deleted) and \"_uniqueId\".\n";

void ShowRecords(TableFileReader& reader, RowFormat format, std::ostream& out) {
  std::vector<std::string> names = {std::string(kAttributesMember), std::string(kUniqueIdMember)};
  for (const TableFileField& field : reader.Header().fields) names.push_back(field.name);
  const auto writer = MakeRowWriter(format, out, std::move(names));
  while (const std::optional<HandheldRecord> record = reader.Next()) {
    std::vector<Value> values = {record->attributes, static_cast<std::int32_t>(record->uniqueId)};
    values.insert(values.end(), record->values.begin(), record->values.end());
    writer->Write(values);
  }
}

void ShowDatabase(const Arguments& arguments, RowFormat format, ToolContext& context) {
  if (arguments.Count() < 2) throw UsageError("a database holds several tables: name the one to show");
  const auto database = jet::Database::Open(context.files, arguments.Operand(0), jet::PageFile::Mode::ReadOnly);
  const jet::Table& table = database->OpenTable(arguments.Operand(1));
  if (!arguments.Has("--schema")) return WriteRows(table, format, context.out);
  JsonWriter writer;
  const jet::TableDefinition& definition = table.Definition();
  WriteTableSpec(writer, SpecOf(definition), PropertiesOf(*database, definition, context.err));
  context.out << writer.Result() << '\n';
}

void ShowTableFile(const Arguments& arguments, RowFormat format, ToolContext& context) {
  if (arguments.Count() > 1) throw UsageError("a table file holds one table: give no table name");
  TableFileReader reader(context.files, arguments.Operand(0));
  if (!arguments.Has("--schema")) return ShowRecords(reader, format, context.out);
  JsonWriter writer;
  WriteHeader(writer, reader.Header());
  context.out << writer.Result() << '\n';
}

void Show(const Arguments& arguments, ToolContext& context) {
  if (arguments.Has("--csv") && arguments.Has("--schema")) throw UsageError("--csv and --schema exclude each other");
  const RowFormat format = arguments.Has("--csv") ? RowFormat::Csv : RowFormat::JsonLines;
  if (KindOf(context.files, arguments.Operand(0)) == FileKind::Database) {
    ShowDatabase(arguments, format, context);
  } else {
    ShowTableFile(arguments, format, context);
  }
}

}  // namespace

Command ShowCommand() {
  return {
      .name = "show",
      .group = CommandGroup::Files,
      .summary = "prints a table as JSON lines or CSV, or its schema",
      .help = kShowHelp,
      .rules = {.synopsis = "mvtool show FILE.db TABLE [--csv | --schema]\nmvtool show FILE.pdb [--csv | --schema]",
                .leastOperands = 1,
                .mostOperands = 2,
                .switches = {"--csv", "--schema"},
                .settings = {},
                .operands = {Operand::File, Operand::Table}},
      .run = &Show,
  };
}

}  // namespace mv::tool
