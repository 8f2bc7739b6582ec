#include "jet/rows/RowStore.h"

#include <array>
#include <string>

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "jet/file/JetErrors.h"
#include "jet/pages/DataPage.h"

namespace mv::jet {
namespace {

constexpr std::size_t kAddressSize = 4;
/// A page with this many free bytes or fewer is not listed as having room.
constexpr std::size_t kFullBelow = 256;

std::string AddressText(RowId row) {
  return "row " + std::to_string(row.page) + "/" + std::to_string(row.slot);
}

bool HasRoomToList(const DataPageView& page) {
  return page.FreeSpace() > kFullBelow && page.SlotCount() < kMaxSlots;
}

}  // namespace

RowStore::RowStore(PageFile& file, PageNumber tablePage, RowId owned, RowId freeSpace)
    : file_(file), freePages_(file), tablePage_(tablePage), owned_(file, owned), freeSpace_(file, freeSpace) {}

void RowStore::DamagedList(PageNumber number) {
  throw DamagedFileError("page " + std::to_string(number) + " is listed by a table that does not own it");
}

bool RowStore::IsOwned(PageNumber number) const {
  if (number == lastOwned_ && number != 0 && undoneThen_ == file_.Undone()) return true;
  if (!owned_.Contains(number)) return false;
  lastOwned_ = number;
  undoneThen_ = file_.Undone();
  return true;
}

/// A page that the table's maps list: theirs also by its own word.
DataPageView RowStore::OwnPage(PageNumber number) const {
  const DataPageView page(file_, number);
  if (page.Owner() != tablePage_) DamagedList(number);
  return page;
}

std::optional<PageNumber> RowStore::LowestOwnedFrom(PageNumber number) const {
  return IsOwned(number) ? number : owned_.LowestFrom(number);
}

std::optional<RowId> RowStore::First() const {
  return NextFrom(0, 0);
}

std::optional<RowId> RowStore::Next(RowId row) const {
  return NextFrom(row.page, row.slot + std::size_t{1});
}

/// The first live row from slot `slot` of `page` on, or on a later page.
std::optional<RowId> RowStore::NextFrom(PageNumber page, std::size_t slot) const {
  for (auto number = LowestOwnedFrom(page); number; number = owned_.LowestFrom(*number + 1)) {
    const DataPageView view = OwnPage(*number);
    for (std::size_t at = *number == page ? slot : 0; at < view.SlotCount(); ++at) {
      if (view.IsHome(at)) return RowId{*number, static_cast<std::uint8_t>(at)};
    }
  }
  return std::nullopt;
}

std::optional<RowId> RowStore::Last() const {
  for (auto number = owned_.Highest(); number; number = owned_.HighestBelow(*number)) {
    const DataPageView view = OwnPage(*number);
    for (std::size_t at = view.SlotCount(); at-- > 0;) {
      if (view.IsHome(at)) return RowId{*number, static_cast<std::uint8_t>(at)};
    }
  }
  return std::nullopt;
}

bool RowStore::IsLive(RowId row) const {
  if (!IsOwned(row.page)) return false;
  const DataPageView page = OwnPage(row.page);
  return row.slot < page.SlotCount() && page.IsHome(row.slot);
}

std::int64_t RowStore::Count() const {
  std::int64_t count = 0;
  for (auto number = owned_.Lowest(); number; number = owned_.LowestFrom(*number + 1)) {
    const DataPageView page = OwnPage(*number);
    for (std::size_t slot = 0; slot < page.SlotCount(); ++slot) count += page.IsHome(slot) ? 1 : 0;
  }
  return count;
}

void RowStore::RequireLive(RowId row) const {
  if (!IsLive(row)) throw StandardError(errors::kNoCurrentRecord);
}

ByteView RowStore::Read(RowId row) const {
  RequireLive(row);
  const RowId at = LandingOf(row).value_or(row);
  return DataPageView(file_, at.page).Row(at.slot);
}

/// Where a moved row lies; nothing for a row that is at home. Moved rows are never moved on: no engine writes a second
/// hop.
std::optional<RowId> RowStore::LandingOf(RowId home) const {
  const DataPageView page(file_, home.page);
  if (page.State(home.slot) != SlotState::Moved) return std::nullopt;
  const ByteView bytes = page.Row(home.slot);
  if (bytes.size() < kAddressSize) throw DamagedFileError(AddressText(home) + " was moved to no address");
  const RowId landing = RowId::FromWord(LoadLittle<std::uint32_t>(bytes.data()));
  const bool isLanding = IsOwned(landing.page) && OwnPage(landing.page).State(landing.slot) == SlotState::Landing;
  if (!isLanding) throw DamagedFileError(AddressText(home) + " was moved to a place that does not hold it");
  return landing;
}

RowId RowStore::Insert(ByteView row) {
  return Place(row, Where::Home);
}

RowId RowStore::Place(ByteView row, Where where) {
  const std::optional<PageNumber> found = PageWithRoom(row.size());
  const PageNumber number = found ? *found : NewPage();
  DataPage page(file_, number);
  const std::uint8_t slot = page.Append(row, where == Where::Home ? SlotState::Live : SlotState::Landing);
  if (!HasRoomToList(page)) freeSpace_.Remove(number);
  return {number, slot};
}

/// The highest listed page with room. Pages found too full are taken off the list, so none is tried twice in vain.
std::optional<PageNumber> RowStore::PageWithRoom(std::size_t length) {
  while (const std::optional<PageNumber> number = freeSpace_.Highest()) {
    if (!owned_.Contains(*number)) DamagedList(*number);
    const DataPageView page = OwnPage(*number);
    if (page.HasRoomFor(length)) return number;
    freeSpace_.Remove(*number);
  }
  return std::nullopt;
}

PageNumber RowStore::NewPage() {
  const std::optional<PageNumber> first = owned_.Lowest();
  const PageNumber number = freePages_.Allocate();
  DataPage::Format(file_.Write(number), tablePage_);
  owned_.Add(number, freePages_);
  freeSpace_.Add(number, freePages_);
  // An empty first page stays only as long as it is the first.
  if (first && number < *first && DataPageView(file_, *first).IsEmpty()) FreePage(*first);
  return number;
}

void RowStore::FreePage(PageNumber number) {
  if (number == lastOwned_) lastOwned_ = 0;
  owned_.Remove(number);
  freeSpace_.Remove(number);
  freePages_.Free(number);
}

void RowStore::Replace(RowId home, ByteView row) {
  RequireLive(home);
  const std::optional<RowId> landing = LandingOf(home);
  DataPage page(file_, home.page);
  if (row.size() <= page.FreeSpace() + page.Row(home.slot).size()) {
    page.Replace(home.slot, row, SlotState::Live);
    NoteSpace(home.page);
    if (landing) RemoveSlot(*landing);
    return;
  }
  if (landing) {
    DataPage landingPage(file_, landing->page);
    if (row.size() <= landingPage.FreeSpace() + landingPage.Row(landing->slot).size()) {
      landingPage.Replace(landing->slot, row, SlotState::Landing);
      NoteSpace(landing->page);
      return;
    }
  }
  const RowId newLanding = Place(row, Where::Landing);
  std::array<std::uint8_t, kAddressSize> address = {};
  StoreLittle(address.data(), newLanding.Word());
  page.Replace(home.slot, address, SlotState::Moved);
  NoteSpace(home.page);
  if (landing) RemoveSlot(*landing);
}

void RowStore::Remove(RowId home) {
  RequireLive(home);
  if (const std::optional<RowId> landing = LandingOf(home)) RemoveSlot(*landing);
  RemoveSlot(home);
}

void RowStore::RemoveSlot(RowId row) {
  DataPage page(file_, row.page);
  page.Remove(row.slot);
  if (page.IsEmpty() && row.page != owned_.Lowest()) {
    FreePage(row.page);
  } else {
    NoteSpace(row.page);
  }
}

/// Lists a page as having room, or not, after its free space has changed.
void RowStore::NoteSpace(PageNumber number) {
  if (HasRoomToList(DataPageView(file_, number))) {
    freeSpace_.Add(number, freePages_);
  } else {
    freeSpace_.Remove(number);
  }
}

}  // namespace mv::jet
