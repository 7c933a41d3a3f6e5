#pragma once

#include <vector>

namespace tavorin::testing {

// `count` different TCP ports on 127.0.0.1 that nobody listens on right now.
std::vector<int> freeLoopbackPorts(int count);
inline int freeLoopbackPort() { return freeLoopbackPorts(1).front(); }

// Whether something accepts TCP connections on 127.0.0.1:port.
bool acceptsConnections(int port);

}  // namespace tavorin::testing
