#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "sync/IKeyInfo.h"
#include "sync/Tables.h"

namespace mv {

/// A key that is one field. The thirteen key classes below differ in that field only.
class SingleFieldKeyInfo : public IKeyInfo {
 public:
  std::string Criteria(const Recordset& rs) const override;
  std::string PrintableString(const Recordset& rs) const override;

 protected:
  /// `keyField` must be a literal: it is not copied.
  explicit SingleFieldKeyInfo(std::string_view keyField) : keyField_(keyField) {}

 private:
  std::string_view keyField_;
};

/// The key of one of the tables; each has a class of its own.
template <const SyncTable& kOf>
class TableKeyInfo : public SingleFieldKeyInfo {
 public:
  static constexpr const SyncTable& kTable = kOf;
  TableKeyInfo() : SingleFieldKeyInfo(kTable.keyField) {}
};

using clsKeyInfo_Accessories = TableKeyInfo<tables::kAccessories>;
using clsKeyInfo_AccItems = TableKeyInfo<tables::kAccItems>;
using clsKeyInfo_Customer = TableKeyInfo<tables::kCustomer>;
using clsKeyInfo_FieldValues = TableKeyInfo<tables::kFieldValues>;
using clsKeyInfo_Fuel = TableKeyInfo<tables::kFuel>;
using clsKeyInfo_Maintenance = TableKeyInfo<tables::kMaintenance>;
using clsKeyInfo_MaintTasks = TableKeyInfo<tables::kMaintTasks>;
using clsKeyInfo_Models = TableKeyInfo<tables::kModels>;
using clsKeyInfo_Parts = TableKeyInfo<tables::kParts>;
using clsKeyInfo_Payment = TableKeyInfo<tables::kPayment>;
using clsKeyInfo_SchedMaint = TableKeyInfo<tables::kSchedMaint>;
using clsKeyInfo_Trip = TableKeyInfo<tables::kTrip>;
using clsKeyInfo_Vehicle = TableKeyInfo<tables::kVehicle>;

/// The key of the table called `tableName`, compared as it is written; null when it is none of the thirteen.
std::unique_ptr<IKeyInfo> MakeKeyInfo(std::string_view tableName);

}  // namespace mv
