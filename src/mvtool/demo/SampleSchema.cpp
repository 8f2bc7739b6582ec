#include "mvtool/demo/SampleSchema.h"

#include <string>
#include <utility>

namespace mv::tool {
namespace {

using jet::ColumnSpec;
using jet::ColumnType;
using jet::IndexSpec;
using jet::TableSpec;

ColumnSpec Text(std::string name, std::uint16_t characters) {
  ColumnSpec column;
  column.name = std::move(name);
  column.type = ColumnType::Text;
  column.characters = characters;
  return column;
}

ColumnSpec Field(std::string name, ColumnType type) {
  ColumnSpec column;
  column.name = std::move(name);
  column.type = type;
  return column;
}

ColumnSpec Amount(std::string name) {
  return Field(std::move(name), ColumnType::Currency);
}

ColumnSpec Moment(std::string name) {
  return Field(std::move(name), ColumnType::DateTime);
}

/// A table of its key field, which has this many characters, and the other columns behind it.
TableSpec Table(const SyncTable& table, std::uint16_t keyCharacters, std::vector<ColumnSpec> columns) {
  columns.insert(columns.begin() + kKeyColumn, Text(table.keyField, keyCharacters));
  IndexSpec key;
  key.name = "PrimaryKey";
  key.columns = {{table.keyField}};
  key.primaryKey = true;
  key.unique = true;
  key.required = true;
  return TableSpec{table.name, std::move(columns), {std::move(key)}};
}

TableSpec Accessories() {
  return Table(tables::kAccessories, 20,
               {Text("TX_VIN", 20), Text("TX_NAME", 50), Moment("DT_INSTALLED"), Amount("CU_COST"),
                Field("BL_INCLUDED", ColumnType::Boolean)});
}

TableSpec AccessoryItems() {
  return Table(tables::kAccItems, 20,
               {Text("KY_RECID_ACC", 20), Text("TX_ITEM", 50), Field("NM_QTY", ColumnType::Byte), Amount("CU_COST")});
}

TableSpec Customer() {
  return Table(tables::kCustomer, 50,
               {Text("TX_ADDRESS", 80), Text("TX_CITY", 40), Text("TX_PHONE", 24), Text("TX_EMAIL", 60),
                Field("BL_TAXABLE", ColumnType::Boolean), Amount("CU_BALANCE")});
}

TableSpec FieldValues() {
  return Table(tables::kFieldValues, 20, {Text("TX_FIELD", 30), Text("TX_VALUE", 80)});
}

TableSpec Fuel() {
  return Table(tables::kFuel, 20,
               {Text("TX_VIN", 20), Moment("DT_FILL"), Field("NM_ODOMETER", ColumnType::Long),
                Field("NM_VOLUME", ColumnType::Double), Amount("CU_PRICE"), Amount("CU_TOTAL"),
                Field("BL_FULL", ColumnType::Boolean), Text("TX_STATION", 40)});
}

TableSpec Maintenance() {
  return Table(tables::kMaintenance, 20,
               {Text("TX_VIN", 20), Moment("DT_SERVICE"), Field("NM_ODOMETER", ColumnType::Long), Text("TX_SHOP", 50),
                Amount("CU_LABOR"), Amount("CU_PARTS"), Field("TX_NOTES", ColumnType::Memo)});
}

TableSpec MaintenanceTasks() {
  return Table(tables::kMaintTasks, 20,
               {Text("KY_RECID", 20), Text("TX_TASK", 60), Field("NM_HOURS", ColumnType::Single), Amount("CU_COST")});
}

TableSpec Models() {
  return Table(tables::kModels, 20,
               {Text("TX_MAKE", 30), Text("TX_MODEL", 40), Field("NM_YEAR", ColumnType::Integer),
                Field("NM_CYLINDERS", ColumnType::Byte), Field("NM_DISPLACEMENT", ColumnType::Single)});
}

TableSpec Parts() {
  return Table(tables::kParts, 20,
               {Text("KY_RECID", 20), Text("TX_PART", 60), Field("NM_QTY", ColumnType::Integer), Amount("CU_UNIT")});
}

TableSpec Payment() {
  return Table(tables::kPayment, 20,
               {Text("TX_NAME", 50), Moment("DT_PAID"), Amount("CU_AMOUNT"), Text("TX_METHOD", 20)});
}

TableSpec ScheduledMaintenance() {
  return Table(tables::kSchedMaint, 20,
               {Text("TX_VIN", 20), Text("TX_TASK", 60), Field("NM_DISTANCE", ColumnType::Long),
                Field("NM_MONTHS", ColumnType::Integer), Moment("DT_LAST")});
}

TableSpec Trip() {
  return Table(tables::kTrip, 20,
               {Text("TX_VIN", 20), Moment("DT_START"), Moment("DT_END"), Field("NM_START", ColumnType::Long),
                Field("NM_END", ColumnType::Long), Text("TX_PURPOSE", 60), Field("BL_BUSINESS", ColumnType::Boolean)});
}

TableSpec Vehicle() {
  return Table(tables::kVehicle, 20,
               {Text("TX_MAKE", 30), Text("TX_MODEL", 40), Field("NM_YEAR", ColumnType::Integer), Text("TX_COLOR", 20),
                Text("TX_PLATE", 12), Moment("DT_PURCHASED"), Amount("CU_PRICE"),
                Field("NM_ODOMETER", ColumnType::Long), Field("NM_TANK", ColumnType::Double),
                Field("BL_ACTIVE", ColumnType::Boolean), Field("TX_NOTES", ColumnType::Memo)});
}

}  // namespace

std::vector<TableSpec> SampleTables() {
  return {
      Accessories(), AccessoryItems(), Customer(), FieldValues(),          Fuel(), Maintenance(), MaintenanceTasks(),
      Models(),      Parts(),          Payment(),  ScheduledMaintenance(), Trip(), Vehicle()};
}

}  // namespace mv::tool
