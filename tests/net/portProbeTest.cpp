// Net_IsPortBind against IPv4 sockets made with the system's own calls, in a program of its
// own: it starts and stops the socket layer itself.
#include <gtest/gtest.h>
#include <mlib/net.h>
#if defined(_WIN32)
#include <winsock2.h>
using Socket = SOCKET;
using AddressSize = int;
bool startSocketLayer() {
  WSADATA data;
  return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
}
void stopSocketLayer() { (void)::WSACleanup(); }
void closeSocket(Socket s) { (void)::closesocket(s); }
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
using Socket = int;
using AddressSize = socklen_t;
bool startSocketLayer() { return false; }  // nothing to start
void stopSocketLayer() {}
void closeSocket(Socket s) { ::close(s); }
#endif

// A socket bound to an ephemeral port of loopback or of every address, listening when TCP;
// returns its port, 0 on failure (a failed socket() fails the bind).
unsigned short openSocket(bool tcp, bool anyAddress, Socket& s) {
  s = ::socket(AF_INET, tcp ? SOCK_STREAM : SOCK_DGRAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(anyAddress ? INADDR_ANY : INADDR_LOOPBACK);
  AddressSize size = sizeof(address);
  auto* raw = reinterpret_cast<sockaddr*>(&address);
  const bool bound = ::bind(s, raw, size) == 0 && (!tcp || ::listen(s, 1) == 0);
  return bound && ::getsockname(s, raw, &size) == 0 ? ntohs(address.sin_port) : 0;
}

TEST(NetIsPortBind, ListeningPortIsTakenUntilClosed) {
  const bool started = startSocketLayer();
  // A listener on loopback or every address takes its port until it closes (never connected,
  // nothing lingers); a UDP socket is not a TCP one. The probe's own socket holds nothing.
  for (int kind = 0; kind < 3; ++kind) {
    SCOPED_TRACE(kind == 0 ? "loopback" : kind == 1 ? "every address" : "UDP");
    Socket s;
    const unsigned short port = openSocket(kind<2, kind> 0, s);
    ASSERT_NE(port, 0);
    EXPECT_EQ(Net_IsPortBind(port) + Net_IsPortBind(port), kind < 2 ? 2 : 0);
    closeSocket(s);
    EXPECT_EQ(Net_IsPortBind(port) + Net_IsPortBind(port), 0);
  }
  EXPECT_EQ(Net_IsPortBind(0), 0) << "the system picks a port for the probe";
  if (started) stopSocketLayer();
  // Where the layer needs starting, the probe without it finds every port taken.
  EXPECT_EQ(Net_IsPortBind(0), started ? 1 : 0);
}
