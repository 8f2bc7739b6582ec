#include "device/Rapi.h"

#include <memory>

#include "device/FolderRapi.h"
#include "support/FakeRapi.h"
#include "support/MemoryFileSystem.h"
#include "support/RapiContract.h"
#include "support/TempFolder.h"

namespace mv::testing {
namespace {

class FakeHandheld : public Handheld {
 public:
  Rapi& Api() override { return rapi_; }

 private:
  FakeRapi rapi_;
};

class FolderInMemory : public Handheld {
 public:
  FolderInMemory() { files_.CreateFolders("D:\\card\\Motorva"); }
  Rapi& Api() override { return rapi_; }

 private:
  MemoryFileSystem files_;
  FolderRapi rapi_{files_, "D:\\card"};
};

class FolderOnDisk : public Handheld {
 public:
  FolderOnDisk() { files_->CreateFolders(folder_.File("Motorva")); }
  Rapi& Api() override { return rapi_; }

 private:
  TempFolder folder_;
  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem();
  FolderRapi rapi_{*files_, folder_.Path()};
};

using Handhelds = ::testing::Types<FakeHandheld, FolderInMemory, FolderOnDisk>;
INSTANTIATE_TYPED_TEST_SUITE_P(Portable, RapiContract, Handhelds);

}  // namespace
}  // namespace mv::testing
