#include "mvtool/commands/HandheldBackup.h"

#include <ostream>
#include <set>
#include <vector>

#include "base/Error.h"
#include "base/Text.h"
#include "mvtool/files/ExportNames.h"

namespace mv::tool {
namespace {

/// Folders in folders: a handheld that tells of more is not to be believed.
constexpr std::size_t kDeepest = 32;
constexpr std::size_t kMostFiles = 100000;

/// A folder that is still to be copied.
struct PendingFolder {
  std::string devicePath;
  std::string localPath;
  std::size_t depth = 0;
};

class Backup {
 public:
  Backup(HandheldSession& session, platform::FileSystem& files, std::ostream& out, std::ostream& err)
      : session_(session), files_(files), out_(out), err_(err) {}

  BackupResult Run(const std::string& devicePath, const std::string& folder) {
    std::vector<PendingFolder> pending{{devicePath, folder, 0}};
    while (!pending.empty()) {
      const PendingFolder next = pending.back();
      pending.pop_back();
      CopyFolder(next, pending);
    }
    return result_;
  }

 private:
  void CopyFolder(const PendingFolder& folder, std::vector<PendingFolder>& pending) {
    files_.CreateFolders(folder.localPath);
    std::set<std::string> used;
    for (const DeviceEntry& entry : session_.Find(folder.devicePath + "\\*")) {
      const std::string devicePath = folder.devicePath + '\\' + entry.name;
      const auto name = SafeFileName(entry.name, used);
      const bool isTooMuch = folder.depth == kDeepest || result_.files + result_.failed >= kMostFiles;
      if (!name || isTooMuch) {
        Complain(devicePath, name ? "it lies too deep, or there are too many files" : "its name is too long");
      } else if (entry.IsFolder()) {
        pending.push_back({devicePath, JoinPath(folder.localPath, *name), folder.depth + 1});
      } else {
        CopyFile(devicePath, JoinPath(folder.localPath, *name));
      }
    }
  }

  /// A failure of this machine ends the backup, one of the handheld's file does not.
  void CopyFile(const std::string& devicePath, const std::string& localPath) {
    Bytes content;
    try {
      content = session_.Fetch(devicePath);
    } catch (const Error& error) {
      ++result_.failed;
      err_ << "mvtool: not copied: " << error.Description() << '\n';
      return;
    }
    files_.WriteWhole(localPath, content);
    ++result_.files;
    result_.bytes += content.size();
    out_ << Printable(devicePath) << "  " << content.size() << " bytes\n";
  }

  void Complain(const std::string& devicePath, const char* why) {
    ++result_.failed;
    err_ << "mvtool: not copied: \"" << Printable(devicePath) << "\" on the handheld: " << why << '\n';
  }

  HandheldSession& session_;
  platform::FileSystem& files_;
  std::ostream& out_;
  std::ostream& err_;
  BackupResult result_;
};

}  // namespace

BackupResult BackUpHandheld(HandheldSession& session, const std::string& devicePath, const std::string& folder,
                            platform::FileSystem& files, std::ostream& out, std::ostream& err) {
  const std::size_t last = devicePath.find_last_not_of("\\/");
  return Backup(session, files, out, err).Run(devicePath.substr(0, last == devicePath.npos ? 0 : last + 1), folder);
}

}  // namespace mv::tool
