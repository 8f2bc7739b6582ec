#include "platform/PortOwner.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>
#include <vector>

namespace mv::platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kListening = "0A";

/// A socket of the system's table.
struct ListeningSocket {
  std::string inode;
  std::string user;
};

/// The local port of a line's "0100007F:03DE".
std::optional<unsigned> PortOf(const std::string& local) {
  const std::size_t colon = local.rfind(':');
  if (colon == local.npos) return std::nullopt;
  unsigned port = 0;
  const auto parsed = std::from_chars(local.data() + colon + 1, local.data() + local.size(), port, 16);
  return parsed.ec == std::errc() ? std::optional(port) : std::nullopt;
}

/// Lines: number, local address, remote address, state, queues, timer, retransmissions, user, timeout, inode ...
std::optional<ListeningSocket> FindListener(const char* table, std::uint16_t port) {
  std::ifstream lines(table);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::vector<std::string> parts;
    for (std::string word; words >> word;) parts.push_back(word);
    if (parts.size() >= 10 && parts[3] == kListening && PortOf(parts[1]) == port) {
      return ListeningSocket{parts[9], parts[7]};
    }
  }
  return std::nullopt;
}

bool HoldsSocket(const fs::path& process, const std::string& target) {
  std::error_code denied;
  for (fs::directory_iterator entry(process / "fd", denied), end; !denied && entry != end; entry.increment(denied)) {
    std::error_code ignored;
    if (fs::read_symlink(entry->path(), ignored) == target) return true;
  }
  return false;
}

std::string NameOf(const fs::path& process) {
  std::ifstream file(process / "comm");
  std::string name;
  std::getline(file, name);
  return name;
}

bool IsProcess(const fs::path& path) {
  return path.filename().string().find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

std::string PortOwner(const SocketAddress& address) {
  std::optional<ListeningSocket> listener = FindListener("/proc/net/tcp", address.port);
  if (!listener) listener = FindListener("/proc/net/tcp6", address.port);
  if (!listener) return {};
  const std::string target = "socket:[" + listener->inode + "]";
  std::error_code ignored;
  for (fs::directory_iterator process("/proc", ignored), end; !ignored && process != end; process.increment(ignored)) {
    if (!IsProcess(process->path()) || !HoldsSocket(process->path(), target)) continue;
    return "Process " + process->path().filename().string() + " (" + NameOf(process->path()) + ")";
  }
  return "A process of the user with number " + listener->user;
}

std::string PortRightAdvice(std::uint16_t port) {
  const std::string number = std::to_string(port);
  return "Ports from " + number +
         " on become free for every user with \"sysctl net.ipv4.ip_unprivileged_port_start=" + number +
         "\"; or give the program the right with \"setcap cap_net_bind_service=+ep PROGRAM\".";
}

}  // namespace mv::platform
