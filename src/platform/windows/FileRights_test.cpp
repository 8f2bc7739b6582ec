#include "platform/windows/FileRights.h"

#include <gtest/gtest.h>

#include "platform/PrivateFiles.h"
#include "platform/windows/Wide.h"
#include "support/ExpectError.h"
#include "support/TempFolder.h"

namespace mv::platform {
namespace {

/// A private file, and rights that a test gives to others besides.
class FileRightsTest : public ::testing::Test {
 protected:
  FileRightsTest() { WritePrivateFile(folder_.File("secret"), Bytes{1}); }

  std::wstring Path() const { return NativePath(folder_.File("secret")); }

  /// Lets the user do all, and another group of users so much.
  void Allow(WELL_KNOWN_SID_TYPE whom, DWORD rights) {
    OwnersRights owners;
    BOOL given = FALSE;
    BOOL standard = FALSE;
    ACL* own = nullptr;
    ASSERT_TRUE(::GetSecurityDescriptorDacl(owners.Attributes()->lpSecurityDescriptor, &given, &own, &standard));
    alignas(DWORD) std::uint8_t sid[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof sid;
    ASSERT_TRUE(::CreateWellKnownSid(whom, nullptr, sid, &size));
    alignas(DWORD) std::uint8_t room[512];
    auto* const list = reinterpret_cast<ACL*>(room);
    void* entry = nullptr;
    ASSERT_TRUE(::InitializeAcl(list, sizeof room, ACL_REVISION));
    ASSERT_TRUE(::GetAce(own, 0, &entry));
    ASSERT_TRUE(::AddAce(list, ACL_REVISION, MAXDWORD, entry, static_cast<ACE_HEADER*>(entry)->AceSize));
    ASSERT_TRUE(::AddAccessAllowedAce(list, ACL_REVISION, rights, sid));
    SECURITY_DESCRIPTOR descriptor = {};
    ASSERT_TRUE(::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
    ASSERT_TRUE(::SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE));
    ASSERT_TRUE(::SetFileSecurityW(Path().c_str(), DACL_SECURITY_INFORMATION, &descriptor));
  }

  mv::testing::TempFolder folder_;
};

TEST_F(FileRightsTest, FileOfTheUserAloneIsPrivate) {
  EXPECT_FALSE(OthersHaveRights(Path()));
}

TEST_F(FileRightsTest, AnybodyElsesRightToReadOrToWriteIsSeen) {
  for (const DWORD rights : {DWORD{FILE_GENERIC_READ}, DWORD{FILE_GENERIC_WRITE}, DWORD{FILE_ALL_ACCESS}}) {
    Allow(WinWorldSid, rights);
    EXPECT_TRUE(OthersHaveRights(Path())) << rights;
  }
}

TEST_F(FileRightsTest, RightsOfTheSystemAndOfAdministratorsAreNobodyElses) {
  for (const WELL_KNOWN_SID_TYPE whom : {WinLocalSystemSid, WinBuiltinAdministratorsSid}) {
    Allow(whom, FILE_ALL_ACCESS);
    EXPECT_FALSE(OthersHaveRights(Path())) << whom;
  }
}

TEST_F(FileRightsTest, FileWithoutAListIsEverybodys) {
  SECURITY_DESCRIPTOR descriptor = {};
  ASSERT_TRUE(::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
  ASSERT_TRUE(::SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE));
  ASSERT_TRUE(::SetFileSecurityW(Path().c_str(), DACL_SECURITY_INFORMATION, &descriptor));
  EXPECT_TRUE(OthersHaveRights(Path()));
}

TEST_F(FileRightsTest, MissingFileRaises) {
  EXPECT_EQ(mv::testing::ErrorNumberOf([this] { OthersHaveRights(Path() + L"x"); }), errors::kFileNotFound);
}

}  // namespace
}  // namespace mv::platform
