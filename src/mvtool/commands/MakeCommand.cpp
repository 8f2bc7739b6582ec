#include <optional>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "json/JsonLines.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/Overwriting.h"
#include "mvtool/files/ToolErrors.h"
#include "mvtool/text/RecordJson.h"

namespace mv::tool {
namespace {

constexpr std::string_view kHelp =
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
    "    --force  replaces an existing file\n";

/// "brnd_Fuel" for "C:\x\brnd_Fuel.pdb".
std::string NameWithoutExtension(const std::string& path) {
  const std::string name = path.substr(FolderLength(path));
  const std::size_t dot = name.rfind('.');
  return dot == 0 ? name : name.substr(0, dot);
}

void AddRecords(TableFileWriter& writer, const TableFileHeader& table, JsonLines& lines) {
  while (const std::optional<Json> line = lines.Next()) {
    const HandheldRecord record = RecordFromJson(*line, table);
    try {
      writer.Add(record);
    } catch (const Error& error) {
      throw At("line " + std::to_string(lines.Number()), error);
    }
  }
}

void Make(const Arguments& arguments, ToolContext& context) {
  const std::string& path = arguments.Operand(0);
  RequireReplaceable(context.files, path, arguments);
  JsonLines lines(context.in);
  const std::optional<Json> first = lines.Next();
  if (!first) throw Failure("standard input is empty; its first line must describe the fields");
  const TableFileHeader header = HeaderFromJson(*first, NameWithoutExtension(path));
  TableFileWriter writer(header, context.clock);
  AddRecords(writer, header, lines);
  writer.WriteTo(context.files, path);
}

}  // namespace

Command MakeCommand() {
  return {
      .name = "make",
      .group = CommandGroup::Files,
      .summary = "makes a table file from JSON lines",
      .help = kHelp,
      .rules = {.synopsis = "mvtool make FILE.pdb [--force] < LINES.jsonl",
                .leastOperands = 1,
                .mostOperands = 1,
                .switches = {kForce},
                .settings = {},
                .operands = {Operand::File}},
      .run = &Make,
  };
}

}  // namespace mv::tool
