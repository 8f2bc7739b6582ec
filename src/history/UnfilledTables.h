#pragma once

#include <string>
#include <vector>

#include "platform/FileSystem.h"

namespace mv::history {

/// Remembers which tables of a desktop database an Overwrite PC has emptied and not yet filled, in the file
/// "sync\unfilled.json" beside the database: {"tables":["brnd_Accessories",...]}. A Synchronize that took such a table
/// would empty it on the handheld too.
class UnfilledTables {
 public:
  /// `files` must outlive this object.
  UnfilledTables(platform::FileSystem& files, const std::string& database);

  /// In the order in which they were saved; none without the file. Failure when it cannot be understood: then nobody
  /// knows which tables are whole.
  std::vector<std::string> Load() const;
  /// On disk on return, in one step. None takes the file away.
  void Save(const std::vector<std::string>& tables);

 private:
  platform::FileSystem& files_;
  std::string database_;
  std::string path_;
};

}  // namespace mv::history
