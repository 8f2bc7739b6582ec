#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "sync/IKeyInfo.h"

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

class clsKeyInfo_Accessories : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_Accessories";
  clsKeyInfo_Accessories() : SingleFieldKeyInfo("KY_RECID") {}
};

class clsKeyInfo_AccItems : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_AccItems";
  clsKeyInfo_AccItems() : SingleFieldKeyInfo("KY_RECID") {}
};

class clsKeyInfo_Customer : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_Customer";
  clsKeyInfo_Customer() : SingleFieldKeyInfo("TX_NAME") {}
};

class clsKeyInfo_FieldValues : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_FieldValues";
  clsKeyInfo_FieldValues() : SingleFieldKeyInfo("KY_RECID") {}
};

class clsKeyInfo_Fuel : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_Fuel";
  clsKeyInfo_Fuel() : SingleFieldKeyInfo("KY_RECID") {}
};

class clsKeyInfo_Maintenance : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_Maintenance";
  clsKeyInfo_Maintenance() : SingleFieldKeyInfo("KY_RECID") {}
};

class clsKeyInfo_MaintTasks : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_MaintTasks";
  clsKeyInfo_MaintTasks() : SingleFieldKeyInfo("KY_RECID_TASK") {}
};

class clsKeyInfo_Models : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_Models";
  clsKeyInfo_Models() : SingleFieldKeyInfo("KY_RECID") {}
};

class clsKeyInfo_Parts : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_Parts";
  clsKeyInfo_Parts() : SingleFieldKeyInfo("KY_RECID_PART") {}
};

class clsKeyInfo_Payment : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_Payment";
  clsKeyInfo_Payment() : SingleFieldKeyInfo("KY_RECID") {}
};

class clsKeyInfo_SchedMaint : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_SchedMaint";
  clsKeyInfo_SchedMaint() : SingleFieldKeyInfo("KY_RECID") {}
};

class clsKeyInfo_Trip : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_Trip";
  clsKeyInfo_Trip() : SingleFieldKeyInfo("KY_RECID") {}
};

class clsKeyInfo_Vehicle : public SingleFieldKeyInfo {
 public:
  static constexpr std::string_view kTable = "brnd_Vehicle";
  clsKeyInfo_Vehicle() : SingleFieldKeyInfo("TX_VIN") {}
};

/// The key of the table called `tableName`, compared as it is written; null when it is none of the thirteen.
std::unique_ptr<IKeyInfo> MakeKeyInfo(std::string_view tableName);

}  // namespace mv
