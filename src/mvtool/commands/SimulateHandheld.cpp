#include "mvtool/commands/SimulateHandheld.h"

#include <charconv>
#include <ostream>

#include "device/simulator/HandheldSimulator.h"
#include "mvtool/files/ToolErrors.h"
#include "platform/Interruption.h"

namespace mv::tool {
namespace {

using platform::SocketAddress;
using simulator::Family;
using simulator::SimulatorOptions;

constexpr std::uint32_t kLastPort = 65535;
constexpr std::uint32_t kMostRequests = 1'000'000'000;
/// Of a request that is cut: its head, and some of what it carries.
constexpr std::size_t kBytesBeforeTheCut = 100;

std::uint32_t NumberOf(const char* option, const std::string& text, std::uint32_t most) {
  std::uint32_t number = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isNumber = code == std::errc() && end == text.data() + text.size();
  if (isNumber && number <= most) return number;
  throw UsageError(std::string(option) + " is a number up to " + std::to_string(most) + ", not \"" + text + "\"");
}

SocketAddress AddressOf(const char* option, const std::string& text) {
  const auto address = SocketAddress::Parse(text);
  if (!address) throw UsageError(std::string(option) + " is an address such as 127.0.0.1, not \"" + text + "\"");
  return *address;
}

Family FamilyOf(const std::string& text) {
  if (text == "A" || text == "a") return Family::A;
  if (text == "B" || text == "b") return Family::B;
  throw UsageError("--family is A or B, not \"" + text + "\"");
}

wire::MessageVersion VersionOf(const std::string& text) {
  if (text == "1") return wire::MessageVersion::V1;
  if (text == "2") return wire::MessageVersion::V2;
  throw UsageError("--version is 1 or 2, not \"" + text + "\"");
}

SimulatorOptions OptionsOf(const Arguments& arguments) {
  SimulatorOptions options;
  options.family = FamilyOf(arguments.ValueOf("--family").value_or("A"));
  const bool isFamilyB = options.family == Family::B;
  if (isFamilyB) options.device = simulator::SimulatedDevice::OfFamilyB();
  options.callsPort = wire::ports::kCallsA;
  options.desktop.port = isFamilyB ? wire::ports::kControlB : wire::ports::kControlA;
  if (const auto version = arguments.ValueOf("--version")) options.version = VersionOf(*version);
  if (const auto password = arguments.ValueOf("--password")) {
    options.lock = simulator::Lock::Password;
    options.password = *password;
  }
  if (const auto own = arguments.ValueOf("--address")) options.address = AddressOf("--address", *own).host;
  if (const auto desktop = arguments.ValueOf("--desktop")) {
    const SocketAddress address = AddressOf("--desktop", *desktop);
    options.desktop = {address.host, address.port == 0 ? options.desktop.port : address.port};
  }
  if (const auto text = arguments.ValueOf("--port")) {
    const auto port = static_cast<std::uint16_t>(NumberOf("--port", *text, kLastPort));
    if (isFamilyB) options.wakeUpPort = port;
    if (!isFamilyB) options.callsPort = port;
  }
  if (const auto text = arguments.ValueOf("--cut")) {
    options.faults.message =
        simulator::MessageFault{simulator::MessageFault::Kind::Cut, simulator::Direction::ToHandheld,
                                NumberOf("--cut", *text, kMostRequests), kBytesBeforeTheCut};
  }
  return options;
}

}  // namespace

void SimulateHandheld(const std::string& root, const Arguments& arguments, ToolContext& context) {
  SimulatorOptions options = OptionsOf(arguments);
  std::ostream& out = context.out;
  options.log = [&out](const std::string& line) { out << line << std::endl; };
  // Before any thread of ours, so that the interruption comes here.
  platform::Interruption interruption;
  const std::string desktop = options.desktop.Text();
  const bool isFamilyA = options.family == Family::A;
  simulator::HandheldSimulator handheld(context.files, root, std::move(options));
  if (isFamilyA) out << "takes remote calls at port " << handheld.CallsPort() << std::endl;
  out << "looking for the desktop at " << desktop << std::endl;
  handheld.Start();
  interruption.Wait();
  handheld.Stop();
}

}  // namespace mv::tool
