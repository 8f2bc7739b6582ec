#include "jet/definition/PageOwners.h"

#include <cstdint>
#include <set>

#include "base/Error.h"
#include "jet/file/JetErrors.h"
#include "jet/pages/DataPage.h"
#include "jet/pages/UsageMap.h"

namespace mv::jet {
namespace {

/// Who has which page. Users are numbered; their names are for messages.
class Census {
 public:
  explicit Census(PageFile& file) : file_(file), users_(file.PageCount()), names_{"", "the file itself"} {
    Claim(0, kFile);
    Claim(kFreePagesMap.page, kFile);
    AddBitPages(kFreePagesMap, kFile);
    AddBitPages(kReleasedPagesMap, kFile);
  }

  void Add(const TableDefinition& table) {
    const User user = NewUser("table '" + table.name + "'");
    for (const PageNumber page : table.pages) Claim(page, user);
    AddMap(table.ownedPages, user);
    AddMap(table.freeSpacePages, user, Lists::Others);
    for (const IndexData& index : table.indexData) AddMap(index.map, user);
    for (const Column& column : table.columns) {
      if (!column.longValuePages.IsNone()) AddMap(column.longValuePages, user);
      if (!column.longValueFreeSpace.IsNone()) AddMap(column.longValueFreeSpace, user, Lists::Others);
    }
  }

  void CheckFreePages() const {
    for (const PageNumber page : UsageMap(file_, kFreePagesMap).Pages()) {
      if (page >= users_.size()) return;
      if (users_[page] != kNobody) Contradict(page, names_[users_[page]], "the free pages");
    }
  }

 private:
  using User = std::uint32_t;
  static constexpr User kNobody = 0;
  static constexpr User kFile = 1;

  /// What a map lists: pages that it makes its owner's, or some of those that another map does.
  enum class Lists { Own, Others };

  User NewUser(const std::string& name) {
    names_.push_back(name);
    return static_cast<User>(names_.size() - 1);
  }

  [[noreturn]] void Contradict(PageNumber page, const std::string& one, const std::string& other) const {
    throw DamagedFileError("page " + std::to_string(page) + " belongs to " + one + " and to " + other);
  }

  void Claim(PageNumber page, User user) {
    if (page >= users_.size()) {
      throw DamagedFileError(names_[user] + " has page " + std::to_string(page) + ", which lies behind the end");
    }
    if (users_[page] != kNobody) Contradict(page, names_[users_[page]], names_[user]);
    users_[page] = user;
  }

  void AddMap(RowId map, User user, Lists lists = Lists::Own) {
    if (!maps_.insert(map).second) {
      throw DamagedFileError(names_[user] + " shares the page map " + std::to_string(map.page) + "/" +
                             std::to_string(map.slot));
    }
    // The maps of one table, and those of all system tables, share pages.
    if (mapPages_.insert(map.page).second) {
      Claim(map.page, user);
      const DataPageView page(file_, map.page);
      for (std::size_t slot = 0; slot < page.SlotCount(); ++slot) page.Row(slot);
    }
    AddBitPages(map, user);
    if (lists == Lists::Others) return;
    for (const PageNumber page : UsageMap(file_, map).Pages()) Claim(page, user);
  }

  void AddBitPages(RowId map, User user) {
    for (const PageNumber page : UsageMap(file_, map).BitPages()) Claim(page, user);
  }

  PageFile& file_;
  std::vector<User> users_;  ///< by page
  std::vector<std::string> names_;
  std::set<RowId> maps_;
  std::set<PageNumber> mapPages_;
};

}  // namespace

void CheckPageOwners(PageFile& file, const std::vector<NamedTable>& tables) {
  Census census(file);
  for (const NamedTable& table : tables) {
    TableDefinition definition;
    try {
      definition = ReadDefinition(file, table.page, table.name);
    } catch (const Error&) {
      continue;  // the contract: nothing of it can be read or changed
    }
    census.Add(definition);
  }
  census.CheckFreePages();
}

}  // namespace mv::jet
