#pragma once

#include <string>

#include "run/Invocation.h"

namespace mv {

/// Where a program without a console can put words that no log and no window of its own can tell.
class NoticeOutlet {
 public:
  virtual ~NoticeOutlet() = default;
  /// Waits until the user has closed the box.
  virtual void ShowBox(const std::string& text) = 0;
  virtual void WriteToStandardError(const std::string& text) = 0;
  virtual void WriteToStandardOutput(const std::string& text) = 0;
};

/// The outlets of this system. Standard error and output are the ones that whoever started the program has given it,
/// else the console of that program; without either the words are lost.
class SystemNoticeOutlet : public NoticeOutlet {
 public:
  void ShowBox(const std::string& text) override;
  void WriteToStandardError(const std::string& text) override;
  void WriteToStandardOutput(const std::string& text) override;
};

/// Tells the user `words`, if there are any: in a box when the program was started with `invocation` to open its
/// window, on standard error alone when it was to run silently.
void TellUser(const std::string& words, const Invocation& invocation, NoticeOutlet& outlet);

}  // namespace mv
