// Net_IsPortBind of <mlib/net.h>, against sockets made with the system's own calls.
#include <gtest/gtest.h>
#include <mlib/net.h>

#include "nativeSocket.h"

TEST(NetIsPortBind, ListeningPortIsTakenUntilClosed) {
  const bool started = startSocketLayer();
  for (bool anyAddress : {false, true}) {
    std::intptr_t listener = 0;
    const unsigned short port = openNativeSocket(true, anyAddress, listener);
    ASSERT_NE(port, 0) << (anyAddress ? "every address" : "loopback");
    EXPECT_EQ(Net_IsPortBind(port), 1);
    EXPECT_EQ(Net_IsPortBind(port), 1);
    closeNativeSocket(listener);
    // Never connected, so nothing lingers; and the probe's own socket does not hold it.
    EXPECT_EQ(Net_IsPortBind(port), 0);
    EXPECT_EQ(Net_IsPortBind(port), 0);
  }
  // Port 0 lets the system pick a port for the probe; a UDP socket is not a TCP one.
  EXPECT_EQ(Net_IsPortBind(0), 0);
  std::intptr_t udp = 0;
  const unsigned short udpPort = openNativeSocket(false, true, udp);
  ASSERT_NE(udpPort, 0);
  EXPECT_EQ(Net_IsPortBind(udpPort), 0);
  closeNativeSocket(udp);
  if (started) stopSocketLayer();
}

TEST(NetIsPortBind, EveryPortIsTakenWithoutTheSocketLayer) {
  if (!startSocketLayer()) GTEST_SKIP() << "this system's sockets need no start-up";
  stopSocketLayer();  // the other test's start-up has been undone as well
  EXPECT_EQ(Net_IsPortBind(0), 1);
}
