#include "recordset/MemoryRecordset.h"
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

INSTANTIATE_TEST_SUITE_P(Memory, RecordsetContract, ::testing::Values([]() -> std::unique_ptr<ContractTable> {
                           return std::make_unique<MemoryTable>();
                         }));

}  // namespace
}  // namespace mv::testing
