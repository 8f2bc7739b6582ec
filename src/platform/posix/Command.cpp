#include "platform/posix/Command.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

extern char** environ;

namespace mv::platform {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBetweenLooks(5);

/// Starts the program with no signal blocked, whatever this process blocks. Negative when it does not start.
pid_t Spawn(std::vector<char*>& arguments) {
  posix_spawn_file_actions_t quiet;
  ::posix_spawn_file_actions_init(&quiet);
  ::posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  ::posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  ::posix_spawnattr_init(&attributes);
  sigset_t none;
  ::sigemptyset(&none);
  ::posix_spawnattr_setsigmask(&attributes, &none);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  pid_t child = 0;
  const int failed = ::posix_spawnp(&child, arguments.front(), &quiet, &attributes, arguments.data(), environ);
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&quiet);
  return failed == 0 ? child : -1;
}

/// waitpid with a limit; what has not ended by then is killed.
int Await(pid_t child, SteadyClock::time_point end) {
  int status = 0;
  while (::waitpid(child, &status, WNOHANG) == 0) {
    if (SteadyClock::now() >= end) ::kill(child, SIGKILL);
    std::this_thread::sleep_for(kBetweenLooks);
  }
  return status;
}

}  // namespace

std::optional<int> RunCommand(std::vector<std::string> words, std::optional<std::chrono::milliseconds> limit) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const pid_t child = Spawn(arguments);
  if (child < 0) return std::nullopt;
  int status = 0;
  if (limit) status = Await(child, SteadyClock::now() + *limit);
  if (!limit && ::waitpid(child, &status, 0) != child) return std::nullopt;
  if (!WIFEXITED(status)) return std::nullopt;
  return WEXITSTATUS(status);
}

}  // namespace mv::platform
