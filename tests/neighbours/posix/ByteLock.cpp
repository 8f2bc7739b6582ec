#include "neighbours/ByteLock.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

namespace mv::testing {

ByteLock::ByteLock(const std::string& path, std::uint64_t first, std::uint64_t count)
    : file_(::open(path.c_str(), O_RDWR | O_CLOEXEC)) {
  struct flock range = {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  range.l_start = static_cast<off_t>(first);
  range.l_len = static_cast<off_t>(count);
  if (file_ < 0 || ::fcntl(static_cast<int>(file_), F_SETLK, &range) != 0) throw std::runtime_error("refused");
}

ByteLock::~ByteLock() {
  ::close(static_cast<int>(file_));
}

}  // namespace mv::testing
