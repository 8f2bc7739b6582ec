#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/System.h"
#include "platform/windows/Wide.h"
#include "support/TempFolder.h"

namespace mv::testing {

/// The handheld of the test library (README.md), in a temporary folder that holds \Motorva. To be made before the
/// library is loaded, and destroyed after all its users: it unloads the library, so that the next test finds a new one.
class TestHandheld {
 public:
  enum class AfterTest { Unload, KeepLoaded };

  /// `folder`: of the library.
  explicit TestHandheld(std::string folder = LibraryFolder(), AfterTest afterTest = AfterTest::Unload)
      : libraryFolder_(std::move(folder)), afterTest_(afterTest) {
    files_->CreateFolders(LocalPath("\\Motorva"));
    SetVariable(L"MV_RAPI_ROOT", LocalPath(""));
    SetVariable(L"MV_RAPI_LOG", temp_.File("calls.log"));
    Script("");
  }
  ~TestHandheld() {
    if (afterTest_ == AfterTest::Unload) Unload(libraryFolder_);
  }
  TestHandheld(const TestHandheld&) = delete;
  TestHandheld& operator=(const TestHandheld&) = delete;

  /// The test library's folder: beside the one of the test programs.
  static std::string LibraryFolder() { return platform::ProgramFolder() + "\\..\\test_rapi"; }
  static HMODULE LoadedFrom(const std::string& folder) {
    return ::GetModuleHandleW(platform::NativePath(folder + "\\rapi.dll").c_str());
  }
  static void Unload(const std::string& folder) {
    while (const HMODULE module = LoadedFrom(folder)) ::FreeLibrary(module);
  }

  void Script(const std::string& text) { SetVariable(L"MV_RAPI_SCRIPT", text); }

  platform::FileSystem& Files() { return *files_; }
  const TempFolder& Temp() const { return temp_; }
  const std::string& Library() const { return libraryFolder_; }
  /// Where the device file `path` ("\Motorva\...") lies on this machine.
  std::string LocalPath(const std::string& path) const { return temp_.File("device") + path; }
  void Put(const std::string& path, const Bytes& content) { files_->WriteWhole(LocalPath(path), content); }
  Bytes Content(const std::string& path) { return ReadWhole(*files_, LocalPath(path)); }

  /// What the library wrote down so far, a line a call.
  std::vector<std::string> Calls() const {
    std::vector<std::string> calls;
    if (!temp_.Has("calls.log")) return calls;
    std::istringstream lines(temp_.Read("calls.log"));
    for (std::string line; std::getline(lines, line);) calls.push_back(line);
    return calls;
  }
  std::size_t Count(const std::string& name) const {
    std::size_t count = 0;
    for (const std::string& call : Calls()) count += call.starts_with(name + " ") ? 1 : 0;
    return count;
  }

 private:
  static void SetVariable(const wchar_t* name, const std::string& value) {
    ::SetEnvironmentVariableW(name, platform::Wide(value).c_str());
  }

  std::string libraryFolder_;
  AfterTest afterTest_;
  TempFolder temp_;
  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem();
};

}  // namespace mv::testing
