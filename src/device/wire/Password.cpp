#include "device/wire/Password.h"

#include "device/message/MessageWriter.h"

namespace mv::wire {

Bytes EncodedPassword(std::string_view password, std::uint8_t key, PasswordEnd end) {
  MessageWriter text;
  text.Text(password);
  Bytes encoded = text.Content();
  if (end == PasswordEnd::None) encoded.resize(encoded.size() - 2);
  for (std::uint8_t& byte : encoded) byte ^= key;
  MessageWriter message;
  message.Half(static_cast<std::uint16_t>(encoded.size()));
  message.Raw(encoded);
  return message.Content();
}

}  // namespace mv::wire
