// Net_IsPortBind of <mlib/net.h>: the port probe, over the platform's socket layer.
#include <mlib/net.h>

#include "platform/platform.h"

int Net_IsPortBind(unsigned short port) { return mlib::platform::bindTcpPortOnce(port) ? 0 : 1; }
