#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <string>
#include <vector>

#include "config/windows/RegistryKey.h"
#include "platform/windows/Wide.h"

namespace mv::testing {

/// A registry key for one test, removed with all below it at the test's end.
class RegistryTestKey {
 public:
  /// `parent` is a key path with a "\\" at its end; the key's own name is new.
  RegistryTestKey(HKEY root, const std::string& parent) : root_(root) {
    const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
    name_ = "MVPPCSync test " + std::to_string(ticks);
    path_ = parent + name_;
  }
  ~RegistryTestKey() { Remove(root_, platform::Wide(path_)); }
  RegistryTestKey(const RegistryTestKey&) = delete;
  RegistryTestKey& operator=(const RegistryTestKey&) = delete;

  const std::string& Name() const { return name_; }
  const std::string& Path() const { return path_; }

  struct Raw {
    DWORD type = REG_NONE;
    std::string bytes;
  };
  /// A value as it lies in the key `subkey`; type REG_NONE when there is none.
  Raw Read(const std::string& subkey, const std::string& value) const {
    RegistryKey key;
    Raw raw;
    if (::RegOpenKeyExW(root_, PathOf(subkey).c_str(), 0, KEY_QUERY_VALUE, key.Out()) != ERROR_SUCCESS) return raw;
    BYTE data[256] = {};
    DWORD size = sizeof data;
    if (::RegQueryValueExW(key.Get(), platform::Wide(value).c_str(), nullptr, &raw.type, data, &size) ==
        ERROR_SUCCESS) {
      raw.bytes.assign(data, data + size);
    }
    return raw;
  }

  void Write(const std::string& subkey, const std::string& value, DWORD type, const std::string& bytes) const {
    RegistryKey key;
    Create(subkey, REG_OPTION_NON_VOLATILE, key);
    EXPECT_EQ(::RegSetValueExW(key.Get(), platform::Wide(value).c_str(), 0, type,
                               reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size())),
              ERROR_SUCCESS);
  }

  /// Makes `subkey` so that the registry refuses to make a lasting key below it.
  void MakeClosed(const std::string& subkey) const {
    RegistryKey key;
    Create(subkey, REG_OPTION_VOLATILE, key);
  }

 private:
  std::wstring PathOf(const std::string& subkey) const {
    return platform::Wide(subkey.empty() ? path_ : path_ + "\\" + subkey);
  }
  void Create(const std::string& subkey, DWORD options, RegistryKey& key) const {
    EXPECT_EQ(::RegCreateKeyExW(root_, PathOf(subkey).c_str(), 0, nullptr, options, KEY_ALL_ACCESS, nullptr, key.Out(),
                                nullptr),
              ERROR_SUCCESS);
  }
  static void Remove(HKEY root, const std::wstring& path) {
    {
      RegistryKey key;
      if (::RegOpenKeyExW(root, path.c_str(), 0, KEY_ALL_ACCESS, key.Out()) != ERROR_SUCCESS) return;
      wchar_t child[256] = {};
      while (::RegEnumKeyW(key.Get(), 0, child, 256) == ERROR_SUCCESS) Remove(key.Get(), child);
    }
    ::RegDeleteKeyW(root, path.c_str());
  }

  HKEY root_;
  std::string name_;
  std::string path_;
};

}  // namespace mv::testing
