#pragma once

#include <array>
#include <span>
#include <string_view>

namespace mv {

/// A table that both sides have.
struct SyncTable {
  const char* name;
  /// The field whose text matches a record of the handheld with a row of the desktop.
  const char* keyField;
};

namespace tables {
inline constexpr SyncTable kAccessories = {"brnd_Accessories", "KY_RECID"};
inline constexpr SyncTable kAccItems = {"brnd_AccItems", "KY_RECID"};
inline constexpr SyncTable kCustomer = {"brnd_Customer", "TX_NAME"};
inline constexpr SyncTable kFieldValues = {"brnd_FieldValues", "KY_RECID"};
inline constexpr SyncTable kFuel = {"brnd_Fuel", "KY_RECID"};
inline constexpr SyncTable kMaintenance = {"brnd_Maintenance", "KY_RECID"};
inline constexpr SyncTable kMaintTasks = {"brnd_MaintTasks", "KY_RECID_TASK"};
inline constexpr SyncTable kModels = {"brnd_Models", "KY_RECID"};
inline constexpr SyncTable kParts = {"brnd_Parts", "KY_RECID_PART"};
inline constexpr SyncTable kPayment = {"brnd_Payment", "KY_RECID"};
inline constexpr SyncTable kSchedMaint = {"brnd_SchedMaint", "KY_RECID"};
inline constexpr SyncTable kTrip = {"brnd_Trip", "KY_RECID"};
inline constexpr SyncTable kVehicle = {"brnd_Vehicle", "TX_VIN"};
}  // namespace tables

/// The tables in the order of a run. An interactive run takes them all.
inline constexpr std::array<SyncTable, 13> kTables = {
    tables::kAccessories, tables::kAccItems,   tables::kCustomer, tables::kFieldValues, tables::kFuel,
    tables::kMaintenance, tables::kMaintTasks, tables::kModels,   tables::kParts,       tables::kPayment,
    tables::kSchedMaint,  tables::kTrip,       tables::kVehicle};

/// A silent run leaves out the first two, although its log counts them: accessories are synchronised from the main
/// window only.
inline constexpr std::span<const SyncTable> kSilentTables = std::span(kTables).subspan<2>();

/// The table called `name`, compared as it is written; null when it is none of the thirteen.
constexpr const SyncTable* FindTable(std::string_view name) {
  for (const SyncTable& table : kTables) {
    if (table.name == name) return &table;
  }
  return nullptr;
}

}  // namespace mv
