#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "base/Error.h"
#include "config/HandheldSettings.h"
#include "device/wire/BrokerServer.h"
#include "device/wire/ControlService.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/HandheldSession.h"
#include "mvtool/commands/UserSetup.h"
#include "mvtool/files/ToolErrors.h"
#include "platform/Interruption.h"
#include "platform/PrivateFiles.h"
#include "run/HandheldChoice.h"
#include "run/RunLock.h"
#include "run/RunState.h"

namespace mv::tool {
namespace {

constexpr std::string_view kListenHelp =
    "  Waits for handhelds on the network, until it is interrupted (Ctrl-C). Says\n"
    "  when one comes and goes, and does a silent run each time one comes. Meanwhile\n"
    "  MVPPCSync and mvtool reach the same handheld through it.\n"
    "    --run MODE  0 Synchronize (usual), 1 Overwrite PDA, 2 Overwrite PC, or\n"
    "                \"none\"\n";

constexpr std::string_view kRun = "--run";
/// Between two looks at what is new.
constexpr std::chrono::milliseconds kBetweenLooks(200);

std::optional<RunMode> ModeOf(const Arguments& arguments) {
  const std::string text = arguments.ValueOf(kRun).value_or("0");
  if (text == "none") return std::nullopt;
  if (text == "0") return RunMode::Synchronize;
  if (text == "1") return RunMode::OverwritePda;
  if (text == "2") return RunMode::OverwritePc;
  throw UsageError("--run is 0, 1, 2 or none, not \"" + text + "\"");
}

const char* WordsOf(int status) {
  switch (static_cast<ExitStatus>(status)) {
    case ExitStatus::Success:
      return "the run is done";
    case ExitStatus::TablesFailed:
      return "the run is done, but not all tables were synchronised";
    case ExitStatus::NoHandheld:
      return "the handheld did not answer the run";
    default:
      return "the run was stopped";
  }
}

/// What the user is told while handhelds come and go.
class Watch {
 public:
  Watch(const wire::LineSource& lines, ToolContext& context) : lines_(lines), context_(context) {}

  /// Tells what is new. True when a handheld has come since the last call.
  bool Look() {
    const wire::WireStatus status = lines_.Status();
    TellPlaces(status);
    if (status.problems != problems_) {
      problems_ = status.problems;
      for (const std::string& problem : problems_) Tell(context_.err, problem);
    }
    if (status.handheld != handheld_) {
      handheld_ = status.handheld;
      Tell(context_.out, handheld_);
    }
    const bool isNew = status.caller != 0 && status.caller != caller_;
    if (status.caller != 0) caller_ = status.caller;
    return isNew;
  }

  void Tell(std::ostream& stream, const std::string& line) const { stream << Printable(line) << std::endl; }

 private:
  void TellPlaces(const wire::WireStatus& status) {
    std::string places;
    for (const auto& list : {status.controlA, status.controlB}) {
      for (const auto& address : list) places += (places.empty() ? "" : ", ") + address.Text();
    }
    if (places == places_) return;
    places_ = places;
    Tell(context_.out, places.empty() ? "no address to listen at" : "listening at " + places);
  }

  const wire::LineSource& lines_;
  ToolContext& context_;
  std::string places_;
  std::vector<std::string> problems_;
  std::string handheld_;
  std::uint64_t caller_ = 0;
};

/// A run that another one made wait begins when that has ended. False when it was interrupted before.
bool WaitForOtherRun(const std::string& database, platform::Interruption& interruption, ToolContext& context) {
  constexpr std::chrono::seconds kBetweenTries(1);
  bool isTold = false;
  while (!RunLock::Take(context.files, database)) {
    if (!isTold) context.out << "another run is going on; waiting for its end" << std::endl;
    isTold = true;
    if (interruption.WaitFor(kBetweenTries)) return false;
  }
  return true;
}

void Listen(const Arguments& arguments, ToolContext& context) {
  const std::optional<RunMode> mode = ModeOf(arguments);
  UserSetup setup(context);
  const HandheldSettings settings = LoadHandheldSettings(setup.Store());
  if (WayTo(settings, context.systemHasRapi) != HandheldWay::Network)
    throw Failure("the settings choose no handheld on the network (Connection and Listen of [Handheld])");
  const wire::WireOptions options = WireOptionsOf(settings, context.files);
  // Not the patient one: whoever has the place keeps it.
  const auto files = platform::MakeFileSystem();
  wire::BrokerPlace place(*files, platform::PrivateRuntimeFolder());
  const auto claim = place.Claim();
  if (!claim) throw Failure("another \"mvtool listen\" of yours is running");

  // Before any thread of ours, so that the interruption comes here.
  platform::Interruption interruption;
  wire::WireLog log(options.log);
  wire::ControlService lines(options, log);
  const wire::BrokerServer server(lines, options.password);
  place.Publish(server.Ticket());
  Watch watch(lines, context);
  do {
    if (!watch.Look() || !mode) continue;
    if (!WaitForOtherRun(setup.Names().DesktopDBPath, interruption, context)) break;
    watch.Tell(context.out, "synchronising");
    watch.Tell(context.out, WordsOf(context.runSilently(*mode, context.err)));
  } while (!interruption.WaitFor(kBetweenLooks));
  place.Withdraw();
  watch.Tell(context.out, "ended");
}

}  // namespace

Command ListenCommand() {
  return {
      .name = "listen",
      .group = CommandGroup::Handheld,
      .summary = "waits for handhelds on the network and synchronises",
      .help = kListenHelp,
      .rules = {.synopsis = "mvtool listen [--run MODE]",
                .leastOperands = 0,
                .mostOperands = 0,
                .switches = {},
                .settings = {kRun}},
      .run = &Listen,
  };
}

}  // namespace mv::tool
