#include "support/RapiContract.h"
#include "support/WiredHandheld.h"

namespace mv::testing {
namespace {

using simulator::Family;
using wire::MessageVersion;

/// A handheld of a family and a version of the messages, with blocks of `blockSize` bytes.
template <simulator::Family family, wire::MessageVersion version, std::size_t blockSize = 65536>
class WiredHandheldOf : public Handheld {
 public:
  Rapi& Api() override { return handheld_.Api(); }

 private:
  static simulator::SimulatorOptions Device() {
    simulator::SimulatorOptions device;
    device.family = family;
    device.device = version == wire::MessageVersion::V1 ? simulator::SimulatedDevice::OfFamilyA()
                                                        : simulator::SimulatedDevice::OfFamilyB();
    return device;
  }
  static wire::WireOptions Desktop() {
    wire::WireOptions desktop = WiredHandheld::QuickOptions();
    desktop.blockSize = blockSize;
    return desktop;
  }

  WiredHandheld handheld_{Device(), Desktop()};
};

using WiredHandhelds =
    ::testing::Types<WiredHandheldOf<Family::A, MessageVersion::V1>, WiredHandheldOf<Family::A, MessageVersion::V2>,
                     WiredHandheldOf<Family::B, MessageVersion::V1>, WiredHandheldOf<Family::B, MessageVersion::V2>,
                     WiredHandheldOf<Family::A, MessageVersion::V1, 1000>>;
INSTANTIATE_TYPED_TEST_SUITE_P(OnTheWire, RapiContract, WiredHandhelds);

}  // namespace
}  // namespace mv::testing
