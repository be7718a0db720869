// The port probe on POSIX sockets.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include "platform/socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace mlib::platform {

bool bindTcpPortOnce(unsigned short port) noexcept {
  int type = SOCK_STREAM;
#if defined(SOCK_CLOEXEC)
  // Not a socket option: it keeps the descriptor out of programs the host starts meanwhile.
  type |= SOCK_CLOEXEC;
#endif
  const int fd = ::socket(AF_INET, type, 0);
  if (fd < 0) return false;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  const bool bound = ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  // The bind's error is the answer's cause; the clean-up must not replace it.
  const int bindError = errno;
  (void)::shutdown(fd, SHUT_WR);
  (void)::close(fd);
  errno = bound ? 0 : bindError;
  return bound;
}

}  // namespace mlib::platform
