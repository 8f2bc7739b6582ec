#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/Text.h"
#include "history/Change.h"
#include "jet/Database.h"
#include "json/Json.h"
#include "mvtool/commands/Command.h"
#include "mvtool/files/FileKind.h"
#include "mvtool/files/RowSource.h"
#include "mvtool/files/TableDiff.h"
#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

constexpr int kDifferent = 1;
constexpr int kFailed = 3;

constexpr std::string_view kTable = "--table";
constexpr std::string_view kJson = "--json";

constexpr std::string_view kDiffHelp =
    "  Compares two databases table by table, a table of a database with a table\n"
    "  file, or two table files, and prints each row of B that is added, changed or\n"
    "  deleted against A, then the counts of the table. Nothing is printed for what\n"
    "  is the same. Rows are matched by the field by which runs match them, in other\n"
    "  tables by the primary key; without one, rows are equal or they are not. A\n"
    "  table file is compared with a database by what the handheld can hold.\n"
    "    --table T  this table only; a table file's own name when it is left out\n"
    "    --json     one JSON object a row or table\n"
    "  Exit status: 0 the same, 1 different, 2 misuse, 3 it failed.\n";

/// Prints differences and remembers whether there were any.
class Printer {
 public:
  Printer(bool json, std::ostream& out) : json_(json), out_(out) {}

  bool HasPrinted() const { return hasPrinted_; }

  void Row(const history::Change& change) {
    hasPrinted_ = true;
    if (json_) {
      JsonWriter writer;
      writer.BeginObject().Name("table").Text(change.table).Name("key").Text(change.key);
      writer.Name("what").Text(NameOf(change.what));
      writer.Name("before").Number(change.before.empty() ? "null" : change.before);
      writer.Name("after").Number(change.after.empty() ? "null" : change.after);
      out_ << writer.EndObject().Result() << '\n';
    } else {
      out_ << change.table << (change.key.empty() ? "" : " ") << change.key << ": " << NameOf(change.what) << ": "
           << DifferenceOf(change) << '\n';
    }
  }

  void Table(const std::string& name, const TableDiff& diff) {
    if (diff.IsSame()) return;
    hasPrinted_ = true;
    for (const std::string& column : diff.onlyBefore) Column(name, column, "A");
    for (const std::string& column : diff.onlyAfter) Column(name, column, "B");
    if (json_) {
      JsonWriter writer;
      writer.BeginObject().Name("table").Text(name).Name("added").Integer(static_cast<std::int64_t>(diff.added));
      writer.Name("changed").Integer(static_cast<std::int64_t>(diff.changed));
      writer.Name("deleted").Integer(static_cast<std::int64_t>(diff.deleted));
      out_ << writer.EndObject().Result() << '\n';
    } else {
      out_ << name << ": +" << diff.added << " ~" << diff.changed << " -" << diff.deleted << '\n';
    }
  }

  /// A table that one of the two alone has.
  void LoneTable(const std::string& name, const char* side) {
    hasPrinted_ = true;
    if (!json_) {
      out_ << name << ": only in " << side << '\n';
      return;
    }
    JsonWriter writer;
    out_ << writer.BeginObject().Name("table").Text(name).Name("onlyIn").Text(side).EndObject().Result() << '\n';
  }

 private:
  void Column(const std::string& table, const std::string& column, const char* side) {
    if (!json_) {
      out_ << table << ": column " << column << " only in " << side << '\n';
      return;
    }
    JsonWriter writer;
    writer.BeginObject().Name("table").Text(table).Name("column").Text(column).Name("onlyIn").Text(side);
    out_ << writer.EndObject().Result() << '\n';
  }

  bool json_;
  std::ostream& out_;
  bool hasPrinted_ = false;
};

/// One of the two files.
struct Input {
  std::string path;
  std::unique_ptr<jet::Database> database;  ///< one of these two
  std::unique_ptr<TableFileReader> file;
};

Input Open(ToolContext& context, const std::string& path) {
  Input input{path, nullptr, nullptr};
  if (KindOf(context.files, path) == FileKind::Database) {
    input.database = jet::Database::Open(context.files, path, jet::PageFile::Mode::ReadOnly);
  } else {
    input.file = std::make_unique<TableFileReader>(context.files, path);
  }
  return input;
}

void CompareTables(RowSource& before, RowSource& after, Printer& printer) {
  const TableDiff diff = Compare(before, after, [&](const history::Change& change) { printer.Row(change); });
  printer.Table(before.Name(), diff);
}

void CompareTables(Input& before, Input& after, const std::string& table, Printer& printer) {
  const auto from = RowsOf(before.database->OpenTable(table));
  const auto to = RowsOf(after.database->OpenTable(table));
  CompareTables(*from, *to, printer);
}

std::set<std::string> Folded(const std::vector<std::string>& names) {
  std::set<std::string> folded;
  for (const std::string& name : names) folded.insert(FoldCase(name));
  return folded;
}

void CompareDatabases(Input& before, Input& after, Printer& printer) {
  const std::vector<std::string> tables = before.database->TableNames();
  const std::vector<std::string> others = after.database->TableNames();
  const std::set<std::string> known = Folded(tables);
  const std::set<std::string> knownOthers = Folded(others);
  for (const std::string& table : tables) {
    if (knownOthers.contains(FoldCase(table))) {
      CompareTables(before, after, table, printer);
    } else {
      printer.LoneTable(table, "A");
    }
  }
  for (const std::string& table : others) {
    if (!known.contains(FoldCase(table))) printer.LoneTable(table, "B");
  }
}

/// The rows of the table `name` of a database, or of a table file that is compared with the file `other`.
std::unique_ptr<RowSource> RowsIn(Input& input, const std::string& name, const Input& other) {
  if (input.database != nullptr) return RowsOf(input.database->OpenTable(name));
  return RowsOf(std::move(input.file), other.database == nullptr);
}

void CompareWithFile(Input& before, Input& after, const std::optional<std::string>& table, Printer& printer) {
  if (table && before.database == nullptr && after.database == nullptr) {
    throw UsageError("--table names a table of a database");
  }
  const Input& file = before.database == nullptr ? before : after;
  const std::string name = table ? *table : file.file->Header().name;
  const auto from = RowsIn(before, name, after);
  const auto to = RowsIn(after, name, before);
  CompareTables(*from, *to, printer);
}

void Diff(const Arguments& arguments, ToolContext& context) {
  context.failureStatus = kFailed;
  const std::optional<std::string> table = arguments.ValueOf(kTable);
  Input before = Open(context, arguments.Operand(0));
  Input after = Open(context, arguments.Operand(1));
  Printer printer(arguments.Has(kJson), context.out);
  if (before.database == nullptr || after.database == nullptr) {
    CompareWithFile(before, after, table, printer);
  } else if (table) {
    CompareTables(before, after, *table, printer);
  } else {
    CompareDatabases(before, after, printer);
  }
  if (printer.HasPrinted()) context.exitStatus = kDifferent;
}

}  // namespace

Command DiffCommand() {
  return {
      .name = "diff",
      .group = CommandGroup::Files,
      .summary = "compares databases and table files row by row",
      .help = kDiffHelp,
      .rules = {.synopsis = "mvtool diff A B [--table T] [--json]",
                .leastOperands = 2,
                .mostOperands = 2,
                .switches = {kJson},
                .settings = {kTable},
                .operands = {Operand::File}},
      .run = &Diff,
  };
}

}  // namespace mv::tool
