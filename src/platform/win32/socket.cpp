// The port probe on Windows Sockets. The host starts Windows Sockets; the library never
// does, so without it the socket call fails and the probe reports the port as taken.
#include "platform/socket.h"

#include <winsock2.h>

#include "platform/win32/win32.h"

namespace mlib::platform {

bool bindTcpPortOnce(unsigned short port) noexcept {
  const SOCKET handle = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = ::htons(port);
  address.sin_addr.s_addr = INADDR_ANY;
  // An invalid socket is passed on as is: its bind fails and the clean-up fails harmlessly,
  // which is the answer "taken" the probe gives for any failure.
  const bool bound =
      ::bind(handle, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != SOCKET_ERROR;
  const int bindError = ::WSAGetLastError();
  (void)::shutdown(handle, SD_SEND);
  (void)::closesocket(handle);
  ::WSASetLastError(bound ? 0 : bindError);
  return bound;
}

}  // namespace mlib::platform
