#include "config/posix/ListenService.h"

#include <chrono>

#include "platform/posix/Command.h"

namespace mv {
namespace {

constexpr const char* kUnit = "mvppcsync-listen.service";
/// The window waits meanwhile.
constexpr std::chrono::seconds kLongestWait(10);

constexpr const char* kOn =
    "Whenever a handheld connects, a run starts by itself from now on (service mvppcsync-listen). It synchronizes, "
    "whatever mode is chosen here.";
constexpr const char* kOff = "No run starts by itself any more (service mvppcsync-listen).";
constexpr const char* kNoSystemd =
    "Runs do not start by themselves: systemctl did not answer. \"mvtool listen\" does the same as long as it runs.";
constexpr const char* kNoUnit =
    "Runs do not start by themselves: the service mvppcsync-listen is not installed. \"mvtool listen\" does the same "
    "as long as it runs.";
constexpr const char* kRefused =
    "The service mvppcsync-listen could not be switched. \"systemctl --user status mvppcsync-listen\" tells more.";

std::optional<int> RunSystemctl(const std::vector<std::string>& words) {
  std::vector<std::string> command = {"systemctl", "--user"};
  command.insert(command.end(), words.begin(), words.end());
  return platform::RunCommand(command, kLongestWait);
}

}  // namespace

bool ListenService::Says(const char* word) const {
  return systemctl_({word, kUnit}) == 0;
}

std::string ListenService::WhyNot() const {
  const std::optional<int> unit = systemctl_({"cat", kUnit});
  if (!unit) return kNoSystemd;
  return *unit == 0 ? kRefused : kNoUnit;
}

std::string ListenService::SwitchOn() {
  if (Says("is-enabled") && Says("is-active")) return "";
  return systemctl_({"enable", "--now", kUnit}) == 0 ? kOn : WhyNot();
}

std::string ListenService::SwitchOff() {
  if (!Says("is-enabled") && !Says("is-active")) return "";
  return systemctl_({"disable", "--now", kUnit}) == 0 ? kOff : WhyNot();
}

std::unique_ptr<AutoStartService> MakeAutoStartService() {
  return std::make_unique<ListenService>(RunSystemctl);
}

}  // namespace mv
