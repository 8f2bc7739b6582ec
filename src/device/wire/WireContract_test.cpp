#include "support/WiredHandheld.h"

namespace mv::testing {
namespace {

using simulator::Family;
using wire::MessageVersion;

using WiredHandhelds =
    ::testing::Types<WiredHandheldOf<Family::A, MessageVersion::V1>, WiredHandheldOf<Family::A, MessageVersion::V2>,
                     WiredHandheldOf<Family::B, MessageVersion::V1>, WiredHandheldOf<Family::B, MessageVersion::V2>,
                     WiredHandheldOf<Family::A, MessageVersion::V1, 1000>>;
INSTANTIATE_TYPED_TEST_SUITE_P(OnTheWire, RapiContract, WiredHandhelds);

}  // namespace
}  // namespace mv::testing
