#include "platform/FileSystem.h"

#include <gtest/gtest.h>
#include <windows.h>
// After windows.h, which it needs.
#include <oleauto.h>

#include "base/Error.h"
#include "platform/windows/Wide.h"
#include "support/ExpectError.h"
#include "support/TempFolder.h"

namespace mv::platform {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::TempFolder;

TEST(WindowsFileSystemTest, TemporaryNamesAreTheSystemsOwn) {
  const TempFolder folder;
  const auto files = MakeFileSystem();
  const std::string path = files->CreateTempFile(folder.Path(), "ntsmore");
  const std::string name = path.substr(folder.Path().size() + 1);
  EXPECT_TRUE(name.starts_with("nts")) << name;
  EXPECT_FALSE(name.starts_with("ntsm")) << name;
  EXPECT_TRUE(name.ends_with(".tmp") || name.ends_with(".TMP")) << name;
  EXPECT_EQ(folder.Read(name), "");
  EXPECT_NE(files->CreateTempFile(folder.Path() + "\\", "nts"), path);
  EXPECT_EQ(ErrorNumberOf([&] { files->CreateTempFile(folder.File("none"), "nts"); }), errors::kPathNotFound);
}

/// The class Scripting.FileSystemObject, through which scripts ask whether a file exists; reached by the names of its
/// members.
class ScriptingFiles {
 public:
  ScriptingFiles() {
    ::CoInitialize(nullptr);
    CLSID id = {};
    const bool made = SUCCEEDED(::CLSIDFromProgID(L"Scripting.FileSystemObject", &id)) &&
                      SUCCEEDED(::CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                                   reinterpret_cast<void**>(&object_)));
    if (!made) object_ = nullptr;
  }
  ~ScriptingFiles() {
    if (object_ != nullptr) object_->Release();
    ::CoUninitialize();
  }
  ScriptingFiles(const ScriptingFiles&) = delete;
  ScriptingFiles& operator=(const ScriptingFiles&) = delete;

  bool IsThere() const { return object_ != nullptr; }

  bool FileExists(const std::string& path) const {
    wchar_t name[] = L"FileExists";
    wchar_t* names[] = {name};
    DISPID member = 0;
    EXPECT_EQ(object_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &member), S_OK);
    VARIANT argument;
    argument.vt = VT_BSTR;
    argument.bstrVal = ::SysAllocString(Wide(path).c_str());
    DISPPARAMS arguments = {&argument, nullptr, 1, 0};
    VARIANT answer;
    ::VariantInit(&answer);
    EXPECT_EQ(
        object_->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &arguments, &answer, nullptr, nullptr),
        S_OK);
    ::VariantClear(&argument);
    return answer.vt == VT_BOOL && answer.boolVal != VARIANT_FALSE;
  }

 private:
  IDispatch* object_ = nullptr;
};

TEST(WindowsFileSystemTest, FileExistsAnswersAsTheScriptingClassDoes) {
  const ScriptingFiles scripting;
  if (!scripting.IsThere()) GTEST_SKIP() << "Scripting.FileSystemObject is not registered here";
  const TempFolder folder;
  folder.Write("some.pdb", "x");
  folder.Write("sub/other", "x");
  ::SetFileAttributesW(Wide(folder.File("sub\\other")).c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY);
  const auto files = MakeFileSystem();
  EXPECT_TRUE(scripting.FileExists(folder.File("some.pdb")));
  EXPECT_FALSE(scripting.FileExists(folder.File("sub")));
  for (const char* name : {"some.pdb", "SOME.PDB", "sub", "sub\\", "sub\\other", "sub/other", "none", "none\\none",
                           "*.pdb", "some.pdb\\", ""}) {
    EXPECT_EQ(files->FileExists(folder.File(name)), scripting.FileExists(folder.File(name))) << name;
  }
  EXPECT_EQ(files->FileExists(""), scripting.FileExists(""));
  ::SetFileAttributesW(Wide(folder.File("sub\\other")).c_str(), FILE_ATTRIBUTE_NORMAL);
}

}  // namespace
}  // namespace mv::platform
