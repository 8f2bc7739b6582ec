#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "json/Json.h"
#include "recordset/Value.h"

namespace mv::tool {

/// One field of a CSV file.
struct CsvCell {
  std::string text;     ///< without its quotes
  bool quoted = false;  ///< what tells "", an empty text, from nothing, the null
  JsonPosition position;
};

/// Records of a CSV file (RFC 4180) one by one: fields with commas between, in quotes where they hold a comma, a quote
/// (written twice) or a line break; lines that end with LF or CR LF, the last one or not; UTF-8, a byte order mark in
/// front is skipped. Keeps one record at a time, so that a file may be of any length.
class CsvReader {
 public:
  /// The stream must outlive the reader.
  explicit CsvReader(std::istream& in);

  /// The next record; nothing at the end. An empty line is a record of one empty field. Failure with line and column
  /// for a quote that has no end or stands where none may, for a lone CR and for what is not UTF-8.
  std::optional<std::vector<CsvCell>> Next();

 private:
  static constexpr int kEnd = -1;

  int Fetch();
  int Take();
  bool EndsLine();
  CsvCell ReadCell();
  void ReadQuoted(CsvCell& cell);
  void ReadPlain(CsvCell& cell);

  std::istream& in_;
  std::string ahead_;       ///< first bytes, which could have been a byte order mark, back to front
  int next_ = kEnd;         ///< the byte that comes next
  JsonPosition position_;   ///< its place
  bool endedLine_ = false;  ///< whether the cell read last was the last one of its line
};

/// The rows of a CSV file with a header line, each as a JSON object by the names in the header, with the places that
/// they have in the file: what reads rows of JSON reads these as well.
class CsvRows {
 public:
  /// The type of the values of a column; nothing where there is no such column.
  using TypeOf = std::function<std::optional<DataType>(const std::string& column)>;

  /// Reads the header. Failure when there is none and for a name that is unknown or comes twice.
  CsvRows(std::istream& in, const TypeOf& typeOf);

  /// The next row; nothing at the end. Nothing between two commas is null, "" an empty text. Empty lines are skipped,
  /// but in a file of one column they are a null. Failure, with line and column, for a row of more or fewer fields than
  /// the header has.
  std::optional<Json> Next();

 private:
  struct Column {
    std::string name;
    DataType type;
  };

  CsvReader reader_;
  std::vector<Column> columns_;
};

}  // namespace mv::tool
