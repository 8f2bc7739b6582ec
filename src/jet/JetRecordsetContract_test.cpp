#include "jet/Database.h"
#include "jet/JetRecordset.h"
#include "support/MemoryFileSystem.h"
#include "support/RecordsetContract.h"

namespace mv::testing {
namespace {

const CivilTime kCreated{2026, 11, 21, 14, 5, 9};

jet::ColumnSpec ColumnOf(const std::string& name, jet::ColumnType type, std::uint16_t characters = 0) {
  jet::ColumnSpec column;
  column.name = name;
  column.type = type;
  column.characters = characters;
  return column;
}

class JetTable : public ContractTable {
 public:
  std::unique_ptr<Recordset> Open(const std::vector<std::string>& keys) override {
    database_->CreateTable({"Parts",
                            {ColumnOf("KEY", jet::ColumnType::Text, 10), ColumnOf("COUNT", jet::ColumnType::Long),
                             ColumnOf("ACTIVE", jet::ColumnType::Boolean), ColumnOf("NOTES", jet::ColumnType::Memo)},
                            {}},
                           kCreated);
    jet::Table& table = database_->OpenTable("Parts");
    std::int32_t count = 0;
    for (const std::string& key : keys) table.Insert({key, ++count, false, Null{}});
    return std::make_unique<jet::JetRecordset>(table);
  }

 private:
  MemoryFileSystem files_;
  std::unique_ptr<jet::Database> database_ = jet::Database::Create(files_, "x.mdb", kCreated);
};

INSTANTIATE_TEST_SUITE_P(Jet, RecordsetContract, ::testing::Values([]() -> std::unique_ptr<ContractTable> {
                           return std::make_unique<JetTable>();
                         }));

}  // namespace
}  // namespace mv::testing
