// Net_IsPortBind of <mlib/net.h>, against sockets made with the system's own calls.
#include <mlib/net.h>

#include "nativeSocket.h"

#include <gtest/gtest.h>

TEST(NetIsPortBind, ListeningPortIsTakenUntilClosed) {
  SocketLayer layer;
  for (bool anyAddress : {false, true}) {
    SCOPED_TRACE(anyAddress ? "listening on every address" : "listening on loopback");
    NativeSocket listener(NativeSocket::Kind::kTcpListener, anyAddress);
    ASSERT_TRUE(listener.valid());
    EXPECT_EQ(Net_IsPortBind(listener.port()), 1);
    EXPECT_EQ(Net_IsPortBind(listener.port()), 1);
    listener.close();
    // Never connected, so nothing lingers: the port is free again, and the probe's own
    // socket does not hold it either.
    EXPECT_EQ(Net_IsPortBind(listener.port()), 0);
    EXPECT_EQ(Net_IsPortBind(listener.port()), 0);
  }
}

TEST(NetIsPortBind, PortZeroAndUdpOnlyPortsAreFree) {
  SocketLayer layer;
  EXPECT_EQ(Net_IsPortBind(0), 0);
  EXPECT_EQ(Net_IsPortBind(0), 0);
  NativeSocket udp(NativeSocket::Kind::kUdp, true);
  ASSERT_TRUE(udp.valid());
  EXPECT_EQ(Net_IsPortBind(udp.port()), 0) << "only TCP is probed";
}

TEST(NetIsPortBind, EveryPortIsTakenWithoutTheSocketLayer) {
  if (!SocketLayer::needsStarting()) GTEST_SKIP() << "this system's sockets need no start-up";
  // No SocketLayer lives here and the other tests' ones are gone: the probe cannot make
  // its socket.
  EXPECT_EQ(Net_IsPortBind(0), 1);
  SocketLayer layer;
  EXPECT_EQ(Net_IsPortBind(0), 0);
}
