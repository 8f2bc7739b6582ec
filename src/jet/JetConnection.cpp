#include "jet/JetConnection.h"

#include <string_view>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "jet/JetRecordset.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

constexpr std::string_view kDataSource = "Data Source";

/// A value in quotes; a quote inside is written twice. Takes it and all up to the next separator off `rest`.
std::string TakeQuoted(std::string_view& rest) {
  const char quote = rest.front();
  std::string value;
  std::size_t at = 1;
  for (; at < rest.size(); ++at) {
    if (rest[at] == quote) {
      const bool isDoubled = at + 1 < rest.size() && rest[at + 1] == quote;
      if (!isDoubled) break;
      ++at;
    }
    value += rest[at];
  }
  const std::size_t separator = rest.find(';', at);
  rest.remove_prefix(separator == rest.npos ? rest.size() : separator + 1);
  return value;
}

std::string TakePlain(std::string_view& rest) {
  const std::size_t separator = rest.find(';');
  const std::string value(Trim(rest.substr(0, separator)));
  rest.remove_prefix(separator == rest.npos ? rest.size() : separator + 1);
  return value;
}

/// The value in front of `rest`, which advances behind the separator that ends it.
std::string TakeValue(std::string_view& rest) {
  const std::size_t start = rest.find_first_not_of(' ');
  if (start == rest.npos || (rest[start] != '"' && rest[start] != '\'')) return TakePlain(rest);
  rest.remove_prefix(start);
  return TakeQuoted(rest);
}

}  // namespace

std::string DataSourceOf(std::string_view connectionString) {
  std::string path;
  std::string_view rest = connectionString;
  while (!rest.empty()) {
    const std::size_t end = rest.find_first_of("=;");
    if (end == rest.npos) break;
    const std::string_view keyword = Trim(rest.substr(0, end));
    const bool hasValue = rest[end] == '=';
    rest.remove_prefix(end + 1);
    if (!hasValue) continue;
    std::string value = TakeValue(rest);
    if (EqualsIgnoreAsciiCase(keyword, kDataSource)) path = std::move(value);
  }
  return path;
}

JetConnection::JetConnection(std::unique_ptr<Database> database) : database_(std::move(database)) {}

Database& JetConnection::Open() {
  if (!database_) throw Error(errors::kJetGeneral, "", "The database is closed.");
  return *database_;
}

std::unique_ptr<Recordset> JetConnection::OpenTable(const std::string& tableName) {
  return std::make_unique<JetRecordset>(Open().OpenTable(tableName));
}

void JetConnection::Commit() {
  Open().Commit();
  Open().Pages().ShrinkTo(0);  // what was changed is on disk, and the next table is another one
}

void JetConnection::Close() {
  database_.reset();
}

std::unique_ptr<Connection> JetDatabaseProvider::Open(const std::string& connectionString) {
  const std::string path = DataSourceOf(connectionString);
  if (path.empty()) throw FileNotFoundError(path);
  return std::make_unique<JetConnection>(Database::Open(files_, path, PageFile::Mode::ReadWrite, sources_, committer_));
}

}  // namespace mv::jet
