#include <algorithm>
#include <utility>

#include "base/ByteOrder.h"
#include "jet/definition/DefinitionLayout.h"
#include "jet/definition/TableDefinition.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

/// Enough for 255 columns and 32 indexes with the longest names.
constexpr std::size_t kMaxDefinitionPages = 64;

/// The bytes of a definition chain; notes the pages it lies on.
Bytes GatherPages(const PageFile& file, PageNumber first, const std::string& name, std::vector<PageNumber>& pages) {
  Bytes bytes;
  for (PageNumber number = first; number != 0;) {
    if (pages.size() == kMaxDefinitionPages) {
      throw DamagedFileError("table '" + name + "': the chain of its definition pages does not end");
    }
    const Page& page = file.Read(number);
    if (LoadLittle<std::uint16_t>(page.data()) != static_cast<std::uint16_t>(PageKind::Definition)) {
      throw DamagedFileError("table '" + name + "': page " + std::to_string(number) + " is no definition page");
    }
    bytes.insert(bytes.end(), pages.empty() ? page.begin() : page.begin() + layout::kPageHeader, page.end());
    pages.push_back(number);
    number = LoadLittle<std::uint32_t>(page.data() + layout::kNextPageAt);
  }
  return bytes;
}

}  // namespace

TableDefinition ReadDefinition(const PageFile& file, PageNumber page, const std::string& name) {
  std::vector<PageNumber> pages;
  const Bytes bytes = GatherPages(file, page, name, pages);
  TableDefinition table = ParseDefinition(bytes, page, name);
  table.pages = std::move(pages);
  return table;
}

Bytes ReadDefinitionBytes(const PageFile& file, const TableDefinition& table) {
  std::vector<PageNumber> pages;
  Bytes bytes = GatherPages(file, table.page, table.name, pages);
  const auto length = LoadLittle<std::uint32_t>(bytes.data() + layout::kLengthAt);
  if (length > bytes.size()) throw DamagedFileError("table '" + table.name + "': its definition is cut off");
  bytes.resize(length);
  return bytes;
}

std::uint32_t RowCount(const PageFile& file, const TableDefinition& table) {
  return LoadLittle<std::uint32_t>(file.Read(table.page).data() + layout::kRowCountAt);
}

void SetRowCount(PageFile& file, const TableDefinition& table, std::uint32_t count) {
  StoreLittle(file.Write(table.page).data() + layout::kRowCountAt, count);
}

std::int32_t LastAutonumber(const PageFile& file, const TableDefinition& table) {
  return LoadLittle<std::int32_t>(file.Read(table.page).data() + layout::kLastAutonumberAt);
}

std::int32_t AutonumberStep(const PageFile& file, const TableDefinition& table) {
  return LoadLittle<std::int32_t>(file.Read(table.page).data() + layout::kAutonumberStepAt);
}

void SetLastAutonumber(PageFile& file, const TableDefinition& table, std::int32_t value) {
  StoreLittle(file.Write(table.page).data() + layout::kLastAutonumberAt, value);
}

void AddToDistinctKeys(PageFile& file, const TableDefinition& table, std::size_t dataNumber, std::int32_t delta) {
  std::uint8_t* word = file.Write(table.page).data() + layout::kHeadSize + layout::kStatisticsSize * dataNumber +
                       layout::kDistinctKeysAt;
  const std::int64_t sum = std::int64_t{LoadLittle<std::uint32_t>(word)} + delta;
  StoreLittle(word, static_cast<std::uint32_t>(std::clamp<std::int64_t>(sum, 0, UINT32_MAX)));
}

std::size_t DefinitionPages(std::size_t length) {
  const std::size_t taken = length + layout::kReserve;
  if (taken <= layout::kFirstPageBytes) return 1;
  return 1 + (taken - layout::kFirstPageBytes + layout::kNextPageBytes - 1) / layout::kNextPageBytes;
}

void WriteDefinition(PageFile& file, const Bytes& definition, const std::vector<PageNumber>& pages) {
  Bytes rest = definition;
  rest.resize(definition.size() + layout::kReserve);
  const std::size_t count = DefinitionPages(definition.size());
  std::size_t written = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t start = i == 0 ? 0 : layout::kPageHeader;
    const std::size_t size = std::min(kPageSize - start, rest.size() - written);
    Page& page = file.Write(pages.at(i));
    page.fill(0);
    std::copy_n(rest.begin() + static_cast<std::ptrdiff_t>(written), size,
                page.begin() + static_cast<std::ptrdiff_t>(start));
    StoreLittle(page.data(), static_cast<std::uint16_t>(PageKind::Definition));
    StoreLittle(page.data() + layout::kFreeAt, static_cast<std::uint16_t>(kPageSize - start - size));
    StoreLittle<std::uint32_t>(page.data() + layout::kNextPageAt, i + 1 < count ? pages.at(i + 1) : 0);
    written += size;
  }
}

}  // namespace mv::jet
