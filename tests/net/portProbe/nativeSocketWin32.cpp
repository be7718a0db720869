// Test sockets through Windows Sockets.
#include "nativeSocket.h"

#include <winsock2.h>

SocketLayer::SocketLayer() {
  WSADATA data;
  (void)::WSAStartup(MAKEWORD(2, 2), &data);
}

SocketLayer::~SocketLayer() { (void)::WSACleanup(); }

bool SocketLayer::needsStarting() { return true; }

NativeSocket::NativeSocket(Kind kind, bool anyAddress)
    : handle_(static_cast<std::intptr_t>(INVALID_SOCKET)), port_(0) {
  const SOCKET s = ::socket(AF_INET, kind == Kind::kUdp ? SOCK_DGRAM : SOCK_STREAM, 0);
  if (s == INVALID_SOCKET) return;
  handle_ = static_cast<std::intptr_t>(s);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = ::htonl(anyAddress ? INADDR_ANY : INADDR_LOOPBACK);
  int size = sizeof(address);
  auto* raw = reinterpret_cast<sockaddr*>(&address);
  if (::bind(s, raw, size) != 0) return;
  if (kind == Kind::kTcpListener && ::listen(s, 1) != 0) return;
  if (::getsockname(s, raw, &size) != 0) return;
  port_ = ::ntohs(address.sin_port);
}

NativeSocket::~NativeSocket() { close(); }

void NativeSocket::close() {
  if (handle_ != static_cast<std::intptr_t>(INVALID_SOCKET)) {
    (void)::closesocket(static_cast<SOCKET>(handle_));
  }
  handle_ = static_cast<std::intptr_t>(INVALID_SOCKET);
}
