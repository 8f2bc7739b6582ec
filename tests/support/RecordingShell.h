#pragma once

#include <string>
#include <vector>

#include "platform/Shell.h"

namespace mv::testing {

/// A desktop that writes down what it is asked for and succeeds or fails as told.
class RecordingShell : public platform::Shell {
 public:
  bool Recycle(const std::string& path) override {
    recycled.push_back(path);
    return succeeds;
  }
  bool OpenDocument(const std::string& path) override {
    opened.push_back(path);
    return succeeds;
  }

  std::vector<std::string> recycled;
  std::vector<std::string> opened;
  bool succeeds = true;
};

}  // namespace mv::testing
