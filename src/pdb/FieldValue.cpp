#include "pdb/FieldValue.h"

#include <string>
#include <variant>

#include "base/Error.h"
#include "recordset/Conversions.h"

namespace mv {
namespace {

[[noreturn]] void RaiseUnknownType() {
  throw StandardError(errors::kTypeMismatch);
}

/// `value` as a field of `type` stores it. A value of the right type is not copied.
template <typename Stored, typename Store>
void StoreAs(HandheldType type, const Value& value, Store store) {
  if (const auto* stored = std::get_if<Stored>(&value)) return store(*stored);
  store(std::get<Stored>(IsNull(value) ? ZeroValueOf(type) : ConvertedTo(DataTypeOf(type), value)));
}

}  // namespace

Value ZeroValueOf(HandheldType type) {
  switch (type) {
    case HandheldType::Byte:
      return std::uint8_t{0};
    case HandheldType::Integer:
      return std::int16_t{0};
    case HandheldType::Long:
      return std::int32_t{0};
    case HandheldType::Single:
      return 0.0F;
    case HandheldType::Text:
      return std::string();
    case HandheldType::Boolean:
      return false;
    case HandheldType::Date:
      return kHandheldEpoch;
    case HandheldType::Double:
      return 0.0;
    case HandheldType::Currency:
      return Currency{};
  }
  RaiseUnknownType();
}

Value FieldValueOf(const PDBAppforgeRecord& record, std::int16_t i, HandheldType type) {
  switch (type) {
    case HandheldType::Byte:
      return record.ByteValue(i);
    case HandheldType::Integer:
      return record.IntegerValue(i);
    case HandheldType::Long:
      return record.LongValue(i);
    case HandheldType::Single:
      return record.SingleValue(i);
    case HandheldType::Text:
      return record.StringValue(i);
    case HandheldType::Boolean:
      return record.BooleanValue(i);
    case HandheldType::Date:
      return record.DateValue(i);
    case HandheldType::Double:
      return record.DoubleValue(i);
    case HandheldType::Currency:
      return Currency{record.CurrencyValue(i)};
  }
  RaiseUnknownType();
}

void SetFieldValue(PDBAppforgeRecord& record, std::int16_t i, HandheldType type, const Value& value) {
  switch (type) {
    case HandheldType::Byte:
      return StoreAs<std::uint8_t>(type, value, [&](std::uint8_t number) { record.ByteValue(i, number); });
    case HandheldType::Integer:
      return StoreAs<std::int16_t>(type, value, [&](std::int16_t number) { record.IntegerValue(i, number); });
    case HandheldType::Long:
      return StoreAs<std::int32_t>(type, value, [&](std::int32_t number) { record.LongValue(i, number); });
    case HandheldType::Single:
      return StoreAs<float>(type, value, [&](float number) { record.SingleValue(i, number); });
    case HandheldType::Text:
      return StoreAs<std::string>(type, value, [&](const std::string& text) { record.StringValue(i, text); });
    case HandheldType::Boolean:
      return StoreAs<bool>(type, value, [&](bool flag) { record.BooleanValue(i, flag); });
    case HandheldType::Date:
      return StoreAs<Date>(type, value, [&](Date date) { record.DateValue(i, date); });
    case HandheldType::Double:
      return StoreAs<double>(type, value, [&](double number) { record.DoubleValue(i, number); });
    case HandheldType::Currency:
      return StoreAs<Currency>(type, value, [&](Currency sum) { record.CurrencyValue(i, sum.tenThousandths); });
  }
  RaiseUnknownType();
}

}  // namespace mv
