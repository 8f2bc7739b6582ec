#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "config/SettingsStore.h"

namespace mv::testing {

/// A settings store in memory that writes down the order of its calls: "get Application/Section/Key" and
/// "save Application/Section/Key=text".
class RecordingSettings : public SettingsStore {
 public:
  std::vector<std::string> calls;

  void Put(const std::string& section, const std::string& key, const std::string& text) {
    stored_["Motorva32/" + section + "/" + key] = text;
  }
  std::optional<std::string> Stored(const std::string& section, const std::string& key) const {
    const auto found = stored_.find("Motorva32/" + section + "/" + key);
    if (found == stored_.end()) return std::nullopt;
    return found->second;
  }

  std::optional<std::string> GetSetting(const std::string& application, const std::string& section,
                                        const std::string& key) override {
    const std::string name = application + "/" + section + "/" + key;
    calls.push_back("get " + name);
    const auto found = stored_.find(name);
    if (found == stored_.end()) return std::nullopt;
    return found->second;
  }
  void SaveSetting(const std::string& application, const std::string& section, const std::string& key,
                   const std::string& text) override {
    const std::string name = application + "/" + section + "/" + key;
    calls.push_back("save " + name + "=" + text);
    stored_[name] = text;
  }
  std::vector<SettingName> Names(const std::string& application) override {
    std::vector<SettingName> names;
    for (const auto& [path, text] : stored_) {
      const std::size_t slash = path.rfind('/');
      const std::size_t begin = application.size() + 1;
      if (path.starts_with(application + "/"))
        names.push_back({path.substr(begin, slash - begin), path.substr(slash + 1)});
    }
    return names;
  }
  std::string PlaceOf(const std::string&) const override { return place; }
  std::string place = "the settings";

 private:
  std::map<std::string, std::string> stored_;
};

}  // namespace mv::testing
