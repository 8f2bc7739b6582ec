#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bytes.h"
#include "base/Date.h"
#include "pdb/HandheldType.h"
#include "pdb/PDBAppforgeDefinition.h"
#include "pdb/PDBByteStream.h"

namespace mv {

/// One record of a table as field values: from bytes, to bytes, and each value by type.
///
/// The fields follow one another in the definition's order, without gaps, as HandheldType says; a field of an unknown
/// type occupies nothing. True is written as FF, and any byte but 0 reads as true.
///
/// Every value is a text, in the invariant forms of base/NumberText.h, dates as "2026-11-21T14:05:09", Booleans as "1"
/// and "0". Reading a record and writing it gives the same bytes, but for Booleans and for texts that PDBByteStream
/// does not keep. The accessors convert from and to that text and do not look at a field's type; only writing does. The
/// text of a number, date or Boolean is made when somebody asks for it: most are read and written by their type alone.
///
/// One object serves all records of a table in turn and reuses its memory.
///
/// Field numbers run from 1; 0 is a place of its own that no record bytes belong to. Errors: 9 for any other number,
/// 13 "Type mismatch" for a text that does not convert, 6 "Overflow" for a value outside its type.
class PDBAppforgeRecord {
 public:
  /// Without a definition a record has no fields.
  PDBAppforgeRecord();

  const std::shared_ptr<const PDBAppforgeDefinition>& AppforgeDefinition() const { return definition_; }
  /// Empties all values. The definition is shared, not copied; it must not be null.
  void AppforgeDefinition(std::shared_ptr<const PDBAppforgeDefinition> definition);

  /// Writes the values into the stream and returns it: DataLength bytes and one spare zero byte, also where the last
  /// field is a single byte. Valid until the next call of a member that is not const.
  const PDBByteStream& ByteStream();
  /// Takes the stream over, with its settings, and reads the values from it. Error 9 when it ends before
  /// the fields do; the values read so far stay.
  void ByteStream(PDBByteStream stream);

  /// Bytes of the record for the current values, texts in their UTF-8 form whatever the stream is set to.
  std::int32_t DataLength() const;

  std::uint8_t ByteValue(std::int16_t i) const;
  void ByteValue(std::int16_t i, std::uint8_t value);
  /// True for the text "1" and nothing else.
  bool BooleanValue(std::int16_t i) const;
  void BooleanValue(std::int16_t i, bool value);
  /// Integers round the text of a fraction half to even.
  std::int16_t IntegerValue(std::int16_t i) const;
  void IntegerValue(std::int16_t i, std::int16_t value);
  std::int32_t LongValue(std::int16_t i) const;
  void LongValue(std::int16_t i, std::int32_t value);
  double DoubleValue(std::int16_t i) const;
  void DoubleValue(std::int16_t i, double value);
  /// In ten-thousandths.
  std::int64_t CurrencyValue(std::int16_t i) const;
  void CurrencyValue(std::int16_t i, std::int64_t tenThousandths);
  float SingleValue(std::int16_t i) const;
  void SingleValue(std::int16_t i, float value);
  Date DateValue(std::int16_t i) const;
  /// Rounds to the nearest second. Error 6 outside the years 100 to 9999; a date that a date field's 32 bits cannot
  /// hold is error 6 when the record is written.
  void DateValue(std::int16_t i, Date value);
  /// The text itself.
  const std::string& StringValue(std::int16_t i) const;
  void StringValue(std::int16_t i, std::string_view text);

 private:
  struct Held {
    std::string text;
    bool hasText = true;                     ///< else `text` is to be made of `bits`
    HandheldType type = HandheldType::Text;  ///< of `bits`; Text: there is the text alone
    /// Whole numbers and amounts as they are, floating-point numbers as their bits, dates as seconds since 1899-12-30.
    std::int64_t bits = 0;
  };

  /// The value of field `i`. Error 9.
  Held& At(std::int16_t i) const;
  /// The text of field `i`, emptied, to be filled.
  std::string& Cleared(std::int16_t i);
  void Hold(std::int16_t i, HandheldType type, std::int64_t bits);
  /// The value as `type`, as it was given or parsed from its text.
  std::int64_t BitsAs(std::int16_t i, HandheldType type) const;
  void ReadField(std::int16_t i, std::int32_t& pos);
  void WriteField(std::int16_t i, std::int32_t& pos);

  std::shared_ptr<const PDBAppforgeDefinition> definition_;
  PDBByteStream stream_;
  mutable std::vector<Held> values_;  ///< texts that are made on demand change nothing that callers can see
};

}  // namespace mv
