#include "mvtool/files/RowSource.h"

#include <utility>

#include "jet/rows/ColumnValue.h"
#include "mvtool/files/RowKey.h"
#include "pdb/HandheldType.h"

namespace mv::tool {
namespace {

class DatabaseRows : public RowSource {
 public:
  explicit DatabaseRows(const jet::Table& table) : table_(table), next_(table.First()) {
    for (const jet::Column& column : table.Definition().columns) {
      fields_.push_back({column.name, jet::DataTypeOf(column.type), 0});
    }
  }

  const std::string& Name() const override { return table_.Definition().name; }
  const std::vector<FieldDefinition>& Fields() const override { return fields_; }
  std::vector<std::size_t> Key() const override { return KeyOf(table_.Definition()); }
  bool IsOnHandheld() const override { return false; }
  std::optional<std::vector<Value>> Next() override {
    if (!next_) return std::nullopt;
    std::vector<Value> row = table_.ReadRow(*next_);
    table_.ForgetOldPages();
    next_ = table_.Next(*next_);
    return row;
  }

 private:
  const jet::Table& table_;
  std::optional<jet::RowId> next_;
  std::vector<FieldDefinition> fields_;
};

class FileRows : public RowSource {
 public:
  FileRows(std::unique_ptr<TableFileReader> file, bool withAttributes)
      : file_(std::move(file)), withAttributes_(withAttributes) {
    if (withAttributes) fields_.push_back({"_attributes", DataType::UnsignedTinyInt, 0});
    for (const TableFileField& field : file_->Header().fields) {
      const std::optional<HandheldType> type = HandheldTypeNumbered(field.type);
      fields_.push_back({field.name, type ? DataTypeOf(*type) : DataType::BStr, 0});
    }
  }

  const std::string& Name() const override { return file_->Header().name; }
  const std::vector<FieldDefinition>& Fields() const override { return fields_; }
  std::vector<std::size_t> Key() const override { return KeyOf(Name(), fields_); }
  bool IsOnHandheld() const override { return true; }
  std::optional<std::vector<Value>> Next() override {
    std::optional<HandheldRecord> record = file_->Next();
    if (!record) return std::nullopt;
    if (!withAttributes_) return std::move(record->values);
    std::vector<Value> row = {record->attributes};
    row.insert(row.end(), record->values.begin(), record->values.end());
    return row;
  }

 private:
  std::unique_ptr<TableFileReader> file_;
  bool withAttributes_;
  std::vector<FieldDefinition> fields_;
};

}  // namespace

std::unique_ptr<RowSource> RowsOf(const jet::Table& table) {
  return std::make_unique<DatabaseRows>(table);
}

std::unique_ptr<RowSource> RowsOf(std::unique_ptr<TableFileReader> file, bool withAttributes) {
  return std::make_unique<FileRows>(std::move(file), withAttributes);
}

}  // namespace mv::tool
