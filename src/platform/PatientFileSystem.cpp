#include "platform/PatientFileSystem.h"

#include "base/Error.h"

namespace mv::platform {

template <typename Action>
auto PatientFileSystem::Patiently(Action action) {
  for (auto waited = kPause; waited <= kPatience; waited += kPause) {
    try {
      return action();
    } catch (const Error& error) {
      if (error.Number() != errors::kPermissionDenied) throw;
    }
    clock_.Sleep(kPause);
  }
  return action();
}

std::unique_ptr<File> PatientFileSystem::Open(const std::string& path, Access access, Disposition disposition,
                                              Sharing sharing) {
  return Patiently([&] { return Inner().Open(path, access, disposition, sharing); });
}

void PatientFileSystem::RemoveFile(const std::string& path) {
  Patiently([&] { Inner().RemoveFile(path); });
}

void PatientFileSystem::RenameFile(const std::string& from, const std::string& to) {
  Patiently([&] { Inner().RenameFile(from, to); });
}

void PatientFileSystem::LinkFile(const std::string& from, const std::string& name) {
  Patiently([&] { Inner().LinkFile(from, name); });
}

void PatientFileSystem::CopyWhole(const std::string& from, const std::string& to) {
  Patiently([&] { Inner().CopyWhole(from, to); });
}

void PatientFileSystem::WriteWhole(const std::string& path, ByteView content) {
  Patiently([&] { Inner().WriteWhole(path, content); });
}

std::unique_ptr<File> PatientFileSystem::CreateStaged(const std::string& path, const std::string& like) {
  return Patiently([&] { return Inner().CreateStaged(path, like); });
}

std::unique_ptr<File> PatientFileSystem::ReplaceOpen(std::unique_ptr<File>& staged, std::unique_ptr<File>& current,
                                                     const std::string& path, Existing existing) {
  return Patiently([&] { return Inner().ReplaceOpen(staged, current, path, existing); });
}

}  // namespace mv::platform
