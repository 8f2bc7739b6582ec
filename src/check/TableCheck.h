#pragma once

#include <optional>
#include <string>
#include <vector>

#include "check/Context.h"
#include "check/Definition.h"
#include "check/LongValues.h"
#include "check/RowReader.h"
#include "check/UsageMaps.h"

namespace mv::check {

/// The pages and rows of one table: its maps, its data and long value pages, each row and each value.
class TableCheck {
 public:
  TableCheck(Context& context, UsageMaps& maps, Definition& definition);

  /// Fills the parts of the definition that checks find out, indexes aside. False when the table's maps cannot be read:
  /// then nothing is known about its rows.
  bool Run();

 private:
  struct LongValuePages {
    std::size_t column = 0;
    std::vector<PageNumber> pages;
  };

  void CheckLongValuePages();
  std::vector<PageNumber> TakePages(const std::vector<PageNumber>& pages, PageOwners::Id owner, std::uint32_t ownerWord,
                                    const Place& place);
  void NoteOrphans() const;
  void CheckFreeSpaceMap(const std::vector<PageNumber>& listed, const Place& place);
  void CheckRows();
  void CheckSlot(RowId home);
  std::optional<RowId> FollowMove(RowId home, const Place& place);
  bool CheckRow(ByteView bytes, const Place& place);
  bool CheckCell(const Column& column, const Cell& cell, const Place& place);
  bool CheckText(const Column& column, ByteView bytes, const Place& place);
  void NoteMemoBeyondHandheld(const Place& place);
  std::string KeyText();
  void RememberAutonumber(ByteView bytes);
  void CheckCounters();

  Context& context_;
  UsageMaps& maps_;
  Definition& definition_;
  RowReader reader_;
  LongValues longValues_;
  std::vector<LongValuePages> longValuePages_;
  std::u16string units_;
  std::size_t rowCount_ = 0;
  bool hasDamagedRows_ = false;
  std::optional<std::int32_t> highestAutonumber_;
  const Row* row_ = nullptr;  ///< the one under check, for texts that name it
};

}  // namespace mv::check
