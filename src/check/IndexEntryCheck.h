#pragma once

#include <vector>

#include "check/Context.h"
#include "check/Definition.h"
#include "check/IndexPage.h"
#include "check/KeyBuilder.h"

namespace mv::check {

/// The entries of one index against each other and against the rows of its table: order, keys, one entry a row,
/// uniqueness, nulls.
class IndexEntryCheck {
 public:
  /// `leaves`: from left to right.
  IndexEntryCheck(Context& context, const Definition& definition, const Index& index,
                  const std::vector<PageNumber>& leaves);
  void Run();

  /// The keys by the usual rules of rows whose entries were built by others, ascending.
  const std::vector<Bytes>& KeysOfOtherRules() const { return otherKeys_; }

 private:
  /// What is remembered of the entry before: views into its page.
  struct Previous {
    bool exists = false;
    Entry entry;
    bool countsAsUnique = false;  ///< its row is known and not all null, its key is by the usual rules
  };

  void CheckEntry(const Entry& entry, const Place& place);
  void CheckOrder(const Entry& entry, const Place& place);
  bool TakeRow(RowId row, const Place& place);
  void CheckKey(const Entry& entry, RowId home, const Place& place);
  void CompareKey(const Entry& stored, const Row& row, RowId home, const Place& place);
  bool IsOfOtherRules(const Entry& stored, const Row& row);
  void CheckUniqueAcrossRules();
  bool IsRow(RowId row) const;
  void CheckRowsWithoutEntry();
  bool MayLackEntry(RowId home);

  Context& context_;
  const Definition& definition_;
  const Index& index_;
  const std::vector<PageNumber>& leaves_;
  Place place_;
  RowReader reader_;
  KeyBuilder builder_;
  KeyBuilder::Key key_;
  IndexPage page_;
  std::vector<bool> seen_;  ///< by slot number from definition_.firstRowNumber on
  Previous previous_;
  std::vector<Bytes> otherKeys_;
  bool isOther_ = false;  ///< the entry under check was built by other rules
  std::size_t unknownKeys_ = 0;
};

}  // namespace mv::check
