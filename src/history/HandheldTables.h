#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "base/Bytes.h"
#include "device/DeviceHooks.h"
#include "device/Rapi.h"
#include "device/modWinCEFileManagement.h"
#include "device/modWinCERAPIConnectionHandler.h"

namespace mv::history {

/// The table files on a handheld, each fetched or replaced as a whole and held in memory meanwhile: no file of the
/// desktop is touched.
class HandheldTables {
 public:
  /// `folder`: where the handheld has its table files. `wait`: how long it has to answer. `rapi` must outlive this
  /// object. Does not connect.
  HandheldTables(Rapi& rapi, std::string folder,
                 std::chrono::milliseconds wait = modWinCERAPIConnectionHandler::kUsualWait);
  /// Ends the connection.
  ~HandheldTables();
  HandheldTables(const HandheldTables&) = delete;
  HandheldTables& operator=(const HandheldTables&) = delete;

  /// Failure when the handheld does not answer. A connection that is up stays.
  void Connect();
  /// Ends a connection, so that somebody else may have one of the same handheld.
  void Disconnect();
  /// The table's file; nothing when the handheld has none or an empty one. Failure, with the table, when there is one
  /// that cannot be fetched.
  std::optional<Bytes> Fetch(const std::string& table);
  /// Puts `content` on the handheld as the table's file; `content` must not be empty, for the device's file would be
  /// emptied before that shows.
  DeviceCopyResult Send(const std::string& table, const Bytes& content);

 private:
  std::string PathOf(const std::string& table) const;
  /// False as well when the connection is lost, which shows in CeRapiGetError.
  bool Has(const std::string& path);
  bool IsEmpty(const std::string& table);

  Rapi& rapi_;
  std::string folder_;
  DeviceHooks hooks_;
  modWinCERAPIConnectionHandler connection_;
};

/// "the handheld did not take brnd_Fuel (code 5)".
std::string RefusalText(const std::string& table, DeviceCopyResult code);

}  // namespace mv::history
