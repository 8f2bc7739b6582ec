#include <ostream>

#include "base/Text.h"
#include "jet/Database.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/Overwriting.h"
#include "mvtool/files/ExportNames.h"
#include "mvtool/files/OtherObjects.h"
#include "mvtool/files/StagedOutput.h"
#include "mvtool/files/ToolErrors.h"
#include "mvtool/text/TableRows.h"

namespace mv::tool {
namespace {

constexpr std::string_view kExportHelp =
    "  Writes every table of the database as DIR/TABLE.csv, in the form of\n"
    "  \"show --csv\", and prints the names of the files. Makes the folder when it is\n"
    "  missing. Characters that file names cannot have, and those that keep two names\n"
    "  apart, are written as % and two hex digits. Linked tables and queries are\n"
    "  named on standard error and left out, and so is a table that cannot be read;\n"
    "  then the exit status is 1.\n"
    "    --force  replaces files that exist\n";

std::string PathIn(const std::string& folder, const std::string& name) {
  const bool hasSeparator = FolderLength(folder) == folder.size();
  return folder + (hasSeparator ? "" : "/") + name;
}

void ExportTable(jet::Database& database, const std::string& name, const std::string& path,
                 platform::FileSystem& files) {
  StagedOutput output(files, path);
  WriteRows(database.OpenTable(name), RowFormat::Csv, output.Stream());
  output.Finish();
}

void Export(const Arguments& arguments, ToolContext& context) {
  const auto database = jet::Database::Open(context.files, arguments.Operand(0), jet::PageFile::Mode::ReadOnly);
  const std::string& folder = arguments.Operand(1);
  const std::vector<std::string> tables = database->TableNames();
  std::vector<std::string> paths = ExportFileNames(tables);
  for (std::string& path : paths) {
    path = PathIn(folder, path);
    RequireReplaceable(context.files, path, arguments);
  }
  ReportOtherObjects(*database, OtherObjects::RowSources, "not exported:", context.err);
  context.files.CreateFolders(folder);
  std::size_t failed = 0;
  for (std::size_t i = 0; i < tables.size(); ++i) {
    try {
      ExportTable(*database, tables[i], paths[i], context.files);
      context.out << paths[i] << '\n';
    } catch (const Error& error) {
      // One damaged table is no reason to keep the others back; a disk that is full is.
      if (error.Number() != errors::kJetGeneral) throw At(paths[i], error);
      context.err << "mvtool: not exported: table \"" << tables[i] << "\": " << error.Description() << '\n';
      ++failed;
    }
  }
  if (failed != 0) {
    throw Failure(std::to_string(failed) + " of " + std::to_string(tables.size()) + " tables were not exported");
  }
}

}  // namespace

Command ExportCommand() {
  return {
      .name = "export",
      .group = CommandGroup::Files,
      .summary = "writes every table of a database as CSV",
      .help = kExportHelp,
      .rules = {.synopsis = "mvtool export FILE.db DIR [--force]",
                .leastOperands = 2,
                .mostOperands = 2,
                .switches = {kForce},
                .settings = {},
                .operands = {Operand::File, Operand::Folder}},
      .run = &Export,
  };
}

}  // namespace mv::tool
