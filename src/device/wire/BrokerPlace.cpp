#include "device/wire/BrokerPlace.h"

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "device/message/MessageReader.h"
#include "device/message/MessageWriter.h"
#include "platform/PrivateFiles.h"

namespace mv::wire {
namespace {

using platform::Access;
using platform::Disposition;
using platform::Sharing;

}  // namespace

std::unique_ptr<platform::File> BrokerPlace::Claim() {
  try {
    return files_.Open(LockPath(), Access::ReadWrite, Disposition::OpenAlways, Sharing::None);
  } catch (const Error& error) {
    if (error.Number() != errors::kPermissionDenied) throw;
    return nullptr;
  }
}

bool BrokerPlace::IsClaimed() const {
  try {
    files_.Open(LockPath(), Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
    return false;
  } catch (const Error& error) {
    return error.Number() == errors::kPermissionDenied;
  }
}

void BrokerPlace::Publish(const BrokerTicket& ticket) {
  MessageWriter writer;
  writer.Half(ticket.port);
  writer.Counted(ticket.secret);
  platform::WritePrivateFile(TicketPath(), writer.Content());
}

void BrokerPlace::Withdraw() {
  try {
    files_.RemoveFile(TicketPath());
  } catch (const Error&) {
    // Without the lock it means nothing.
  }
}

std::optional<BrokerTicket> BrokerPlace::Find() const {
  if (!IsClaimed()) return std::nullopt;
  try {
    const Bytes content = ReadWhole(files_, TicketPath());
    MessageReader reader(content);
    BrokerTicket ticket;
    ticket.port = reader.Half();
    const ByteView secret = reader.Counted();
    ticket.secret.assign(secret.begin(), secret.end());
    return reader.IsGood() ? std::optional(ticket) : std::nullopt;
  } catch (const Error&) {
    return std::nullopt;  // it is only just starting, or ending
  }
}

}  // namespace mv::wire
