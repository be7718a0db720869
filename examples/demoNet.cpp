// The port probe: whether local TCP ports are free right now. (A Windows host starts
// Windows Sockets before probing; without it every port reads as taken.)
#include <mlib/mlib.h>

#include <cstdio>

#include "demo.h"

void demoNet() {
  std::printf("\n-- Port probe --\n");
  for (unsigned short port : {0, 22, 80, 8080, 50123}) {
    std::printf("TCP port %5u: %s\n", port, Net_IsPortBind(port) == 1 ? "taken" : "free");
  }
}
