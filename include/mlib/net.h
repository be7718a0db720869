/// \file
/// The network probe: whether a local TCP port is free at this moment. Unlike the free
/// functions of <mlib/text.h> it has C++ linkage, so it is exported under its decorated name.
#ifndef MLIB_NET_H
#define MLIB_NET_H

#include <mlib/config.h>

/// Tries to bind a fresh IPv4 TCP socket to `port` (host byte order) on every local address,
/// with no socket option, and closes it again at once. Returns 0 when the bind succeeded (the
/// port was free at that moment; port 0 always is) and 1 when it failed: the port is taken,
/// is still closing, or the probe itself could not run. Only TCP is probed. On Windows the
/// host must have started Windows Sockets (WSAStartup); without it every port gives 1.
/// Any thread may call it.
MLIB_API int Net_IsPortBind(unsigned short port);

#endif  // MLIB_NET_H
