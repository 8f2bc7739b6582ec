#include "run/SyncLog.h"

#include "base/Cp1252.h"
#include "base/Error.h"

namespace mv {

void SyncLog::WriteLogLine(const std::string& text, bool closeAfter) {
  if (settings_.SyncLog == 0) return;
  try {
    Append(Cp1252FromUtf8(text) + "\r\n");
  } catch (const Error& error) {
    throw Error(error.Number(), "sync log " + settings_.SyncLogPath, error.Description()).About(settings_.SyncLogPath);
  }
  if (closeAfter) file_.reset();
}

void SyncLog::Append(const std::string& line) {
  if (!file_) Open();
  file_->WriteAt(end_, Bytes(line.begin(), line.end()));
  end_ += line.size();
}

void SyncLog::Open() {
  protectedFiles_.RequireOthers({{"the sync log", settings_.SyncLogPath}});
  const bool append = settings_.SyncLogHistory != 0;
  file_ = files_.Open(settings_.SyncLogPath, platform::Access::Write,
                      append ? platform::Disposition::OpenAlways : platform::Disposition::CreateAlways,
                      platform::Sharing::Read);
  end_ = file_->Size();
}

}  // namespace mv
