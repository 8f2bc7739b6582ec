#include "base/ByteOrder.h"

#include <gtest/gtest.h>

#include <array>

namespace mv {
namespace {

constexpr std::array<std::uint8_t, 8> kBytes = {0x81, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x88};

template <typename T>
constexpr std::array<std::uint8_t, 8> Little(T value) {
  std::array<std::uint8_t, 8> bytes = {};
  StoreLittle(bytes.data(), value);
  return bytes;
}

template <typename T>
constexpr std::array<std::uint8_t, 8> Big(T value) {
  std::array<std::uint8_t, 8> bytes = {};
  StoreBig(bytes.data(), value);
  return bytes;
}

// Compilers take the portable way here, programs that of their host; they must agree.
static_assert(LoadLittle<std::uint32_t>(kBytes.data()) == 0x04030281);
static_assert(LoadBig<std::int16_t>(kBytes.data()) == static_cast<std::int16_t>(0x8102));
static_assert(Big<std::uint32_t>(0x81020304) == Little<std::uint32_t>(0x04030281));

TEST(ByteOrder, LoadsTakeTheBytesInTheStatedOrder) {
  EXPECT_EQ(LoadLittle<std::uint8_t>(kBytes.data()), 0x81);
  EXPECT_EQ(LoadLittle<std::uint16_t>(kBytes.data()), 0x0281);
  EXPECT_EQ(LoadLittle<std::uint32_t>(kBytes.data()), 0x04030281U);
  EXPECT_EQ(LoadLittle<std::uint64_t>(kBytes.data()), 0x8807060504030281U);
  EXPECT_EQ(LoadBig<std::uint8_t>(kBytes.data()), 0x81);
  EXPECT_EQ(LoadBig<std::uint16_t>(kBytes.data()), 0x8102);
  EXPECT_EQ(LoadBig<std::uint32_t>(kBytes.data()), 0x81020304U);
  EXPECT_EQ(LoadBig<std::uint64_t>(kBytes.data()), 0x8102030405060788U);
  EXPECT_EQ(LoadBig<std::int32_t>(kBytes.data()), -0x7EFDFCFC);
}

TEST(ByteOrder, StoresAreTheInverseAndTouchNoOtherByte) {
  EXPECT_EQ(Big<std::uint64_t>(0x8102030405060788), kBytes);
  EXPECT_EQ(Little<std::uint64_t>(0x8807060504030281), kBytes);
  EXPECT_EQ(Big<std::int32_t>(-2), (std::array<std::uint8_t, 8>{0xFF, 0xFF, 0xFF, 0xFE}));
  EXPECT_EQ(Little<std::int32_t>(-2), (std::array<std::uint8_t, 8>{0xFE, 0xFF, 0xFF, 0xFF}));
  EXPECT_EQ(Big<std::uint16_t>(0x0102), (std::array<std::uint8_t, 8>{1, 2}));
  EXPECT_EQ(Little<std::uint16_t>(0x0102), (std::array<std::uint8_t, 8>{2, 1}));
  EXPECT_EQ(Big<std::uint8_t>(7), (std::array<std::uint8_t, 8>{7}));
}

}  // namespace
}  // namespace mv
