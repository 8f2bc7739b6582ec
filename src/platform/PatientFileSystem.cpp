#include "platform/PatientFileSystem.h"

#include "base/Error.h"

namespace mv::platform {

template <typename Action>
auto PatientFileSystem::Patiently(const std::string& path, Action action) {
  for (auto waited = kPause;; waited += kPause) {
    try {
      return action();
    } catch (const Error& error) {
      if (error.Number() != errors::kPermissionDenied || waited > kPatience) throw error.About(path);
    }
    clock_.Sleep(kPause);
  }
}

std::unique_ptr<File> PatientFileSystem::Open(const std::string& path, Access access, Disposition disposition,
                                              Sharing sharing) {
  return Patiently(path, [&] { return Inner().Open(path, access, disposition, sharing); });
}

void PatientFileSystem::RemoveFile(const std::string& path) {
  Patiently(path, [&] { Inner().RemoveFile(path); });
}

void PatientFileSystem::RenameFile(const std::string& from, const std::string& to) {
  Patiently(from, [&] { Inner().RenameFile(from, to); });
}

void PatientFileSystem::LinkFile(const std::string& from, const std::string& name) {
  Patiently(from, [&] { Inner().LinkFile(from, name); });
}

void PatientFileSystem::CopyWhole(const std::string& from, const std::string& to) {
  Patiently(to, [&] {
    try {
      Inner().CopyWhole(from, to);
    } catch (const Error& error) {
      // Only what is read can be missing as a file.
      if (error.Number() == errors::kFileNotFound) throw error.About(from);
      throw;
    }
  });
}

void PatientFileSystem::WriteWhole(const std::string& path, ByteView content) {
  Patiently(path, [&] { Inner().WriteWhole(path, content); });
}

std::unique_ptr<File> PatientFileSystem::CreateStaged(const std::string& path, const std::string& like) {
  return Patiently(path, [&] { return Inner().CreateStaged(path, like); });
}

std::unique_ptr<File> PatientFileSystem::ReplaceOpen(std::unique_ptr<File>& staged, std::unique_ptr<File>& current,
                                                     const std::string& path, Existing existing) {
  return Patiently(path, [&] { return Inner().ReplaceOpen(staged, current, path, existing); });
}

}  // namespace mv::platform
