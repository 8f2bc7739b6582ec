#include <optional>
#include <sstream>
#include <string>

#include "base/Error.h"
#include "base/Text.h"
#include "json/JsonLines.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/CsvFile.h"
#include "mvtool/commands/Overwriting.h"
#include "mvtool/files/ToolErrors.h"
#include "mvtool/text/CsvReader.h"
#include "mvtool/text/RecordJson.h"
#include "pdb/HandheldType.h"

namespace mv::tool {
namespace {

constexpr std::string_view kMakeHelp =
    "  Makes a table file of JSON lines from standard input. The first line:\n"
    "    {\"creator\":\"BRND\",\"fields\":[{\"name\":\"KY_RECID\",\"type\":5},...]}\n"
    "  Types: 1 byte, 2 16-bit and 3 32-bit integer, 4 single, 5 text, 6 Boolean,\n"
    "  7 date, 8 double, 9 currency. A member \"name\" gives the table's name when it\n"
    "  is not that of the file. Then one line for each record, in either form:\n"
    "    {\"attributes\":64,\"uniqueId\":17,\"values\":{\"KY_RECID\":\"a1\",...}}\n"
    "    {\"_attributes\":64,\"_uniqueId\":17,\"KY_RECID\":\"a1\",...}\n"
    "  \"values\" may also be an array. Attributes: 64 modified, 128 deleted. A unique\n"
    "  ID of 0, or none, draws the next free one. Values are written as \"show\" prints\n"
    "  them; what is null or left out is \"\", 0, false or 1904-01-01. So\n"
    "    (mvtool show --schema A.pdb; mvtool show A.pdb) | mvtool make B.pdb\n"
    "  copies a table.\n"
    "    --csv FILE     takes the records from a CSV file, as \"show --csv\" prints\n"
    "                   them; \"-\" is standard input. Columns that are left out are\n"
    "                   zero. Needs one of the next two\n"
    "    --like FILE    the fields are those of this table file\n"
    "    --schema FILE  the fields are those that the first line of a file describes\n"
    "    --force  replaces an existing file\n";

/// "brnd_Fuel" for "C:\x\brnd_Fuel.pdb".
std::string NameWithoutExtension(const std::string& path) {
  const std::string name = path.substr(FolderLength(path));
  const std::size_t dot = name.rfind('.');
  return dot == 0 ? name : name.substr(0, dot);
}

constexpr std::string_view kCsv = "--csv";
constexpr std::string_view kLike = "--like";
constexpr std::string_view kSchema = "--schema";

void AddRecords(TableFileWriter& writer, const TableFileHeader& table, JsonLines& lines) {
  while (const Json* const line = lines.Next()) {
    const HandheldRecord record = RecordFromJson(*line, table);
    try {
      writer.Add(record);
    } catch (const Error& error) {
      throw At("line " + std::to_string(lines.Number()), error);
    }
  }
}

/// What the records of a table file have as columns.
std::optional<DataType> TypeOfColumn(const TableFileHeader& table, const std::string& name) {
  if (name == kAttributesMember || name == kUniqueIdMember) return DataType::Integer;
  for (const TableFileField& field : table.fields) {
    if (field.name != name) continue;
    const std::optional<HandheldType> type = HandheldTypeNumbered(field.type);
    return type ? DataTypeOf(*type) : DataType::BStr;
  }
  return std::nullopt;
}

TableFileHeader HeaderFromLine(JsonLines& lines, const std::string& source, const std::string& path) {
  const Json* const first = lines.Next();
  if (first == nullptr) throw Failure(source + " is empty; its first line must describe the fields");
  return HeaderFromJson(*first, NameWithoutExtension(path));
}

TableFileHeader HeaderFromFile(platform::FileSystem& files, const std::string& schemaPath, const std::string& path) {
  try {
    const Bytes bytes = platform::ReadWhole(files, schemaPath);
    std::istringstream text(std::string(bytes.begin(), bytes.end()));
    JsonLines lines(text);
    return HeaderFromLine(lines, "the file", path);
  } catch (const Error& error) {
    throw At(schemaPath, error);
  }
}

/// The fields that --like or --schema gives; the name is that of the new file where the schema has none.
TableFileHeader GivenHeader(const Arguments& arguments, ToolContext& context) {
  const std::string& path = arguments.Operand(0);
  const std::optional<std::string> like = arguments.ValueOf(kLike);
  const std::optional<std::string> schema = arguments.ValueOf(kSchema);
  if (like.has_value() == schema.has_value()) throw UsageError("--csv needs one of --like and --schema");
  if (schema) return HeaderFromFile(context.files, *schema, path);
  TableFileHeader header = TableFileReader(context.files, *like).Header();
  header.name = NameWithoutExtension(path);
  return header;
}

void AddRows(TableFileWriter& writer, const TableFileHeader& table, CsvFile& file) {
  try {
    CsvRows rows(file.Stream(), [&table](const std::string& name) { return TypeOfColumn(table, name); });
    while (const std::optional<Json> row = rows.Next()) {
      const HandheldRecord record = RecordAsShown(*row, table);
      try {
        writer.Add(record);
      } catch (const Error& error) {
        throw At("line " + std::to_string(row->Position().line), error);
      }
    }
  } catch (const Error& error) {
    throw At(file.Name(), error);
  }
}

void MakeFromCsv(const Arguments& arguments, const std::string& csvPath, ToolContext& context) {
  const TableFileHeader header = GivenHeader(arguments, context);
  CsvFile file(context, csvPath);
  TableFileWriter writer(header, context.clock);
  AddRows(writer, header, file);
  writer.WriteTo(context.files, arguments.Operand(0));
}

void MakeFromLines(const Arguments& arguments, ToolContext& context) {
  const std::string& path = arguments.Operand(0);
  JsonLines lines(context.in);
  const TableFileHeader header = HeaderFromLine(lines, "standard input", path);
  TableFileWriter writer(header, context.clock);
  AddRecords(writer, header, lines);
  writer.WriteTo(context.files, path);
}

void Make(const Arguments& arguments, ToolContext& context) {
  RequireReplaceable(context.files, arguments.Operand(0), arguments);
  if (const std::optional<std::string> csv = arguments.ValueOf(kCsv)) return MakeFromCsv(arguments, *csv, context);
  if (arguments.ValueOf(kLike) || arguments.ValueOf(kSchema)) throw UsageError("--like and --schema go with --csv");
  MakeFromLines(arguments, context);
}

}  // namespace

Command MakeCommand() {
  return {
      .name = "make",
      .group = CommandGroup::Files,
      .summary = "makes a table file from JSON lines or CSV",
      .help = kMakeHelp,
      .rules = {.synopsis = "mvtool make FILE.pdb [--force] < LINES.jsonl\n"
                            "mvtool make FILE.pdb --csv FILE.csv {--like FILE.pdb | --schema FILE} [--force]",
                .leastOperands = 1,
                .mostOperands = 1,
                .switches = {kForce},
                .settings = {kCsv, kLike, kSchema},
                .operands = {Operand::File}},
      .run = &Make,
  };
}

}  // namespace mv::tool
