#include "ui/posix/WindowLoader.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <utility>

#include "platform/System.h"
#include "platform/posix/Descriptor.h"
#include "ui/WindowPartBuild.h"
#include "ui/frmMainView.h"
#include "ui/posix/EndSignals.h"

namespace mv {
namespace {

constexpr const char* kPartFile = "libmvppcsync-window.so";
/// A display that takes the connection and never answers shall not keep the user waiting for ever.
constexpr int kLongestWait = 20000;  // milliseconds
constexpr char kConnected = '\0';

bool IsSet(const char* variable) {
  return !platform::EnvironmentVariable(variable).value_or("").empty();
}

/// Both ends are open, or none when the system has no more of them.
struct Pipe {
  Pipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    read.emplace(ends[0]);
    write.emplace(ends[1]);
  }

  std::optional<platform::Descriptor> read;
  std::optional<platform::Descriptor> write;
};

std::string FirstLine(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

/// A child process that connects to the display first. Where that fails the library ends the process that tried; a
/// server may also reset itself when its last client leaves, so that the child keeps its connection for as long as this
/// object lives.
class DisplayTest {
 public:
  explicit DisplayTest(WindowPart& part) {
    if (!answer_.read || !hold_.read) return;
    child_ = ::fork();
    if (child_ == 0) RunChild(part);
    answer_.write.reset();
    hold_.read.reset();
  }
  DisplayTest(const DisplayTest&) = delete;
  DisplayTest& operator=(const DisplayTest&) = delete;
  ~DisplayTest() {
    if (child_ <= 0) return;
    if (!connected_) ::kill(child_, SIGKILL);
    hold_.write.reset();
    while (::waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }

  /// Nothing when the display answers, else why it does not.
  std::optional<std::string> Complaint() {
    if (child_ <= 0) return "no process could be started";
    std::string said;
    pollfd waiting = {answer_.read->Number(), POLLIN, 0};
    while (::poll(&waiting, 1, kLongestWait) > 0) {
      std::array<char, 512> text;
      const ssize_t length = ::read(waiting.fd, text.data(), text.size());
      if (length <= 0) return said.empty() ? "the display does not answer" : FirstLine(said);
      said.append(text.data(), static_cast<std::size_t>(length));
      connected_ = said.find(kConnected) != std::string::npos;
      if (connected_) return std::nullopt;
    }
    return "the display does not answer";
  }

 private:
  [[noreturn]] void RunChild(WindowPart& part) {
    // The library ends a process by abort; that is no crash to be recorded.
    ::signal(SIGABRT, [](int) { ::_exit(EXIT_FAILURE); });
    ::dup2(answer_.write->Number(), STDERR_FILENO);
    hold_.write.reset();
    part.TryDisplay();
    char end = kConnected;
    if (::write(answer_.write->Number(), &end, 1) == 1) {
      // Ends when the parent lets go, whatever that returns.
      if (::read(hold_.read->Number(), &end, 1) != 0) ::_exit(EXIT_FAILURE);
    }
    ::_exit(EXIT_SUCCESS);
  }

  Pipe answer_;
  Pipe hold_;
  pid_t child_ = -1;
  bool connected_ = false;
};

struct LoadedPart {
  std::unique_ptr<WindowPart> part;
  std::string reason;
};

LoadedPart Load(const std::string& file) {
  void* const library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return {nullptr, ::dlerror()};
  auto* const entry = reinterpret_cast<WindowPartEntry*>(::dlsym(library, kWindowPartEntry));
  LoadedPart loaded;
  if (entry != nullptr) entry(kWindowPartVersion, loaded.part);
  if (!loaded.part) loaded.reason = file + " is not of version " + kWindowPartVersion;
  return loaded;
}

LoadedPart LoadFirst(const std::vector<std::string>& places) {
  for (const std::string& place : places) {
    if (::access(place.c_str(), F_OK) == 0) return Load(place);
  }
  return {nullptr, "the part of the program that shows it is not installed (package mvppcsync-window)"};
}

/// The part's toolkit, and what it has to be told.
class LoadedToolkit : public Toolkit {
 public:
  explicit LoadedToolkit(std::unique_ptr<WindowPart> part)
      : part_(std::move(part)), toolkit_(part_->MakeToolkit(signals_.Number())) {}
  std::unique_ptr<frmMainView> MakeMainView(frmMain& form) override { return toolkit_->MakeMainView(form); }

 private:
  EndSignals signals_;
  std::unique_ptr<WindowPart> part_;
  std::unique_ptr<Toolkit> toolkit_;
};

}  // namespace

std::vector<std::string> WindowPartPlaces(const std::string& programFolder) {
  const std::string libraries = programFolder + "/../lib/";
  std::vector<std::string> folders = {programFolder + "/", libraries + "mvppcsync/"};
  if (*kLibraryArchitecture != '\0') folders.push_back(libraries + kLibraryArchitecture + "/mvppcsync/");
  for (std::string& folder : folders) folder += kPartFile;
  return folders;
}

FoundToolkit FindToolkit(std::unique_ptr<WindowPart> part) {
  DisplayTest test(*part);
  if (const auto complaint = test.Complaint()) return {nullptr, *complaint};
  return {std::make_unique<LoadedToolkit>(std::move(part)), ""};
}

FoundToolkit FindToolkit(const std::vector<std::string>& places) {
  // Before the part is loaded: that takes time, and of a server one wants to know that it has no display.
  if (!IsSet("DISPLAY") && !IsSet("WAYLAND_DISPLAY")) return {nullptr, "there is no display"};
  LoadedPart loaded = LoadFirst(places);
  return loaded.part ? FindToolkit(std::move(loaded.part)) : FoundToolkit{nullptr, loaded.reason};
}

}  // namespace mv
