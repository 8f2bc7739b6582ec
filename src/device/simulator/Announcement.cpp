#include "device/simulator/Announcement.h"

#include <algorithm>
#include <string_view>

#include "device/message/MessageWriter.h"

namespace mv::simulator {
namespace {

using wire::MessageWriter;

constexpr std::uint16_t kProcessor = 2577;
constexpr std::uint32_t kTextsOffset = 0x24;

void Append(MessageWriter& writer, std::string_view text) {
  writer.Raw(ByteView(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

Bytes TextBytes(std::string_view text) {
  MessageWriter writer;
  writer.Text(text);
  return writer.Content();
}

}  // namespace

Bytes AnnouncementA(const SimulatedDevice& device) {
  const Bytes name = TextBytes(device.name);
  const Bytes platform = TextBytes(device.platform);
  const auto platformOffset = kTextsOffset + static_cast<std::uint32_t>(name.size());
  const auto modelOffset = platformOffset + static_cast<std::uint32_t>(platform.size());
  MessageWriter record;
  record.Word(kTextsOffset);
  record.Byte(static_cast<std::uint8_t>(device.major));
  record.Byte(static_cast<std::uint8_t>(device.minor));
  record.Half(static_cast<std::uint16_t>(device.build));
  record.Half(kProcessor);
  record.Half(0);
  record.Word(0);
  record.Word(device.partnership);
  record.Word(0);
  record.Word(kTextsOffset);
  record.Word(platformOffset);
  record.Word(modelOffset);
  record.Raw(name);
  record.Raw(platform);
  record.Text(device.model);
  return record.Framed();
}

Bytes AnnouncementB(const SimulatedDevice& device, Lock lock) {
  static constexpr std::uint8_t kGuid[] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                                           0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
  const Bytes name = TextBytes(device.name);
  MessageWriter record;
  record.Raw(kGuid);
  record.Word(device.major);
  record.Word(device.minor);
  record.Word(static_cast<std::uint32_t>(name.size() / 2 - 1));
  record.Raw(name);
  record.Word(0x00050001);
  record.Word(kProcessor);
  record.Word(0);
  record.Word(device.partnership);
  record.Word(device.identifier);
  record.Word(static_cast<std::uint32_t>(device.platform.size() + 2));
  Append(record, device.platform);
  record.Half(0);
  record.Word(static_cast<std::uint32_t>(device.model.size()));
  Append(record, device.model);
  record.Byte(0);
  record.Word(2);
  for (const std::uint32_t word : {0x10U, 0x0CU, 0x0BU, 0U}) record.Word(word);
  record.Word(lock == Lock::None       ? wire::family_b::kNotLocked
              : lock == Lock::Password ? kLockKey
                                       : wire::family_b::kLockedOnScreen);
  MessageWriter message;
  message.Word(wire::family_b::kRecord);
  message.Counted(record.Content());
  return message.Content();
}

bool IsPassword(ByteView encoded, const std::string& password) {
  Bytes wanted = TextBytes(password);
  for (std::uint8_t& byte : wanted) byte ^= static_cast<std::uint8_t>(kLockKey & 0xFF);
  const ByteView withNul = wanted;
  return std::ranges::equal(encoded, withNul) || std::ranges::equal(encoded, withNul.first(withNul.size() - 2));
}

}  // namespace mv::simulator
