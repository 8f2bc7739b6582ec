#include "recordset/MemoryRecordset.h"
#include "recordset/StoredRows.h"
#include "support/RecordsetContract.h"

namespace mv::testing {
namespace {

class MemoryTable : public ContractTable {
 public:
  std::unique_ptr<Recordset> Open(const std::vector<std::string>& keys) override {
    auto rows = std::make_unique<MemoryRecordset>(Fields());
    for (const std::string& key : keys) {
      rows->AddNew();
      rows->SetFieldValue("KEY", key);
      rows->SetFieldValue("COUNT", static_cast<std::int32_t>(rows->RecordCount()) + 1);
      rows->Update();
    }
    if (!keys.empty()) rows->MoveFirst();
    return rows;
  }
};

/// The same rows in a form of their own.
class Keys : public StoredRows {
 public:
  explicit Keys(std::vector<std::string> keys) : keys_(std::move(keys)) {}

  std::size_t Count() const override { return keys_.size(); }
  void ReadRow(std::size_t row, std::vector<Value>& values) const override {
    values.resize(ContractTable::Fields().size());
    for (std::size_t field = 0; field < values.size(); ++field) ReadField(row, field, values[field]);
  }
  void ReadField(std::size_t row, std::size_t field, Value& value) const override {
    value = field == 0 ? Value(keys_[row]) : field == 1 ? Value(static_cast<std::int32_t>(row + 1)) : Value(Null());
  }

 private:
  std::vector<std::string> keys_;
};

class StoredTable : public ContractTable {
 public:
  std::unique_ptr<Recordset> Open(const std::vector<std::string>& keys) override {
    auto rows = std::make_unique<MemoryRecordset>(Fields(), std::make_unique<Keys>(keys));
    if (!keys.empty()) rows->MoveFirst();
    return rows;
  }
};

INSTANTIATE_TEST_SUITE_P(Memory, RecordsetContract, ::testing::Values([]() -> std::unique_ptr<ContractTable> {
                           return std::make_unique<MemoryTable>();
                         }));
INSTANTIATE_TEST_SUITE_P(Stored, RecordsetContract, ::testing::Values([]() -> std::unique_ptr<ContractTable> {
                           return std::make_unique<StoredTable>();
                         }));

}  // namespace
}  // namespace mv::testing
