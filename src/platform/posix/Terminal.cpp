#include "platform/Terminal.h"

#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <vector>

#include "platform/System.h"
#include "platform/posix/Descriptor.h"

extern char** environ;

namespace mv::platform {
namespace {

constexpr std::chrono::milliseconds kLookForForeground{300};
constexpr int kCommandNotFound = 127;  // the shell's status

/// Blocked, they wait to be fetched: no handler, and nothing is interrupted in its middle. A pipe whose reader has gone
/// shows in the write.
sigset_t Signals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGTSTP, SIGCONT, SIGWINCH, SIGPIPE}) ::sigaddset(&signals, signal);
  return signals;
}

sigset_t Only(int signal) {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, signal);
  return signals;
}

/// Those that wait to be fetched.
void Discard(const sigset_t& signals) {
  const timespec now = {};
  while (::sigtimedwait(&signals, nullptr, &now) > 0) {
  }
}

bool HasValue(const char* variable) {
  return !EnvironmentVariable(variable).value_or("").empty();
}

Terminal::Charset UsersCharset() {
  const locale_t locale = ::newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale == nullptr) return Terminal::Charset::Ascii;
  const std::string name = ::nl_langinfo_l(CODESET, locale);
  ::freelocale(locale);
  if (name == "UTF-8") return Terminal::Charset::Utf8;
  return name == "ISO-8859-1" || name == "ISO-8859-15" ? Terminal::Charset::Latin1 : Terminal::Charset::Ascii;
}

/// True while this program is the one that the terminal's keys go to. Another one would be stopped for touching it.
bool InForeground() {
  return ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

/// False when not all of it could be written.
bool WriteAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

/// Lets Ctrl-Z stop this program as well, while another one has the terminal: the user's shell waits for this one.
class Stoppable {
 public:
  Stoppable() { ::pthread_sigmask(SIG_UNBLOCK, &signals_, nullptr); }
  ~Stoppable() { ::pthread_sigmask(SIG_BLOCK, &signals_, nullptr); }
  Stoppable(const Stoppable&) = delete;
  Stoppable& operator=(const Stoppable&) = delete;

 private:
  const sigset_t signals_ = Only(SIGTSTP);
};

class PosixTerminal : public Terminal {
 public:
  PosixTerminal() : signals_(BlockSignals(before_)) {
    ::tcgetattr(STDIN_FILENO, &found_);
    Adopt();
  }
  ~PosixTerminal() override {
    if (InForeground()) ::tcsetattr(STDIN_FILENO, TCSADRAIN, &found_);
    // A second Ctrl-C, or a pipe without a reader, shall not take effect now.
    Discard(Signals());
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }

  bool CanDraw() const override { return canDraw_; }
  bool HasColours() const override { return canDraw_ && !noColours_; }
  Charset OutputCharset() const override { return charset_; }

  std::size_t Columns() const override {
    winsize size = {};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
  }

  void SetInput(Input input) override {
    input_ = input;
    Adopt();
  }

  Told Next(std::chrono::milliseconds limit) override {
    if (closed_) return {Event::Closed, {}};
    if (!adopted_) Adopt();
    std::array<pollfd, 2> waiting = {pollfd{signals_.Number(), POLLIN, 0},
                                     pollfd{adopted_ && InForeground() ? STDIN_FILENO : -1, POLLIN, 0}};
    // In the background nothing can be typed, and a look would stop the program; nor does anything tell its end.
    if (waiting[1].fd < 0) limit = std::min(limit, kLookForForeground);
    if (::poll(waiting.data(), waiting.size(), static_cast<int>(limit.count())) <= 0) return {};
    if (waiting[0].revents != 0) return {TakeSignal(), {}};
    return ReadKeys();
  }

  void Write(std::string_view bytes) override {
    if (!WriteAll(STDOUT_FILENO, bytes)) closed_ = true;
  }

  bool Page(std::string_view bytes) override {
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &found_);
    const bool done = RunPager(bytes);
    Adopt();
    // A Ctrl-C was meant for that program.
    Discard(Only(SIGINT));
    return done;
  }

 private:
  /// The descriptor that the signals come from from now on.
  static int BlockSignals(sigset_t& before) {
    const sigset_t signals = Signals();
    ::pthread_sigmask(SIG_BLOCK, &signals, &before);
    return ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  }

  void Adopt() {
    adopted_ = InForeground();
    if (!adopted_) return;
    termios mode = found_;
    if (input_ == Input::Keys) {
      mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
      mode.c_cc[VMIN] = 1;
      mode.c_cc[VTIME] = 0;
      // Its signal would end the program and leave the terminal like this.
      mode.c_cc[VQUIT] = _POSIX_VDISABLE;
    }
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &mode);
  }

  Event TakeSignal() {
    signalfd_siginfo info = {};
    if (::read(signals_.Number(), &info, sizeof info) != sizeof info) return Event::None;
    switch (info.ssi_signo) {
      case SIGWINCH:
        return Event::Resized;
      case SIGTSTP:
        Stop();
        return Event::Resumed;
      case SIGCONT:
        Adopt();
        return Event::Resumed;
      case SIGPIPE:
        return Event::None;
      default:
        return Event::Closed;
    }
  }

  void Stop() {
    if (InForeground()) ::tcsetattr(STDIN_FILENO, TCSADRAIN, &found_);
    ::raise(SIGTSTP);
    { const Stoppable now; }
    Adopt();
  }

  Told ReadKeys() {
    char bytes[256];
    const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
    if (count < 0 && errno == EINTR) return {};
    if (count > 0) return {Event::Typed, std::string(bytes, static_cast<std::size_t>(count))};
    closed_ = true;
    return {Event::Closed, {}};
  }

  bool RunPager(std::string_view bytes) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return false;
    Descriptor reading(ends[0]);
    const pid_t child = StartPager(reading.Number());
    {
      const Stoppable whileItRuns;
      const Descriptor writing(ends[1]);
      // It may end before it has read all.
      if (child > 0) WriteAll(writing.Number(), bytes);
    }
    return child > 0 && StatusOf(child) != kCommandNotFound;
  }

  /// Its process; 0 when it did not start.
  pid_t StartPager(int input) const {
    const std::string pager = HasValue("PAGER") ? *EnvironmentVariable("PAGER") : std::string("less");
    std::vector<std::string> words = {"/bin/sh", "-c", pager};
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    // A short text is shown and stays.
    std::string habits = "LESS=FRX";
    std::vector<char*> environment;
    for (char** variable = environ; *variable != nullptr; ++variable) environment.push_back(*variable);
    if (!HasValue("LESS")) environment.push_back(habits.data());
    environment.push_back(nullptr);

    posix_spawn_file_actions_t files;
    ::posix_spawn_file_actions_init(&files);
    ::posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setsigmask(&attributes, &before_);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t child = 0;
    const int result =
        ::posix_spawn(&child, arguments.front(), &files, &attributes, arguments.data(), environment.data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&files);
    return result == 0 ? child : 0;
  }

  static int StatusOf(pid_t child) {
    const Stoppable whileItRuns;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 0;
  }

  sigset_t before_ = {};  ///< the signals that were blocked before
  Descriptor signals_;
  termios found_ = {};
  Input input_ = Input::Keys;
  const bool canDraw_ = ::isatty(STDOUT_FILENO) != 0 && HasValue("TERM") && *EnvironmentVariable("TERM") != "dumb";
  const bool noColours_ = HasValue("NO_COLOR");
  const Charset charset_ = UsersCharset();
  bool adopted_ = false;  ///< the terminal has the mode for `input_`
  bool closed_ = false;
};

}  // namespace

std::unique_ptr<Terminal> MakeTerminal() {
  if (::isatty(STDIN_FILENO) == 0) return nullptr;
  return std::make_unique<PosixTerminal>();
}

}  // namespace mv::platform
