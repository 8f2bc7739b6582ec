#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/Bytes.h"
#include "platform/FileSystem.h"

namespace mv::wire {

/// How to reach the program that handhelds have called.
struct BrokerTicket {
  std::uint16_t port = 0;  ///< on the loopback address
  Bytes secret;            ///< to be said first
};

/// The place where the programs of one user find the one that listens for handhelds. Two files in a folder that nobody
/// else can look into: "listener.lock" is held as long as that program lives, however it ends, and "listener" tells the
/// port and the secret. So nobody else can speak to it, and nobody can pass for it.
class BrokerPlace {
 public:
  /// `folder`: without a separator at its end. `files` must outlive this object.
  BrokerPlace(platform::FileSystem& files, std::string folder) : files_(files), folder_(std::move(folder)) {}

  /// Takes the place; held as long as the file is open. Null when another program has it. The file system's errors.
  std::unique_ptr<platform::File> Claim();
  /// Who has claimed it tells the others.
  void Publish(const BrokerTicket& ticket);
  /// Takes what was told back.
  void Withdraw();
  /// Nothing when nobody has the place.
  std::optional<BrokerTicket> Find() const;

 private:
  bool IsClaimed() const;
  std::string LockPath() const { return folder_ + "\\listener.lock"; }
  std::string TicketPath() const { return folder_ + "\\listener"; }

  platform::FileSystem& files_;
  std::string folder_;
};

}  // namespace mv::wire
