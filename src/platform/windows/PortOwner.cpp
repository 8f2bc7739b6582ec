#include "platform/PortOwner.h"

#include <winsock2.h>

#include <windows.h>

#include <bit>
#include <cstring>
#include <vector>

namespace mv::platform {
namespace {

/// MIB_TCPROW_OWNER_PID, as the system publishes it.
struct TcpRow {
  DWORD state;
  DWORD localAddress;
  DWORD localPort;  ///< in the network's order in the first two bytes
  DWORD remoteAddress;
  DWORD remotePort;
  DWORD process;
};
constexpr int kListenersWithProcess = 3;  ///< TCP_TABLE_OWNER_PID_LISTENER

using GetTcpTable = DWORD(WINAPI*)(PVOID table, PDWORD size, BOOL sorted, ULONG family, int kind, ULONG reserved);

/// The system's table of listening sockets. Its library has that function since Windows XP SP2, so it is asked for at
/// run time.
std::vector<TcpRow> ListeningSockets() {
  const HMODULE library = ::LoadLibraryW(L"iphlpapi.dll");
  if (library == nullptr) return {};
  const auto getTable = std::bit_cast<GetTcpTable>(::GetProcAddress(library, "GetExtendedTcpTable"));
  std::vector<std::uint8_t> table;
  DWORD size = 0;
  DWORD result = getTable == nullptr ? ERROR_NOT_SUPPORTED : ERROR_INSUFFICIENT_BUFFER;
  for (int i = 0; i < 5 && result == ERROR_INSUFFICIENT_BUFFER; ++i) {  // the table may grow in between
    table.resize(size);
    result = getTable(table.data(), &size, FALSE, AF_INET, kListenersWithProcess, 0);
  }
  ::FreeLibrary(library);
  DWORD count = 0;
  if (result != NO_ERROR || table.size() < sizeof count) return {};
  std::memcpy(&count, table.data(), sizeof count);
  if (count > (table.size() - sizeof count) / sizeof(TcpRow)) return {};
  std::vector<TcpRow> rows(count);
  std::memcpy(rows.data(), table.data() + sizeof count, count * sizeof(TcpRow));
  return rows;
}

std::uint16_t PortOf(const TcpRow& row) {
  return static_cast<std::uint16_t>((row.localPort & 0xFF) << 8 | (row.localPort >> 8 & 0xFF));
}

}  // namespace

std::string PortOwner(const SocketAddress& address) {
  for (const TcpRow& row : ListeningSockets()) {
    if (PortOf(row) == address.port) return "Process " + std::to_string(row.process);
  }
  return {};
}

std::string PortRightAdvice(std::uint16_t port) {
  return "The system or a security program keeps port " + std::to_string(port) +
         " to itself; \"netsh interface ipv4 show excludedportrange tcp\" lists what the system keeps.";
}

}  // namespace mv::platform
