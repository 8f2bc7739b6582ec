#include "ado/AdoConnection.h"
#include "support/FakeAdo.h"
#include "support/RecordsetContract.h"

namespace mv::testing {
namespace {

/// No database but the one of ADO is expected.
class NoDatabase : public DatabaseProvider {
 public:
  std::unique_ptr<Connection> Open(const std::string&) override { throw StandardError(errors::kInternalError); }
};

class AdoTable : public ContractTable {
 public:
  std::unique_ptr<Recordset> Open(const std::vector<std::string>& keys) override {
    FakeAdo::Table& table = ado_.tables["Parts"];
    for (const FieldDefinition& field : Fields()) {
      table.fields.push_back({field.name, field.type, field.definedSize > 0 ? field.definedSize : 0x3FFFFFFF});
    }
    std::int32_t count = 0;
    for (const std::string& key : keys) ado_.AddRow("Parts", {key, ++count, false, Null{}});
    connection_ = provider_.Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=x;");
    return connection_->OpenTable("Parts");
  }

 private:
  FakeAdo ado_;
  NoDatabase none_;
  ado::AdoDatabaseProvider provider_{ado_, none_};
  std::unique_ptr<Connection> connection_;
};

INSTANTIATE_TEST_SUITE_P(Ado, RecordsetContract, ::testing::Values([]() -> std::unique_ptr<ContractTable> {
                           return std::make_unique<AdoTable>();
                         }));

}  // namespace
}  // namespace mv::testing
