#include "mvtool/files/FileKind.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "mvtool/files/ToolErrors.h"
#include "pdb/TableFormat.h"

namespace mv::tool {
namespace {

constexpr std::size_t kDatabaseMarkOffset = 4;
constexpr std::string_view kDatabaseStart("\0\1\0\0", kDatabaseMarkOffset);
constexpr std::string_view kDatabaseMarks[] = {"Standard Jet DB", "Standard ACE DB"};

using Start = std::array<std::uint8_t, table_format::kHeaderSize>;

bool IsDatabase(const Start& start, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(start.data()), std::min(size, start.size()));
  if (!text.starts_with(kDatabaseStart)) return false;
  return std::any_of(std::begin(kDatabaseMarks), std::end(kDatabaseMarks),
                     [&](std::string_view mark) { return text.substr(kDatabaseMarkOffset).starts_with(mark); });
}

bool IsTableFile(const Start& start, std::uint64_t fileSize) {
  if (fileSize < table_format::kHeaderSize) return false;
  const std::uint64_t records = LoadBig<std::uint16_t>(start.data() + table_format::kRecordCountAt);
  return fileSize >= table_format::kHeaderSize + records * table_format::kEntrySize;
}

}  // namespace

FileKind KindOf(platform::FileSystem& files, const std::string& path) {
  Start start = {};
  std::size_t read = 0;
  std::uint64_t fileSize = 0;
  try {
    const auto file =
        files.Open(path, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::Read);
    read = file->ReadAt(0, start);
    fileSize = file->Size();
  } catch (const Error& error) {
    throw At(path, error);
  }
  if (IsDatabase(start, read)) return FileKind::Database;
  if (IsTableFile(start, fileSize)) return FileKind::TableFile;
  throw Failure("\"" + path + "\" is neither a database nor a table file");
}

}  // namespace mv::tool
