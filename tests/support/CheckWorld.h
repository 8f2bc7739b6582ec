#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/ByteOrder.h"
#include "check/Context.h"
#include "check/DatabaseCheck.h"
#include "check/UsageMaps.h"

namespace mv::testing {

using Lines = std::vector<std::string>;

/// The findings of a report, one line each.
inline Lines LinesOf(const check::Report& report) {
  Lines lines;
  for (const check::Finding& finding : report.findings) lines.push_back(LineOf(finding));
  for (const check::Omission& omission : report.omissions) lines.push_back(LineOf(omission));
  return lines;
}

/// What a check of a whole file finds.
inline Lines FindingsIn(const Bytes& file) {
  return LinesOf(check::CheckDatabase(file));
}

/// A file's bytes with little-endian words at a page's offsets.
class FileBytes {
 public:
  explicit FileBytes(Bytes bytes) : bytes_(std::move(bytes)) {}
  /// That many pages of zeros.
  explicit FileBytes(std::size_t pages) : bytes_(pages * jet::kPageSize) {}

  const Bytes& All() const { return bytes_; }
  std::size_t PageCount() const { return bytes_.size() / jet::kPageSize; }
  std::uint8_t* Page(jet::PageNumber page) { return bytes_.data() + page * jet::kPageSize; }
  std::uint8_t& Byte(jet::PageNumber page, std::size_t at) { return Page(page)[at]; }
  std::uint16_t Word16(jet::PageNumber page, std::size_t at) { return LoadLittle<std::uint16_t>(Page(page) + at); }
  std::uint32_t Word32(jet::PageNumber page, std::size_t at) { return LoadLittle<std::uint32_t>(Page(page) + at); }
  void Set16(jet::PageNumber page, std::size_t at, std::uint16_t word) { StoreLittle(Page(page) + at, word); }
  void Set32(jet::PageNumber page, std::size_t at, std::uint32_t word) { StoreLittle(Page(page) + at, word); }

  /// Makes a data page with these rows, all live.
  void PutDataPage(jet::PageNumber page, std::uint32_t owner, const std::vector<Bytes>& rows, std::uint32_t stamp = 0) {
    Set16(page, 0, 0x0101);
    Set32(page, 4, owner);
    Set32(page, 8, stamp);
    Set16(page, 12, static_cast<std::uint16_t>(rows.size()));
    std::size_t start = jet::kPageSize;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      start -= rows[i].size();
      std::copy(rows[i].begin(), rows[i].end(), Page(page) + start);
      Set16(page, 14 + 2 * i, static_cast<std::uint16_t>(start));
    }
    Set16(page, 2, static_cast<std::uint16_t>(start - 14 - 2 * rows.size()));
  }

  /// Where a slot's row begins on its page.
  std::size_t RowStart(jet::RowId row) { return Word16(row.page, 14 + 2u * row.slot) & 0x1FFFu; }
  std::size_t RowEnd(jet::RowId row) {
    return row.slot == 0 ? jet::kPageSize : RowStart({row.page, static_cast<std::uint8_t>(row.slot - 1)});
  }
  void SetSlotState(jet::RowId row, std::uint16_t flags) {
    const std::size_t at = 14 + 2u * row.slot;
    Set16(row.page, at, static_cast<std::uint16_t>((Word16(row.page, at) & 0x3FFF) | flags));
  }

 private:
  Bytes bytes_;
};

/// What the checks of one file share, over bytes that a test has made.
class CheckWorld {
 public:
  explicit CheckWorld(const Bytes& file)
      : header_(check::PageView(file.data(), check::kPageSize)),
        pages_(file, 0),
        owners_(pages_.Count(), findings_),
        rows_(pages_, findings_),
        context_{pages_, header_, findings_, owners_, rows_, report_},
        maps_(context_) {}
  explicit CheckWorld(const FileBytes& file) : CheckWorld(file.All()) {}

  check::Context& Context() { return context_; }
  check::UsageMaps& Maps() { return maps_; }
  check::Findings& Findings() { return findings_; }

  /// All findings so far; starts over.
  Lines Take() {
    check::Report report;
    findings_.MoveInto(report);
    findings_ = check::Findings();
    return LinesOf(report);
  }

 private:
  check::Header header_;
  check::PageReader pages_;
  check::Findings findings_;
  check::Report report_;
  check::PageOwners owners_;
  check::DataPages rows_;
  check::Context context_;
  check::UsageMaps maps_;
};

}  // namespace mv::testing
