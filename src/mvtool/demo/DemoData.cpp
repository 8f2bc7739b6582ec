#include "mvtool/demo/DemoData.h"

#include <array>
#include <string>
#include <utility>

#include "base/Text.h"
#include "mvtool/demo/DemoRows.h"
#include "mvtool/demo/SampleSchema.h"
#include "mvtool/files/ColumnTypes.h"
#include "pdb/FieldValue.h"
#include "pdb/RecordFlags.h"
#include "pdb/TableFormat.h"

namespace mv::tool {
namespace {

using Row = std::vector<Value>;

/// Rows a table of the varied plan, in the order of SampleTables().
constexpr std::array<std::size_t, kSampleTableCount> kVariedCounts = {28, 40, 36, 30, 54, 46, 50,
                                                                      32, 44, 38, 34, 52, 26};

/// Histories of the varied plan by row number; they repeat. No table has fewer rows than this has entries.
constexpr std::array<RowHistory, 20> kVariedHistories = {
    RowHistory::Same,
    RowHistory::EditedOnHandheld,
    RowHistory::Same,
    RowHistory::EditedOnDesktop,
    RowHistory::AddedOnDesktop,
    RowHistory::AddedOnHandheld,
    RowHistory::Same,
    RowHistory::DeletedOnHandheld,
    RowHistory::Same,
    RowHistory::DeletedOnDesktop,
    RowHistory::EditedThenDeletedOnHandheld,
    RowHistory::Same,
    RowHistory::KeyCaseEditedOnHandheld,
    RowHistory::AddedThenDeletedOnHandheld,
    RowHistory::Same,
    RowHistory::DeletedThenEnteredAgain,
    RowHistory::EditedOnHandheld,
    RowHistory::DuplicateDeleted,
    RowHistory::Same,
    RowHistory::EditedOnDesktop,
};

/// Rows of the uniform plan on either side: a hundredth is on the handheld alone.
constexpr std::size_t WithNewOnes(std::size_t rows) {
  return rows + rows / 100;
}
static_assert(WithNewOnes(kMostDemoRows) <= table_format::kMostRecords);

/// Every third of the rows that nothing happened to has a null on the desktop.
bool HasNull(std::size_t number) {
  return number % 3 == 2;
}

bool IsOnDesktop(RowHistory history) {
  return history != RowHistory::AddedOnHandheld && history != RowHistory::DeletedOnDesktop &&
         history != RowHistory::AddedThenDeletedOnHandheld;
}

std::uint8_t AttributesAfter(RowHistory history) {
  switch (history) {
    case RowHistory::EditedOnHandheld:
    case RowHistory::AddedOnHandheld:
    case RowHistory::KeyCaseEditedOnHandheld:
      return kRecordModified;
    case RowHistory::DeletedOnHandheld:
    case RowHistory::AddedThenDeletedOnHandheld:
    case RowHistory::DeletedThenEnteredAgain:
      return kRecordDeleted;
    case RowHistory::EditedThenDeletedOnHandheld:
      return kRecordModified | kRecordDeleted;
    default:
      return 0;
  }
}

/// Makes one table's two sides row by row.
class TableMaker {
 public:
  TableMaker(std::size_t table, const DemoPlan& plan) : position_(table), plan_(plan) {
    table_.design = SampleTables().at(table);
  }

  DemoTable Make() && {
    const std::size_t count = plan_.RowCount(position_);
    for (std::size_t number = 0; number < count; ++number) AddRow(number, plan_.HistoryOf(number));
    for (auto& [attributes, values] : later_) AddRecord(attributes, std::move(values));
    return std::move(table_);
  }

 private:
  struct LaterRecord {
    std::uint8_t attributes;
    Row values;
  };

  void AddRow(std::size_t number, RowHistory history) {
    const Row row = DemoRow(position_, number);
    if (IsOnDesktop(history)) table_.desktopRows.push_back(DesktopRow(row, number, history));
    if (history == RowHistory::AddedOnDesktop) return;
    AddRecord(AttributesAfter(history), HandheldRow(row, number, history));
    if (history == RowHistory::DeletedThenEnteredAgain) {
      later_.push_back({kRecordModified, EditedRow(table_.design, row, number)});
    }
    if (history == RowHistory::DuplicateDeleted) later_.push_back({kRecordDeleted, row});
  }

  Row DesktopRow(Row row, std::size_t number, RowHistory history) const {
    if (history == RowHistory::EditedOnDesktop) return EditedRow(table_.design, std::move(row), number);
    if (const std::optional<std::size_t> column = NullColumn(number, history)) row[*column] = Null{};
    return row;
  }

  Row HandheldRow(Row row, std::size_t number, RowHistory history) const {
    switch (history) {
      case RowHistory::EditedOnHandheld:
      case RowHistory::EditedThenDeletedOnHandheld:
        return EditedRow(table_.design, std::move(row), number);
      case RowHistory::KeyCaseEditedOnHandheld:
        row[kKeyColumn] = AsciiLower(std::get<std::string>(row[kKeyColumn]));
        return row;
      default:
        break;
    }
    const std::optional<std::size_t> column = NullColumn(number, history);
    if (column) row[*column] = ZeroValueOf(HandheldTypeOf(table_.design.columns[*column].type));
    return row;
  }

  /// The column that is null on the desktop, if any. A Boolean column has no null.
  std::optional<std::size_t> NullColumn(std::size_t number, RowHistory history) const {
    if (history != RowHistory::Same || !HasNull(number)) return std::nullopt;
    const std::size_t column = 1 + number % (table_.design.columns.size() - 1);
    if (table_.design.columns[column].type == jet::ColumnType::Boolean) return 1;
    return column;
  }

  void AddRecord(std::uint8_t attributes, Row values) {
    // Numbers grow with gaps, as on a handheld in use.
    constexpr std::uint32_t kFirstId = 101;
    constexpr std::uint32_t kStep = 3;
    const auto earlier = static_cast<std::uint32_t>(table_.handheldRecords.size());
    table_.handheldRecords.push_back({attributes, kFirstId + kStep * earlier, std::move(values)});
  }

  std::size_t position_;
  const DemoPlan& plan_;
  DemoTable table_;
  std::vector<LaterRecord> later_;  ///< handhelds put new records at the end
};

}  // namespace

DemoPlan DemoPlan::Varied() {
  return DemoPlan(std::nullopt);
}

DemoPlan DemoPlan::Uniform(std::size_t rows) {
  return DemoPlan(rows);
}

std::size_t DemoPlan::RowCount(std::size_t table) const {
  return rows_ ? WithNewOnes(*rows_) : kVariedCounts.at(table);
}

RowHistory DemoPlan::HistoryOf(std::size_t number) const {
  if (!rows_) return kVariedHistories[number % kVariedHistories.size()];
  if (number >= *rows_) return RowHistory::AddedOnHandheld;
  if (number % 10 == 0) return RowHistory::EditedOnHandheld;
  if (number % 100 == 1) return RowHistory::DeletedOnHandheld;
  return RowHistory::Same;
}

DemoTable MakeDemoTable(std::size_t table, const DemoPlan& plan) {
  return TableMaker(table, plan).Make();
}

}  // namespace mv::tool
