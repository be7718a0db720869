// Sockets: the one probe the library makes, binding a fresh TCP socket to a local port.
#ifndef MLIB_SRC_PLATFORM_SOCKET_H
#define MLIB_SRC_PLATFORM_SOCKET_H

#include <mlib/config.h>

namespace mlib::platform {

// Makes an IPv4 stream socket (no socket option set), binds it to `port` (host byte order)
// on the any address, then shuts it down for sending and closes it, whatever happened.
// True when the bind succeeded: the port was free at that moment. False when it failed or
// the socket could not be made (on Windows also when Windows Sockets is not started), with
// the cause of that failure kept for lastError().
[[nodiscard]] bool bindTcpPortOnce(unsigned short port) noexcept;

}  // namespace mlib::platform

#endif  // MLIB_SRC_PLATFORM_SOCKET_H
