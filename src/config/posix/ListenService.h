#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "config/AutoStartService.h"

namespace mv {

/// The user's systemd unit mvppcsync-listen, which lies in packaging/linux. It is switched, never written: where there
/// is none the user is told so.
class ListenService : public AutoStartService {
 public:
  /// Runs systemctl with these words; its exit status, nothing when it could not be run.
  using Systemctl = std::function<std::optional<int>(const std::vector<std::string>&)>;

  explicit ListenService(Systemctl systemctl) : systemctl_(std::move(systemctl)) {}
  std::string SwitchOn() override;
  std::string SwitchOff() override;

 private:
  bool Says(const char* word) const;
  std::string WhyNot() const;

  Systemctl systemctl_;
};

}  // namespace mv
