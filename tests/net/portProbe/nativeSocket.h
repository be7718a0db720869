// Test helper: sockets made with the system's own calls, for the port probe to find.
#ifndef MLIB_TESTS_NET_PORTPROBE_NATIVESOCKET_H
#define MLIB_TESTS_NET_PORTPROBE_NATIVESOCKET_H

#include <cstdint>

// Starts the system's socket layer (Windows Sockets); false where there is none to start.
bool startSocketLayer();
void stopSocketLayer();

// Opens an IPv4 socket bound to an ephemeral port on loopback or on every address; a TCP
// one also listens. Returns its port (host order), or 0 on failure; `handle` gets the socket.
unsigned short openNativeSocket(bool tcp, bool anyAddress, std::intptr_t& handle);
void closeNativeSocket(std::intptr_t handle);

#endif  // MLIB_TESTS_NET_PORTPROBE_NATIVESOCKET_H
