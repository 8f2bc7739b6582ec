#include "platform/windows/ScriptingFiles.h"

#include <gtest/gtest.h>
#include <windows.h>
// After windows.h, which they need.
#include <objbase.h>
#include <oleauto.h>

#include <string>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/windows/Com.h"
#include "platform/windows/Wide.h"
#include "support/TempFolder.h"

namespace mv::platform {
namespace {

using mv::testing::TempFolder;

constexpr DISPID kFileExists = 10000;

/// The class id of Scripting.FileSystemObject; all zeros when it is not registered.
CLSID ScriptingClass() {
  CLSID id = {};
  ::CLSIDFromProgID(L"Scripting.FileSystemObject", &id);
  return id;
}

// An object of COM dies by Release, so its interfaces have no virtual destructor; this one's test owns it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A class of ours that takes the place of Scripting.FileSystemObject in this process: factory and object in one, on
/// the stack of its test.
class FakeScripting final : public IClassFactory, public IDispatch {
 public:
  HRESULT createResult = S_OK;
  HRESULT nameResult = S_OK;
  HRESULT invokeResult = S_OK;
  VARTYPE answerType = VT_BOOL;
  bool answer = true;
  std::vector<std::wstring> asked;
  int made = 0;
  int references = 0;

  FakeScripting() {
    EXPECT_EQ(::CoRegisterClassObject(ScriptingClass(), static_cast<IClassFactory*>(this), CLSCTX_INPROC_SERVER,
                                      REGCLS_MULTIPLEUSE, &registration_),
              S_OK);
  }
  ~FakeScripting() { ::CoRevokeClassObject(registration_); }
  FakeScripting(const FakeScripting&) = delete;
  FakeScripting& operator=(const FakeScripting&) = delete;

  STDMETHODIMP QueryInterface(REFIID id, void** object) override {
    *object = nullptr;
    if (id == __uuidof(IClassFactory) || id == __uuidof(IUnknown)) *object = static_cast<IClassFactory*>(this);
    if (id == __uuidof(IDispatch)) *object = static_cast<IDispatch*>(this);
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
  STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }

  STDMETHODIMP CreateInstance(IUnknown*, REFIID id, void** object) override {
    ++made;
    *object = nullptr;
    return FAILED(createResult) ? createResult : QueryInterface(id, object);
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }

  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* members) override {
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(std::wstring(names[0]), L"FileExists");
    members[0] = kFileExists;
    return nameResult;
  }
  STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD how, DISPPARAMS* arguments, VARIANT* result, EXCEPINFO*,
                      UINT*) override {
    EXPECT_EQ(member, kFileExists);
    EXPECT_EQ(how, DISPATCH_METHOD);
    EXPECT_EQ(arguments->cArgs, 1u);
    EXPECT_EQ(arguments->cNamedArgs, 0u);
    EXPECT_EQ(V_VT(&arguments->rgvarg[0]), VT_BSTR);
    asked.push_back(V_BSTR(&arguments->rgvarg[0]));
    V_VT(result) = answerType;
    V_BOOL(result) = answer ? VARIANT_TRUE : VARIANT_FALSE;
    return invokeResult;
  }

 private:
  ComApartment apartment_;
  DWORD registration_ = 0;
};

#pragma GCC diagnostic pop

class ScriptingFilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (ScriptingClass() == CLSID{}) GTEST_SKIP() << "Scripting.FileSystemObject is not registered here";
    folder_.Write("some.pdb", "x");
  }

  TempFolder folder_;
  std::unique_ptr<FileSystem> files_ = MakeFileSystem();
};

TEST_F(ScriptingFilesTest, TheSystemsClassAnswersAsTheFileSystemDoes) {
  folder_.Write("sub/other", "x");
  ::SetFileAttributesW(Wide(folder_.File("sub\\other")).c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(ScriptingFileExists(Wide(folder_.File("some.pdb"))), true);
  EXPECT_EQ(ScriptingFileExists(Wide(folder_.File("sub"))), false);
  for (const char* name :
       {"some.pdb", "SOME.PDB", "sub", "sub\\", "sub\\other", "none", "none\\none", "*.pdb", "some.pdb\\", ""}) {
    EXPECT_EQ(ScriptingFileExists(Wide(folder_.File(name))), files_->FileExists(folder_.File(name))) << name;
  }
  EXPECT_EQ(ScriptingFileExists(L""), files_->FileExists(""));
  ::SetFileAttributesW(Wide(folder_.File("sub\\other")).c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(ScriptingFilesTest, NamesOutsideTheAnsiCodePageAreFound) {
  const std::string path = folder_.File("caf\xC3\xA9 \xD0\x96 \xF0\x9F\x9A\x97.pdb");
  EXPECT_FALSE(files_->FileExistsForScripts(path));
  files_->WriteWhole(path, Bytes{1});
  EXPECT_TRUE(files_->FileExistsForScripts(path));
}

TEST_F(ScriptingFilesTest, EachQuestionMakesAnObjectAndItsAnswerCounts) {
  FakeScripting scripting;
  EXPECT_TRUE(files_->FileExistsForScripts("C:/none\\none.pdb"));
  scripting.answer = false;
  EXPECT_FALSE(files_->FileExistsForScripts(folder_.File("some.pdb")));
  EXPECT_EQ(scripting.made, 2);
  EXPECT_EQ(scripting.asked, (std::vector<std::wstring>{L"C:\\none\\none.pdb", Wide(folder_.File("some.pdb"))}));
}

TEST_F(ScriptingFilesTest, TheObjectIsGivenBack) {
  FakeScripting scripting;
  const int before = scripting.references;
  files_->FileExistsForScripts(folder_.File("some.pdb"));
  EXPECT_EQ(scripting.references, before);
}

TEST_F(ScriptingFilesTest, WithoutAUsableClassTheFileSystemAnswers) {
  for (HRESULT FakeScripting::*step :
       {&FakeScripting::createResult, &FakeScripting::nameResult, &FakeScripting::invokeResult}) {
    FakeScripting scripting;
    scripting.*step = E_FAIL;
    EXPECT_TRUE(files_->FileExistsForScripts(folder_.File("some.pdb")));
    EXPECT_FALSE(files_->FileExistsForScripts(folder_.File("none")));
    EXPECT_EQ(scripting.made, 2);
  }
}

TEST_F(ScriptingFilesTest, AnAnswerThatIsNoBooleanIsNoAnswer) {
  FakeScripting scripting;
  scripting.answerType = VT_I2;
  EXPECT_FALSE(files_->FileExistsForScripts(folder_.File("none")));
}

}  // namespace
}  // namespace mv::platform
