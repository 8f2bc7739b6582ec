#include <ostream>

#include "jet/Database.h"
#include "mvtool/commands/Command.h"

namespace mv::tool {
namespace {

void List(const Arguments& arguments, ToolContext& context) {
  const auto database = jet::Database::Open(context.files, arguments.Operand(0), jet::PageFile::Mode::ReadOnly);
  for (const std::string& name : database->TableNames()) context.out << name << '\n';
}

}  // namespace

Command ListCommand() {
  return {
      .name = "list",
      .group = CommandGroup::Files,
      .summary = "prints the names of a database's tables",
      .help = "  Prints the names of the database's tables, one a line.\n",
      .rules = {.synopsis = "mvtool list FILE.db",
                .leastOperands = 1,
                .mostOperands = 1,
                .switches = {},
                .settings = {},
                .operands = {Operand::File}},
      .run = &List,
  };
}

}  // namespace mv::tool
