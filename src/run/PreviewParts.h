#pragma once

#include <memory>
#include <optional>
#include <string>

#include "config/SettingsStore.h"
#include "device/Rapi.h"
#include "platform/ForwardingFileSystem.h"
#include "ui/UserInterface.h"

/// What stands between a preview and everything that it must leave alone.
namespace mv {

/// Files of which only those below one folder can be changed. Elsewhere removing does nothing, and whoever wants to
/// write meets error 75.
class ScratchFileSystem : public platform::ForwardingFileSystem {
 public:
  /// `scratch`: the folder, without a separator at its end.
  ScratchFileSystem(platform::FileSystem& files, const std::string& scratch);

  std::unique_ptr<platform::File> Open(const std::string& path, platform::Access access,
                                       platform::Disposition disposition, platform::Sharing sharing) override;
  void RemoveFile(const std::string& path) override;
  void RenameFile(const std::string& from, const std::string& to) override;
  void CreateFolders(const std::string& folder) override;
  bool CreateFolder(const std::string& folder) override;
  void RemoveFolder(const std::string& folder) override;
  void LinkFile(const std::string& from, const std::string& name) override;
  std::unique_ptr<platform::File> CreateStaged(const std::string& path, const std::string& like) override;
  std::unique_ptr<platform::File> ReplaceOpen(std::unique_ptr<platform::File>& staged,
                                              std::unique_ptr<platform::File>& current, const std::string& path,
                                              platform::Existing existing) override;
  void DiscardStaged(std::unique_ptr<platform::File> staged, const std::string& path) override;
  std::string CreateTempFile(const std::string& folder, const std::string& prefix) override;
  platform::PrivateProfile* Profiles() override { return nullptr; }

 private:
  bool IsScratch(const std::string& path);
  void RequireScratch(const std::string& path);

  std::string scratch_;
};

/// A handheld that is read and never written: what is sent to it is taken, and forgotten.
class ReadOnlyRapi : public Rapi {
 public:
  /// `handheld` must outlive this object.
  explicit ReadOnlyRapi(Rapi& handheld) : handheld_(handheld) {}

  std::int32_t CeRapiInitEx(RAPIINIT& init) override { return handheld_.CeRapiInitEx(init); }
  std::int32_t CeRapiUninit() override { return handheld_.CeRapiUninit(); }
  std::int32_t CeRapiGetError() override { return handheld_.CeRapiGetError(); }
  RapiHandle CeFindFirstFile(const std::string& path) override { return handheld_.CeFindFirstFile(path); }
  RapiHandle CeCreateFile(const std::string& path, std::uint32_t access, std::uint32_t shareMode,
                          std::uint32_t securityAttributes, std::uint32_t disposition,
                          std::uint32_t flagsAndAttributes) override;
  std::uint32_t CeGetFileSize(RapiHandle file) override { return handheld_.CeGetFileSize(file); }
  std::int32_t CeReadFile(RapiHandle file, ByteSpan out, std::uint32_t& bytesRead) override {
    return handheld_.CeReadFile(file, out, bytesRead);
  }
  std::int32_t CeWriteFile(RapiHandle file, ByteView data, std::uint32_t& bytesWritten) override;
  std::int32_t CeCloseHandle(RapiHandle handle) override;
  std::int32_t CeFindClose(RapiHandle handle) override { return handheld_.CeFindClose(handle); }
  std::int32_t CeFindAllFiles(const std::string& pattern, std::vector<DeviceEntry>& entries) override {
    return handheld_.CeFindAllFiles(pattern, entries);
  }
  std::int32_t DescribeHandheld(HandheldFacts& facts) override { return handheld_.DescribeHandheld(facts); }
  std::uint32_t WaitForSingleObject(RapiHandle event, std::uint32_t milliseconds) override {
    return handheld_.WaitForSingleObject(event, milliseconds);
  }

 private:
  Rapi& handheld_;
};

/// Settings that are read; what is saved is forgotten.
class ReadOnlySettings : public SettingsStore {
 public:
  /// `settings` must outlive this object.
  explicit ReadOnlySettings(SettingsStore& settings) : settings_(settings) {}

  std::optional<std::string> GetSetting(const std::string& application, const std::string& section,
                                        const std::string& key) override {
    return settings_.GetSetting(application, section, key);
  }
  void SaveSetting(const std::string&, const std::string&, const std::string&, const std::string&) override {}
  std::vector<SettingName> Names(const std::string& application) override { return settings_.Names(application); }
  std::string PlaceOf(const std::string& application) const override { return settings_.PlaceOf(application); }

 private:
  SettingsStore& settings_;
};

/// A window that waits: nothing is shown on it and nothing asked, but it stays alive and can be closed.
class WaitingUserInterface : public SilentUserInterface {
 public:
  /// `window` must outlive this object.
  explicit WaitingUserInterface(UserInterface& window) : window_(window) {}

  void ProcessMessages() override { window_.ProcessMessages(); }
  bool Closed() const override { return window_.Closed(); }

 private:
  UserInterface& window_;
};

}  // namespace mv
