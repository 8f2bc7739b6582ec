#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "check/Context.h"
#include "check/Definition.h"
#include "check/IndexPage.h"
#include "check/UsageMaps.h"

namespace mv::check {

/// The pages of one index: heads, levels, links, what nodes say about their children, and the map. Works level by
/// level from the root, so that no tree is too deep.
class IndexTreeCheck {
 public:
  IndexTreeCheck(Context& context, UsageMaps& maps, const Definition& definition, const Index& index);

  /// The leaves from left to right. Nothing, with a finding, when the tree hangs together so badly that its entries
  /// cannot be gone through in order.
  std::optional<std::vector<PageNumber>> Run();

 private:
  using Level = std::vector<PageNumber>;

  bool ReadLevels();
  bool CheckPage(PageNumber number, Level& children);
  bool ReadPage(PageNumber number);
  void CheckHead(const Place& place);
  void CheckLeaf(PageNumber number);
  bool TakeChildren(PageNumber number, Level& children);
  void CheckMap(const std::vector<PageNumber>& mapped);
  void CheckLevelBytes();
  void CheckLeafLinks();
  void CheckNodeLinks();
  void CheckSeparators();
  Level LastLeaves(const Level& nodes, const Level& childrensLastLeaves);
  void CheckSeparator(const Entry& separator, PageNumber lastLeaf, const Place& place);

  Context& context_;
  UsageMaps& maps_;
  const Definition& definition_;
  const Index& index_;
  Place place_;
  PageOwners::Id owner_;
  IndexPage page_;
  IndexPage leaf_;
  std::vector<Level> levels_;  ///< from the root down
};

}  // namespace mv::check
