// Test sockets through POSIX calls.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "nativeSocket.h"

bool startSocketLayer() { return false; }
void stopSocketLayer() {}

unsigned short openNativeSocket(bool tcp, bool anyAddress, std::intptr_t& handle) {
  const int fd = ::socket(AF_INET, tcp ? SOCK_STREAM : SOCK_DGRAM, 0);
  handle = fd;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(anyAddress ? INADDR_ANY : INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* raw = reinterpret_cast<sockaddr*>(&address);
  if (fd < 0 || ::bind(fd, raw, size) != 0 || (tcp && ::listen(fd, 1) != 0) ||
      ::getsockname(fd, raw, &size) != 0) {
    return 0;
  }
  return ntohs(address.sin_port);
}

void closeNativeSocket(std::intptr_t handle) { ::close(static_cast<int>(handle)); }
