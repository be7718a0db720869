// Test helper: sockets made with the system's own calls, for the port probe to find.
#ifndef MLIB_TESTS_NET_PORTPROBE_NATIVESOCKET_H
#define MLIB_TESTS_NET_PORTPROBE_NATIVESOCKET_H

#include <cstdint>

// Keeps the system's socket layer started while it lives (Windows Sockets; nothing to do
// elsewhere).
class SocketLayer {
 public:
  SocketLayer();
  ~SocketLayer();
  SocketLayer(const SocketLayer&) = delete;
  SocketLayer& operator=(const SocketLayer&) = delete;

  // Whether this system's sockets work only after a start-up call.
  static bool needsStarting();
};

// An IPv4 socket bound to an ephemeral port, on the loopback address or on every address.
// A TCP socket also listens. Closed by close() or the destructor.
class NativeSocket {
 public:
  enum class Kind { kTcpListener, kUdp };
  NativeSocket(Kind kind, bool anyAddress);
  ~NativeSocket();
  NativeSocket(const NativeSocket&) = delete;
  NativeSocket& operator=(const NativeSocket&) = delete;

  bool valid() const { return port_ != 0; }
  unsigned short port() const { return port_; }  // host byte order; 0 when not made
  void close();

 private:
  std::intptr_t handle_;
  unsigned short port_;
};

#endif  // MLIB_TESTS_NET_PORTPROBE_NATIVESOCKET_H
