#include <ostream>

#include "base/Error.h"
#include "check/DatabaseCheck.h"
#include "jet/file/DatabaseFile.h"
#include "json/Json.h"
#include "mvtool/commands/Command.h"
#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

constexpr std::string_view kCheckHelp =
    "  Verifies the structure of a database: pages, maps, definitions, rows, long\n"
    "  values, indexes, catalog. Prints one finding a line with the place, then a\n"
    "  line that sums up. Changes nothing.\n"
    "    --strict  notes count as damage for the exit status; right for databases\n"
    "              that MVPPCSync alone has written\n"
    "    --json    one JSON object a finding, then one that sums up\n"
    "  \"damage\" violates the format. A \"note\" is what databases of other programs\n"
    "  are known to show, or what is worth knowing. Exit status: 0 sound, 1 damage,\n"
    "  or the database could not be read, 2 not a Jet 4 database.\n";

/// The whole file, kept from writers while it is read.
Bytes ReadDatabase(platform::FileSystem& files, const std::string& path) {
  try {
    return platform::ReadWhole(*jet::OpenDatabaseFile(files, path, jet::DatabaseAccess::Read));
  } catch (const Error& error) {
    throw jet::JetErrorFor(error, path);
  }
}

void PrintLines(const check::Report& report, std::ostream& out) {
  for (const check::Finding& finding : report.findings) out << LineOf(finding) << '\n';
  for (const check::Omission& omission : report.omissions) out << LineOf(omission) << '\n';
  out << SummaryOf(report) << '\n';
}

void WriteCount(JsonWriter& writer, std::string_view name, std::size_t count) {
  writer.Name(name).Integer(static_cast<std::int64_t>(count));
}

void WriteName(JsonWriter& writer, std::string_view name, std::string_view text) {
  if (!text.empty()) writer.Name(name).Text(text);
}

void PrintFinding(const check::Finding& finding, JsonWriter& writer) {
  writer.BeginObject().Name("severity").Text(NameOf(finding.severity)).Name("kind").Text(NameOf(finding.kind));
  WriteName(writer, "table", finding.table);
  WriteName(writer, "index", finding.index);
  WriteName(writer, "column", finding.column);
  if (finding.page) WriteCount(writer, "page", *finding.page);
  if (finding.row) WriteCount(writer, "row", *finding.row);
  writer.Name("text").Text(finding.text).EndObject();
}

void PrintOmission(const check::Omission& omission, JsonWriter& writer) {
  writer.BeginObject().Name("severity").Text(NameOf(omission.severity)).Name("kind").Text(NameOf(omission.kind));
  WriteCount(writer, "more", omission.count);
  writer.EndObject();
}

void PrintSummary(const check::Report& report, JsonWriter& writer) {
  writer.BeginObject().Name("checked").Boolean(report.checked).Name("sound").Boolean(report.IsSound());
  WriteCount(writer, "pages", report.pages);
  WriteCount(writer, "freePages", report.freePages);
  WriteCount(writer, "tables", report.tables);
  WriteCount(writer, "rows", report.rows);
  WriteCount(writer, "indexes", report.indexes);
  WriteCount(writer, "damages", report.damages);
  WriteCount(writer, "notes", report.notes);
  writer.EndObject();
}

void PrintJson(const check::Report& report, std::ostream& out) {
  JsonWriter writer;
  const auto print = [&](const auto& what, auto write) {
    writer.Clear();
    write(what, writer);
    out << writer.Result() << '\n';
  };
  for (const check::Finding& finding : report.findings) print(finding, PrintFinding);
  for (const check::Omission& omission : report.omissions) print(omission, PrintOmission);
  print(report, PrintSummary);
}

/// A file of another kind is not damaged: it is not for this program.
void RefuseKind(const std::string& path, const check::Report& report, ToolContext& context) {
  const std::string what = report.findings.empty() ? "it cannot be checked" : report.findings.front().text;
  context.err << "mvtool: \"" << path << "\": not a Jet 4 database: " << what << '\n';
  context.exitStatus = kNotUnderstood;
}

void Check(const Arguments& arguments, ToolContext& context) {
  const std::string& path = arguments.Operand(0);
  const check::Report report = check::CheckDatabase(ReadDatabase(context.files, path));
  if (!report.checked) return RefuseKind(path, report, context);
  if (arguments.Has("--json")) {
    PrintJson(report, context.out);
  } else {
    PrintLines(report, context.out);
  }
  if (!report.IsSound()) throw Failure("\"" + path + "\" is damaged");
  if (report.notes != 0 && arguments.Has("--strict")) throw Failure("\"" + path + "\" is sound, but has notes");
}

}  // namespace

Command CheckCommand() {
  return {
      .name = "check",
      .group = CommandGroup::Files,
      .summary = "verifies the structure of a database",
      .help = kCheckHelp,
      .rules = {.synopsis = "mvtool check FILE.db [--strict] [--json]",
                .leastOperands = 1,
                .mostOperands = 1,
                .switches = {"--strict", "--json"},
                .settings = {},
                .operands = {Operand::File}},
      .run = &Check,
  };
}

}  // namespace mv::tool
