#include <algorithm>
#include <ostream>

#include "jet/Database.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/Overwriting.h"
#include "mvtool/files/OtherObjects.h"
#include "mvtool/files/ToolErrors.h"
#include "mvtool/text/SchemaJson.h"

namespace mv::tool {
namespace {

constexpr std::string_view kTemplateHelp =
    "  Makes an empty copy of a database, to be the template \"_20\" that an Overwrite\n"
    "  PC run starts from: its own tables in their order, with columns, indexes and\n"
    "  properties (required, default value ...), without rows; numbers that tables\n"
    "  give start anew. Relations, queries, linked tables, forms and the like are\n"
    "  named on standard error and left out.\n"
    "    --force  replaces an existing file\n";

bool HasOtherSortOrder(const jet::TableDefinition& table) {
  return std::any_of(table.columns.begin(), table.columns.end(), [](const jet::Column& column) {
    const bool isText = column.type == jet::ColumnType::Text || column.type == jet::ColumnType::Memo;
    return isText && column.sortOrder != jet::SortOrder();
  });
}

void CopyTable(jet::Database& source, const jet::CatalogObject& object, jet::Database& target, ToolContext& context) {
  const jet::TableDefinition& definition = source.OpenTable(object.name).Definition();
  jet::TableSpec design = SpecOf(definition);
  design.properties = source.PropertyList(object);
  target.CreateTable(design, context.clock.Now());
  if (!HasOtherSortOrder(definition)) return;
  context.err << "mvtool: table \"" << object.name << "\": text is sorted by the General order in the copy\n";
}

void MakeTemplate(const Arguments& arguments, ToolContext& context) {
  const std::string& path = arguments.Operand(1);
  RequireReplaceable(context.files, path, arguments);
  const auto source = jet::Database::Open(context.files, arguments.Operand(0), jet::PageFile::Mode::ReadOnly);
  const auto target = jet::Database::Create(context.files, path, context.clock.Now());
  for (const jet::CatalogObject& object : UserTables(*source)) {
    try {
      CopyTable(*source, object, *target, context);
    } catch (const Error& error) {
      throw At("table \"" + object.name + "\"", error);
    }
  }
  ReportOtherObjects(*source, OtherObjects::All, "not copied:", context.err);
  target->Commit();
}

}  // namespace

Command TemplateCommand() {
  return {
      .name = "template",
      .group = CommandGroup::Files,
      .summary = "makes an empty copy of a database, for \"_20\"",
      .help = kTemplateHelp,
      .rules = {.synopsis = "mvtool template FILE.db OUT [--force]",
                .leastOperands = 2,
                .mostOperands = 2,
                .switches = {kForce},
                .settings = {},
                .operands = {Operand::File}},
      .run = &MakeTemplate,
  };
}

}  // namespace mv::tool
