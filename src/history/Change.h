#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "history/RunRecord.h"
#include "json/Json.h"
#include "recordset/Value.h"
#include "sync/MergeObserver.h"

namespace mv::history {

/// What can happen to a row.
enum class What {
  Added,
  Changed,
  Deleted,
  Dropped,    ///< the handheld lost a row that no desktop row matched and that nothing flagged
  Overruled,  ///< a row edited on the desktop lost against the handheld's flag; a line of its own beside that of the
              ///< change
};

std::string_view NameOf(What what);
std::string_view NameOf(Side side);
/// Dropped and overruled rows are somebody's work that is gone without anybody having asked for it.
bool IsLoss(What what);

/// What happened to one row of one side. Dates and numbers are in the form of json/ValueJson.h.
struct Change {
  std::string table;
  std::string key;  ///< text of the key field
  Side side = Side::Desktop;
  What what = What::Added;
  std::string before;  ///< the values as a JSON object by field; empty when there was no row
  std::string after;   ///< likewise
};

/// The values as a JSON object by field; each name in `fields` once.
std::string ObjectOf(const std::vector<std::string>& fields, const std::vector<Value>& row);

/// One line of changes.jsonl, without its line feed:
///
///   {"table":"brnd_Fuel","key":"F-17","side":"desktop","what":"changed","before":{"KY_RECID":"F-17",...},"after":{...}}
///
/// "side" is "desktop" or "handheld"; "what" is "added", "changed", "deleted", "dropped" or "overruled"; "before" and
/// "after" are null where there is no row.
std::string JsonLineOf(const Change& change);
/// The inverse. Failure for a line that is not of the form.
Change ChangeFromJson(const Json& json);

/// Writes the lines of changes.jsonl of rows that are still values, each with its line feed. Uses its memory again: a
/// run writes them by the thousand.
class ChangeLines {
 public:
  using Row = std::vector<Value>;

  /// The line of a change. Good until the next call; `before` and `after` are null where there is no row.
  const std::string& LineOf(std::string_view table, std::string_view key, Side side, What what,
                            const std::vector<JsonName>& fields, const Row* before, const Row* after);
  /// The last line with another word for what happened. Good until the next call.
  const std::string& SameLineWith(What what);

 private:
  void WriteRow(const std::vector<JsonName>& fields, const Row* row);

  JsonWriter writer_;
  std::size_t whatAt_ = 0;  ///< where the word begins in the last line
  std::size_t whatEnd_ = 0;
  std::string other_;
};

/// The fields in which the two rows of a change differ, or all of the one that there is, long values cut:
/// "NM_ODO 1200 -> 1250".
std::string DifferenceOf(const Change& change);
/// A change as people read it, long values cut; of a changed row only the fields that differ:
///
///   brnd_Fuel F-17: changed on the PC: NM_ODO 1200 -> 1250
std::string LineOf(const Change& change);

/// "PC +2 ~7 -4".
std::string SummaryOf(std::string_view name, const SideCounts& side);
/// "brnd_Fuel: PC +2 ~7 -4, handheld +2 ~3 -8, dropped 1, overruled 2".
std::string SummaryOf(const TableRecord& table);

}  // namespace mv::history
