// Test sockets through POSIX calls.
#include "nativeSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

SocketLayer::SocketLayer() = default;
SocketLayer::~SocketLayer() = default;
bool SocketLayer::needsStarting() { return false; }

NativeSocket::NativeSocket(Kind kind, bool anyAddress) : handle_(-1), port_(0) {
  const int fd = ::socket(AF_INET, kind == Kind::kUdp ? SOCK_DGRAM : SOCK_STREAM, 0);
  if (fd < 0) return;
  handle_ = fd;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(anyAddress ? INADDR_ANY : INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* raw = reinterpret_cast<sockaddr*>(&address);
  if (::bind(fd, raw, size) != 0) return;
  if (kind == Kind::kTcpListener && ::listen(fd, 1) != 0) return;
  if (::getsockname(fd, raw, &size) != 0) return;
  port_ = ntohs(address.sin_port);
}

NativeSocket::~NativeSocket() { close(); }

void NativeSocket::close() {
  if (handle_ >= 0) ::close(static_cast<int>(handle_));
  handle_ = -1;
}
