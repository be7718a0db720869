// Test sockets through Windows Sockets.
#include <winsock2.h>

#include "nativeSocket.h"

bool startSocketLayer() {
  WSADATA data;
  return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
}

void stopSocketLayer() { (void)::WSACleanup(); }

unsigned short openNativeSocket(bool tcp, bool anyAddress, std::intptr_t& handle) {
  const SOCKET s = ::socket(AF_INET, tcp ? SOCK_STREAM : SOCK_DGRAM, 0);
  handle = static_cast<std::intptr_t>(s);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = ::htonl(anyAddress ? INADDR_ANY : INADDR_LOOPBACK);
  int size = sizeof(address);
  auto* raw = reinterpret_cast<sockaddr*>(&address);
  if (s == INVALID_SOCKET || ::bind(s, raw, size) != 0 || (tcp && ::listen(s, 1) != 0) ||
      ::getsockname(s, raw, &size) != 0) {
    return 0;
  }
  return ::ntohs(address.sin_port);
}

void closeNativeSocket(std::intptr_t handle) { (void)::closesocket(static_cast<SOCKET>(handle)); }
