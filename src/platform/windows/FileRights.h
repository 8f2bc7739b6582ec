#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace mv::platform {

/// True when anybody but the user who runs the program, the system and its administrators owns the file, or may read or
/// change it. Also true on a volume that keeps no rights. The system's error when it does not tell.
bool OthersHaveRights(const std::wstring& path);

/// The rights of a new file that is the user's alone. Must outlive the call that makes the file.
class OwnersRights {
 public:
  OwnersRights();
  OwnersRights(const OwnersRights&) = delete;
  OwnersRights& operator=(const OwnersRights&) = delete;

  SECURITY_ATTRIBUTES* Attributes() { return &attributes_; }

 private:
  std::vector<DWORD> list_;  ///< an ACL; its parts are aligned to 32 bits
  SECURITY_DESCRIPTOR descriptor_ = {};
  SECURITY_ATTRIBUTES attributes_ = {};
};

}  // namespace mv::platform
