#include "mvtool/text/RowWriter.h"

#include <ostream>
#include <utility>

#include "json/Json.h"
#include "mvtool/text/ValueText.h"

namespace mv::tool {
namespace {

class JsonLinesWriter : public RowWriter {
 public:
  JsonLinesWriter(std::ostream& out, std::vector<std::string> fieldNames)
      : out_(out), fieldNames_(std::move(fieldNames)) {}

  void Write(std::span<const Value> values) override {
    writer_.Clear();
    writer_.BeginObject();
    for (std::size_t i = 0; i < fieldNames_.size(); ++i) {
      writer_.Name(fieldNames_[i]);
      WriteJsonValue(writer_, values[i]);
    }
    writer_.EndObject();
    out_ << writer_.Result() << '\n';
  }

 private:
  std::ostream& out_;
  std::vector<std::string> fieldNames_;
  JsonWriter writer_;
};

class CsvWriter : public RowWriter {
 public:
  CsvWriter(std::ostream& out, const std::vector<std::string>& fieldNames) : out_(out) {
    WriteLine(std::span(fieldNames), AppendCsvText);
  }

  void Write(std::span<const Value> values) override { WriteLine(values, AppendCsvField); }

 private:
  template <typename Field, typename Append>
  void WriteLine(std::span<const Field> fields, Append append) {
    line_.clear();
    for (std::size_t i = 0; i < fields.size(); ++i) {
      if (i != 0) line_ += ',';
      append(line_, fields[i]);
    }
    line_ += "\r\n";
    out_ << line_;
  }

  std::ostream& out_;
  std::string line_;  ///< reused: rows are written by the thousand
};

}  // namespace

std::unique_ptr<RowWriter> MakeRowWriter(RowFormat format, std::ostream& out, std::vector<std::string> fieldNames) {
  if (format == RowFormat::Csv) return std::make_unique<CsvWriter>(out, fieldNames);
  return std::make_unique<JsonLinesWriter>(out, std::move(fieldNames));
}

}  // namespace mv::tool
