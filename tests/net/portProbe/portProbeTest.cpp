// Net_IsPortBind of <mlib/net.h>, against IPv4 sockets made with the system's own calls.
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
  if (::bind(s, raw, size) != 0 || (tcp && ::listen(s, 1) != 0) ||
      ::getsockname(s, raw, &size) != 0) {
    return 0;
  }
  return ntohs(address.sin_port);
}

TEST(NetIsPortBind, ListeningPortIsTakenUntilClosed) {
  const bool started = startSocketLayer();
  for (bool anyAddress : {false, true}) {
    Socket listener;
    const unsigned short port = openSocket(true, anyAddress, listener);
    ASSERT_NE(port, 0) << (anyAddress ? "every address" : "loopback");
    EXPECT_EQ(Net_IsPortBind(port) + Net_IsPortBind(port), 2);
    closeSocket(listener);
    // Never connected, so nothing lingers; and the probe's own socket does not hold it.
    EXPECT_EQ(Net_IsPortBind(port) + Net_IsPortBind(port), 0);
  }
  // Port 0 lets the system pick a port for the probe; a UDP socket is not a TCP one.
  EXPECT_EQ(Net_IsPortBind(0), 0);
  Socket udp;
  const unsigned short udpPort = openSocket(false, true, udp);
  ASSERT_NE(udpPort, 0);
  EXPECT_EQ(Net_IsPortBind(udpPort), 0);
  closeSocket(udp);
  if (started) stopSocketLayer();
}

TEST(NetIsPortBind, EveryPortIsTakenWithoutTheSocketLayer) {
  if (!startSocketLayer()) GTEST_SKIP() << "this system's sockets need no start-up";
  stopSocketLayer();  // the other test's start-up has been undone as well
  EXPECT_EQ(Net_IsPortBind(0), 1);
}
