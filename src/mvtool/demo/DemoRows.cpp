#include "mvtool/demo/DemoRows.h"

#include <array>
#include <string_view>

#include "base/Utf.h"
#include "mvtool/demo/DemoRandom.h"
#include "mvtool/demo/DemoWords.h"
#include "mvtool/demo/SampleSchema.h"
#include "mvtool/files/ColumnTypes.h"
#include "pdb/FieldValue.h"
#include "sync/Tables.h"

namespace mv::tool {
namespace {

using Row = std::vector<Value>;

constexpr std::uint64_t kSeed = 0x4D6F746F72766121;
constexpr std::size_t kFleetSize = 12;  ///< vehicles that the other tables' rows refer to
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kCent = 100;  ///< in ten-thousandths
constexpr std::size_t kPhoneDigits = 7;

DemoRandom RandomFor(std::string_view table, std::size_t number) {
  std::uint64_t seed = kSeed;
  for (const char character : table) seed = seed * 31 + static_cast<unsigned char>(character);
  return DemoRandom(seed + 0x9E3779B97F4A7C15 * number);
}

Value Text(std::string_view text) {
  return std::string(text);
}

Value Cents(std::int64_t cents) {
  return Currency{cents * kCent};
}

std::string Digits(std::uint64_t value, std::size_t width) {
  std::string digits = std::to_string(value);
  return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

/// The day on which record `number` was made.
std::int64_t DayOfRecord(std::size_t number) {
  constexpr std::size_t kDaysOfRecords = 1500;
  return DayNumber(2004, 1, 5) + static_cast<std::int64_t>(number % kDaysOfRecords);
}

/// A moment in the working hours of that day.
Date Moment(DemoRandom& random, std::size_t number) {
  const std::int64_t day = DayOfRecord(number);
  return DateFromSeconds(day * kSecondsPerDay + random.Between(7 * 3600, 19 * 3600));
}

/// "FU20040122-00017": what the application makes of a table's mark, a day and a counter.
std::string RecordId(std::string_view mark, std::size_t number) {
  const std::int64_t day = DayOfRecord(number);
  const CivilTime civil = CivilFromDate(Date{static_cast<double>(day)});
  return std::string(mark) + Digits(static_cast<std::uint64_t>(civil.year), 4) +
         Digits(static_cast<std::uint64_t>(civil.month), 2) + Digits(static_cast<std::uint64_t>(civil.day), 2) + "-" +
         Digits(number, 5);
}

const words::Model& ModelOfVehicle(std::size_t number) {
  return words::kModels[number % words::kModels.size()];
}

/// 17 characters without I, O and Q, the last six the counter.
std::string VehicleNumber(std::size_t number) {
  constexpr std::string_view kAllowed = "ABCDEFGHJKLMNPRSTUVWXYZ0123456789";
  DemoRandom random = RandomFor("vehicle number", number);
  std::string text(ModelOfVehicle(number).manufacturerCode);
  for (int i = 0; i < 8; ++i) text += kAllowed[static_cast<std::size_t>(random.Next() % kAllowed.size())];
  return text + Digits(number, 6);
}

Value VehicleOfRecord(std::size_t number) {
  return VehicleNumber(number % kFleetSize);
}

std::string CustomerName(std::size_t number) {
  const std::size_t given = number % words::kGivenNames.size();
  const std::size_t family = (number / words::kGivenNames.size() + number) % words::kFamilyNames.size();
  std::string name = std::string(words::kGivenNames[given]) + " " + std::string(words::kFamilyNames[family]);
  const std::size_t round = number / (words::kGivenNames.size() * words::kFamilyNames.size());
  return round == 0 ? name : name + " " + std::to_string(round + 1);
}

std::int32_t Odometer(DemoRandom& random, std::size_t number) {
  return static_cast<std::int32_t>(1000 * (number % 180) + static_cast<std::size_t>(random.Between(0, 999)));
}

/// Notes of about `characters` characters: sentences, now and then a new paragraph.
std::string Notes(DemoRandom& random, std::size_t characters) {
  std::string text(random.Pick(words::kNotes));
  std::size_t length = CharacterCount(text);
  for (;;) {
    const std::string_view sentence = random.Pick(words::kNotes);
    const std::string_view separator = random.Next() % 5 == 0 ? "\r\n" : " ";
    length += CharacterCount(sentence) + separator.size();
    if (length > characters) return text;
    text += separator;
    text += sentence;
  }
}

/// Mostly notes short enough to be stored in the row, some that fill part of a page, some that need several.
std::string NotesOfRecord(DemoRandom& random, std::size_t number) {
  switch (number % 40) {
    case 0:
    case 12:
      return {};
    case 1:
    case 22:
      return Notes(random, 9000);
    case 2:
    case 16:
      return Notes(random, static_cast<std::size_t>(random.Between(4200, 8000)));
    case 3:
    case 5:
    case 8:
    case 21:
      return Notes(random, static_cast<std::size_t>(random.Between(200, 3000)));
    default:
      return Notes(random, 60);
  }
}

Row AccessoryRow(DemoRandom& random, std::size_t number) {
  return {RecordId("AC", number),
          VehicleOfRecord(number),
          Text(random.Pick(words::kAccessories)),
          Moment(random, number),
          Cents(number % 6 == 5 ? 0 : random.Between(995, 89900)),
          number % 3 == 0};
}

Row AccessoryItemRow(DemoRandom& random, std::size_t number) {
  return {RecordId("AI", number), RecordId("AC", number / 2), Text(random.Pick(words::kAccessoryItems)),
          static_cast<std::uint8_t>(number % 11 == 3 ? 255 : random.Between(0, 12)),
          Cents(random.Between(-500, 14900))};
}

Row CustomerRow(DemoRandom& random, std::size_t number) {
  const std::string name = CustomerName(number);
  std::string address = std::to_string(random.Between(1, 240)) + " ";
  address += random.Pick(words::kStreets);
  if (number % 13 == 6) address += ", 2nd floor, door at the back of the courtyard";
  std::string phone = "+";
  phone += std::to_string(random.Between(1, 48)) + " 555 ";
  phone += Digits(static_cast<std::uint64_t>(random.Between(0, 9999999)), kPhoneDigits);
  const std::string email = number % 5 == 2 ? "" : "customer" + std::to_string(number) + "@example.com";
  const std::int64_t balance = number % 5 == 0 ? 0 : random.Between(-125000, 480000);
  return {name, address, Text(random.Pick(words::kCities)), phone, email, number % 4 != 3, Cents(balance)};
}

Row FieldValueRow(DemoRandom& random, std::size_t number) {
  return {RecordId("FV", number), Text(random.Pick(words::kFields)), Text(random.Pick(words::kFieldValues))};
}

Row FuelRow(DemoRandom& random, std::size_t number) {
  const std::int64_t hundredthsOfLitres = number % 17 == 9 ? 0 : random.Between(512, 7250);
  const std::int64_t price = 10 * random.Between(1049, 1899);
  const std::int64_t totalCents = (hundredthsOfLitres * price / 100 + kCent / 2) / kCent;
  return {RecordId("FU", number),
          VehicleOfRecord(number),
          Moment(random, number),
          Odometer(random, number),
          static_cast<double>(hundredthsOfLitres) / 100,
          Currency{price},
          Cents(totalCents),
          number % 4 != 1,
          Text(random.Pick(words::kStations))};
}

Row MaintenanceRow(DemoRandom& random, std::size_t number) {
  return {RecordId("MT", number),
          VehicleOfRecord(number),
          Moment(random, number),
          Odometer(random, number),
          Text(random.Pick(words::kShops)),
          Cents(number % 7 == 0 ? 0 : random.Between(2500, 64000)),
          Cents(number % 10 == 4 ? -1999 : random.Between(0, 120000)),
          NotesOfRecord(random, number)};
}

Row MaintenanceTaskRow(DemoRandom& random, std::size_t number) {
  return {RecordId("TK", number), RecordId("MT", number / 2), Text(random.Pick(words::kTasks)),
          static_cast<float>(random.Between(0, 80)) / 10.0f, Cents(random.Between(0, 35000))};
}

Row ModelRow(DemoRandom& random, std::size_t number) {
  const words::Model& model = ModelOfVehicle(number);
  return {RecordId("MD", number),
          Text(model.make),
          Text(model.model),
          static_cast<std::int16_t>(random.Between(1968, 2008)),
          static_cast<std::uint8_t>(model.cylinders),
          static_cast<float>(model.displacement) / 1000.0f};
}

Row PartRow(DemoRandom& random, std::size_t number) {
  // A negative quantity is a part given back.
  return {RecordId("PT", number), RecordId("MT", number / 2), Text(random.Pick(words::kParts)),
          static_cast<std::int16_t>(number % 9 == 4 ? -1 : random.Between(1, 8)), Cents(random.Between(45, 28900))};
}

Row PaymentRow(DemoRandom& random, std::size_t number) {
  // A negative amount is a refund.
  const std::int64_t amount = number % 8 == 3 ? random.Between(-20000, -100) : random.Between(1000, 250000);
  return {RecordId("PY", number), CustomerName(number % 30), Moment(random, number), Cents(amount),
          Text(random.Pick(words::kMethods))};
}

Row ScheduledMaintenanceRow(DemoRandom& random, std::size_t number) {
  // Zero means "by time only"; a negative distance is what the vehicle is overdue.
  const std::int64_t distance = number % 7 == 6 ? -random.Between(100, 4000) : 2500 * random.Between(0, 12);
  return {RecordId("SM", number),
          VehicleOfRecord(number),
          Text(random.Pick(words::kTasks)),
          static_cast<std::int32_t>(distance),
          static_cast<std::int16_t>(random.Between(0, 8) * 6),
          Moment(random, number)};
}

Row TripRow(DemoRandom& random, std::size_t number) {
  const Date start = Moment(random, number);
  const Date end = DateFromSeconds(SecondsFromDate(start) + random.Between(300, 14400));
  const std::int32_t odometer = Odometer(random, number);
  return {RecordId("TR", number),
          VehicleOfRecord(number),
          start,
          end,
          odometer,
          odometer + static_cast<std::int32_t>(random.Between(0, 420)),
          Text(random.Pick(words::kPurposes)),
          number % 3 != 1};
}

Row VehicleRow(DemoRandom& random, std::size_t number) {
  const words::Model& model = ModelOfVehicle(number);
  const std::string plate = "MV-" + Digits(static_cast<std::uint64_t>(random.Between(0, 999)), 3) + "-" +
                            std::string(1, static_cast<char>('A' + number % 26));
  return {VehicleNumber(number),
          Text(model.make),
          Text(model.model),
          static_cast<std::int16_t>(random.Between(1968, 2008)),
          Text(random.Pick(words::kColors)),
          plate,
          Moment(random, number),
          Cents(random.Between(50000, 4500000)),
          Odometer(random, number),
          static_cast<double>(random.Between(0, 900)) / 10,
          number % 9 != 8,
          NotesOfRecord(random, number)};
}

using RowMaker = Row (*)(DemoRandom&, std::size_t);

/// In the order of kTables.
constexpr std::array<RowMaker, kTables.size()> kRowMakers = {&AccessoryRow,
                                                             &AccessoryItemRow,
                                                             &CustomerRow,
                                                             &FieldValueRow,
                                                             &FuelRow,
                                                             &MaintenanceRow,
                                                             &MaintenanceTaskRow,
                                                             &ModelRow,
                                                             &PartRow,
                                                             &PaymentRow,
                                                             &ScheduledMaintenanceRow,
                                                             &TripRow,
                                                             &VehicleRow};

/// Puts something else in the place of a value.
struct Edit {
  const jet::ColumnSpec& column;

  Value operator()(Null) const { return ZeroValueOf(HandheldTypeOf(column.type)); }
  Value operator()(bool value) const { return !value; }
  Value operator()(std::uint8_t value) const { return static_cast<std::uint8_t>(value ^ 1); }
  Value operator()(std::int16_t value) const { return static_cast<std::int16_t>(value ^ 1); }
  Value operator()(std::int32_t value) const { return value + 10; }
  Value operator()(float value) const { return value + 0.5f; }
  Value operator()(double value) const { return value + 0.25; }
  Value operator()(Currency value) const { return Currency{value.tenThousandths + 125 * kCent}; }
  Value operator()(Date value) const { return DateFromSeconds(SecondsFromDate(value) + 90 * 60); }
  Value operator()(const std::string& value) const {
    constexpr std::string_view kRemark = " (2)";
    if (column.type == jet::ColumnType::Memo) return value + " Checked again.";
    std::u32string characters = CodePointsFromUtf8(value);
    const std::size_t room = column.characters - kRemark.size();
    if (characters.size() > room) characters.resize(room);
    return Utf8FromCodePoints(characters) + std::string(kRemark);
  }
  Value operator()(const Bytes& value) const { return value; }
};

void EditColumn(const jet::TableSpec& table, Row& row, std::size_t choice) {
  const std::size_t column = 1 + choice % (row.size() - 1);
  row[column] = std::visit(Edit{table.columns[column]}, row[column]);
}

}  // namespace

std::vector<Value> DemoRow(std::size_t table, std::size_t number) {
  const RowMaker make = kRowMakers.at(table);
  DemoRandom random = RandomFor(kTables[table].name, number);
  return make(random, number);
}

std::vector<Value> EditedRow(const jet::TableSpec& table, std::vector<Value> row, std::size_t number) {
  EditColumn(table, row, number);
  if (number % 2 == 0) EditColumn(table, row, number + 1);
  return row;
}

}  // namespace mv::tool
