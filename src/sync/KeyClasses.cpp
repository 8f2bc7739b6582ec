#include "sync/KeyClasses.h"

#include "recordset/Conversions.h"

namespace mv {
namespace {

/// The one of `Keys` whose table is `tableName`.
template <typename... Keys>
std::unique_ptr<IKeyInfo> MakeOneOf(std::string_view tableName) {
  static_assert(sizeof...(Keys) == kTables.size());
  std::unique_ptr<IKeyInfo> key;
  ((Keys::kTable.name == tableName ? void(key = std::make_unique<Keys>()) : void()), ...);
  return key;
}

}  // namespace

std::string SingleFieldKeyInfo::Criteria(const Recordset& rs) const {
  Value room;
  const Value& key = rs.PeekField(rs.FieldIndex(keyField_), room);
  const auto* const text = std::get_if<std::string>(&key);
  std::string criterion(keyField_);
  criterion += "='";
  criterion += text != nullptr ? *text : TextOf(key);
  criterion += '\'';
  return criterion;
}

std::string SingleFieldKeyInfo::PrintableString(const Recordset& rs) const {
  return TextOf(rs.FieldValue("animal"));
}

std::unique_ptr<IKeyInfo> MakeKeyInfo(std::string_view tableName) {
  return MakeOneOf<clsKeyInfo_Accessories, clsKeyInfo_AccItems, clsKeyInfo_Customer, clsKeyInfo_FieldValues,
                   clsKeyInfo_Fuel, clsKeyInfo_Maintenance, clsKeyInfo_MaintTasks, clsKeyInfo_Models, clsKeyInfo_Parts,
                   clsKeyInfo_Payment, clsKeyInfo_SchedMaint, clsKeyInfo_Trip, clsKeyInfo_Vehicle>(tableName);
}

}  // namespace mv
