#include "platform/windows/FileRights.h"

#include "platform/windows/Handle.h"
#include "platform/windows/SystemError.h"

namespace mv::platform {
namespace {

/// What lets somebody read the file, change it, or give himself the right to.
constexpr ACCESS_MASK kTelling = FILE_READ_DATA | FILE_WRITE_DATA | FILE_APPEND_DATA | DELETE | WRITE_DAC |
                                 WRITE_OWNER | GENERIC_READ | GENERIC_WRITE | GENERIC_ALL;
/// An allowing entry with a condition. Whether it holds is not asked.
constexpr BYTE kAllowedConditionally = 9;
/// The rights of whoever owns the file (S-1-3-4), under the name's number: older headers lack the name.
constexpr auto kOwnerRights = static_cast<WELL_KNOWN_SID_TYPE>(71);

/// Words, not bytes: the structures in it are aligned to 32 bits, those with pointers to more.
using Words = std::vector<DWORD64>;

Words RoomFor(DWORD bytes) {
  return Words(bytes / sizeof(DWORD64) + 1);
}

/// A TOKEN_USER.
Words CurrentUser() {
  HANDLE opened = nullptr;
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &opened)) throw LastError();
  const Handle token(opened);
  DWORD size = 0;
  ::GetTokenInformation(token.Get(), TokenUser, nullptr, 0, &size);
  Words user = RoomFor(size);
  if (!::GetTokenInformation(token.Get(), TokenUser, user.data(), size, &size)) throw LastError();
  return user;
}

PSID SidOf(const Words& user) {
  return reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid;
}

/// A security descriptor with owner and list of rights.
Words SecurityOf(const std::wstring& path) {
  constexpr SECURITY_INFORMATION kParts = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
  DWORD size = 0;
  ::GetFileSecurityW(path.c_str(), kParts, nullptr, 0, &size);
  Words security = RoomFor(size);
  if (!::GetFileSecurityW(path.c_str(), kParts, security.data(), size, &size)) throw LastError();
  return security;
}

bool IsTrusted(PSID sid, PSID user) {
  return ::EqualSid(sid, user) || ::IsWellKnownSid(sid, WinLocalSystemSid) ||
         ::IsWellKnownSid(sid, WinBuiltinAdministratorsSid) || ::IsWellKnownSid(sid, kOwnerRights);
}

/// `entry` of a list of rights lets somebody else in.
bool LetsOthersIn(const ACE_HEADER& entry, PSID user) {
  if (entry.AceType != ACCESS_ALLOWED_ACE_TYPE && entry.AceType != kAllowedConditionally) return false;
  // Meant for what will be made in a folder.
  if ((entry.AceFlags & INHERIT_ONLY_ACE) != 0) return false;
  auto& allowed = reinterpret_cast<ACCESS_ALLOWED_ACE&>(const_cast<ACE_HEADER&>(entry));
  return (allowed.Mask & kTelling) != 0 && !IsTrusted(&allowed.SidStart, user);
}

bool LetsOthersIn(ACL& list, PSID user) {
  for (DWORD i = 0; i < list.AceCount; ++i) {
    void* entry = nullptr;
    if (!::GetAce(&list, i, &entry) || LetsOthersIn(*static_cast<const ACE_HEADER*>(entry), user)) return true;
  }
  return false;
}

}  // namespace

bool OthersHaveRights(const std::wstring& path) {
  const Words user = CurrentUser();
  Words security = SecurityOf(path);
  PSID owner = nullptr;
  BOOL given = FALSE;
  BOOL standard = FALSE;
  if (!::GetSecurityDescriptorOwner(security.data(), &owner, &standard)) throw LastError();
  if (owner && !IsTrusted(owner, SidOf(user))) return true;
  ACL* list = nullptr;
  if (!::GetSecurityDescriptorDacl(security.data(), &given, &list, &standard)) throw LastError();
  // Without a list everybody has every right.
  return !given || !list || LetsOthersIn(*list, SidOf(user));
}

OwnersRights::OwnersRights() {
  const Words user = CurrentUser();
  const DWORD size = sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) + ::GetLengthSid(SidOf(user));
  list_.resize(size / sizeof(DWORD) + 1);
  auto* const list = reinterpret_cast<ACL*>(list_.data());
  const bool made = ::InitializeAcl(list, static_cast<DWORD>(list_.size() * sizeof(DWORD)), ACL_REVISION) &&
                    ::AddAccessAllowedAce(list, ACL_REVISION, FILE_ALL_ACCESS, SidOf(user)) &&
                    ::InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION) &&
                    ::SetSecurityDescriptorDacl(&descriptor_, TRUE, list, FALSE) &&
                    ::SetSecurityDescriptorControl(&descriptor_, SE_DACL_PROTECTED, SE_DACL_PROTECTED);
  if (!made) throw LastError();
  attributes_ = {sizeof attributes_, &descriptor_, FALSE};
}

}  // namespace mv::platform
