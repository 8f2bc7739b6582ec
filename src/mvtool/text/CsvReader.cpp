#include "mvtool/text/CsvReader.h"

#include <algorithm>
#include <istream>
#include <string_view>
#include <utility>

#include "base/Error.h"
#include "base/NumberText.h"
#include "base/Text.h"
#include "base/Utf.h"

namespace mv::tool {
namespace {

[[noreturn]] void FailAt(JsonPosition position, const std::string& message) {
  Json(nullptr, position).Fail(message);
}

bool IsContinuation(int byte) {
  return (byte & 0xC0) == 0x80;
}

bool IsNumber(const std::string& text) {
  try {
    DecimalPlaces(text);
    return true;
  } catch (const Error&) {
    return false;
  }
}

bool HoldsNumbers(DataType type) {
  switch (type) {
    case DataType::UnsignedTinyInt:
    case DataType::SmallInt:
    case DataType::Integer:
    case DataType::Single:
    case DataType::Double:
    case DataType::Currency:
    case DataType::Numeric:
    case DataType::Date:  // a count of days
    case DataType::DBDate:
    case DataType::DBTimeStamp:
      return true;
    default:
      return false;
  }
}

/// What a column of this type reads as JSON. A text that the column cannot hold stays one, and is refused there.
Json::Content ContentOf(const CsvCell& cell, DataType type) {
  if (cell.text.empty() && !cell.quoted) return nullptr;
  if (type == DataType::Boolean && EqualsIgnoreAsciiCase(cell.text, "true")) return true;
  if (type == DataType::Boolean && EqualsIgnoreAsciiCase(cell.text, "false")) return false;
  if (HoldsNumbers(type) && IsNumber(cell.text)) return JsonNumber{cell.text};
  return cell.text;
}

bool IsEmptyLine(const std::vector<CsvCell>& cells) {
  return cells.size() == 1 && cells[0].text.empty() && !cells[0].quoted;
}

}  // namespace

CsvReader::CsvReader(std::istream& in) : in_(in) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  std::string start;
  while (start.size() < kMark.size() && kMark.starts_with(start)) {
    const int byte = in_.rdbuf()->sbumpc();
    if (byte == kEnd) break;
    start += static_cast<char>(byte);
  }
  if (start != kMark) ahead_.assign(start.rbegin(), start.rend());
  next_ = Fetch();
}

int CsvReader::Fetch() {
  if (ahead_.empty()) return in_.rdbuf()->sbumpc();
  const auto byte = static_cast<unsigned char>(ahead_.back());
  ahead_.pop_back();
  return byte;
}

/// The next byte; the one behind it is next then.
int CsvReader::Take() {
  const int taken = next_;
  if (taken == kEnd) return taken;
  if (taken == '\n') {
    position_ = {position_.line + 1, 1};
  } else if (!IsContinuation(taken)) {
    ++position_.column;
  }
  next_ = Fetch();
  return taken;
}

/// Takes the end of a line, or of the file, when it comes next.
bool CsvReader::EndsLine() {
  if (next_ == '\r') {
    const JsonPosition position = position_;
    Take();
    if (next_ != '\n') FailAt(position, "a CR that no LF follows must stand in quotes");
  }
  if (next_ != '\n' && next_ != kEnd) return false;
  Take();
  return true;
}

std::optional<std::vector<CsvCell>> CsvReader::Next() {
  if (next_ == kEnd) return std::nullopt;
  std::vector<CsvCell> cells;
  do {
    cells.push_back(ReadCell());
  } while (!endedLine_);
  return cells;
}

CsvCell CsvReader::ReadCell() {
  CsvCell cell{{}, next_ == '"', position_};
  if (cell.quoted) {
    ReadQuoted(cell);
  } else {
    ReadPlain(cell);
  }
  if (!IsValidUtf8(cell.text)) FailAt(cell.position, "this is not UTF-8");
  return cell;
}

void CsvReader::ReadQuoted(CsvCell& cell) {
  Take();
  while (true) {
    if (next_ == kEnd) FailAt(cell.position, "the quote has no end");
    const int byte = Take();
    if (byte == '"') {
      if (next_ != '"') break;
      Take();
    }
    cell.text += static_cast<char>(byte);
  }
  endedLine_ = EndsLine();
  if (endedLine_) return;
  if (next_ != ',') FailAt(position_, "behind a field in quotes a comma or the end of the line is wanted");
  Take();
}

void CsvReader::ReadPlain(CsvCell& cell) {
  while (true) {
    endedLine_ = EndsLine();
    if (endedLine_) return;
    if (next_ == '"') FailAt(position_, "a field that holds a quote must stand in quotes");
    const int byte = Take();
    if (byte == ',') return;
    cell.text += static_cast<char>(byte);
  }
}

CsvRows::CsvRows(std::istream& in, const TypeOf& typeOf) : reader_(in) {
  const std::optional<std::vector<CsvCell>> header = reader_.Next();
  if (!header || IsEmptyLine(*header)) FailAt({}, "a line with the names of the columns is wanted here");
  for (const CsvCell& cell : *header) {
    const std::optional<DataType> type = typeOf(cell.text);
    if (!type) FailAt(cell.position, "the table has no column \"" + cell.text + "\"");
    const auto isSame = [&](const Column& column) { return EqualsIgnoreAsciiCase(column.name, cell.text); };
    if (std::any_of(columns_.begin(), columns_.end(), isSame)) {
      FailAt(cell.position, "a second column \"" + cell.text + "\"");
    }
    columns_.push_back({cell.text, *type});
  }
}

std::optional<Json> CsvRows::Next() {
  std::optional<std::vector<CsvCell>> cells = reader_.Next();
  while (cells && columns_.size() > 1 && IsEmptyLine(*cells)) cells = reader_.Next();
  if (!cells) return std::nullopt;
  const std::size_t extra = std::min(cells->size() - 1, columns_.size());
  if (cells->size() != columns_.size()) {
    FailAt((*cells)[extra].position,
           std::to_string(columns_.size()) + " fields are wanted in a line, not " + std::to_string(cells->size()));
  }
  Json::Object row;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const CsvCell& cell = (*cells)[i];
    row.push_back({columns_[i].name, Json(ContentOf(cell, columns_[i].type), cell.position)});
  }
  return Json(std::move(row), cells->front().position);
}

}  // namespace mv::tool
