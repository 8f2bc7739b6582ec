#pragma once

namespace mv::platform {

/// While an object of this class lives, neither the system nor the C library shows a box of its own: about a drive
/// without a disk, a library that does not load, a crash. Who would answer it may not be there. The call in question
/// fails at once instead. Holds for the whole process, so objects end in the reverse order of their beginnings.
class NoSystemBoxes {
 public:
  NoSystemBoxes();
  ~NoSystemBoxes();
  NoSystemBoxes(const NoSystemBoxes&) = delete;
  NoSystemBoxes& operator=(const NoSystemBoxes&) = delete;

 private:
  unsigned systemBefore_;
  int libraryBefore_;
};

}  // namespace mv::platform
