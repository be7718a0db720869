// Net_IsPortBind against IPv4 sockets made with the system's own calls, in a program of its
// own: it starts and stops the socket layer itself.
#include <gtest/gtest.h>
#include <mlib/net.h>
#if defined(_WIN32)
#include <winsock2.h>
using AddressSize = int;
bool startSocketLayer() {
  WSADATA data;
  return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
}
void stopSocketLayer() { (void)::WSACleanup(); }
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
using SOCKET = int;
using AddressSize = socklen_t;
bool startSocketLayer() { return false; }  // nothing to start
void stopSocketLayer() {}
int closesocket(SOCKET s) { return ::close(s); }
#endif

TEST(NetIsPortBind, ListeningPortIsTakenUntilClosed) {
  const bool started = startSocketLayer();
  // A listener on loopback or every address takes its port until it closes (never connected,
  // nothing lingers); a UDP socket is not a TCP one. The probe's own socket holds nothing.
  for (int kind = 0; kind < 3; ++kind) {
    SCOPED_TRACE(kind == 0 ? "loopback" : kind == 1 ? "every address" : "UDP");
    const SOCKET s = ::socket(AF_INET, kind < 2 ? SOCK_STREAM : SOCK_DGRAM, 0);
    sockaddr_in address{};  // an ephemeral port
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(kind > 0 ? INADDR_ANY : INADDR_LOOPBACK);
    AddressSize size = sizeof(address);
    auto* const raw = reinterpret_cast<sockaddr*>(&address);
    ASSERT_EQ(::bind(s, raw, size), 0);
    ASSERT_TRUE(kind == 2 || ::listen(s, 1) == 0);
    ASSERT_EQ(::getsockname(s, raw, &size), 0);
    const unsigned short port = ntohs(address.sin_port);
    EXPECT_EQ(Net_IsPortBind(port) + Net_IsPortBind(port), kind < 2 ? 2 : 0);
    (void)closesocket(s);
    EXPECT_EQ(Net_IsPortBind(port) + Net_IsPortBind(port), 0);
  }
  EXPECT_EQ(Net_IsPortBind(0), 0) << "the system picks a port for the probe";
  if (started) stopSocketLayer();
  // Where the layer needs starting, the probe without it finds every port taken.
  EXPECT_EQ(Net_IsPortBind(0), started ? 1 : 0);
}
