#pragma once

#include <atomic>
#include <cstdint>

namespace tavorin {

// The server's side of flow control, seen by a publisher: the window it was
// told to acknowledge by, and the acknowledgements it sent. A server that
// acknowledged once and then lets two windows pass without another has stopped
// taking the stream, even when its kernel still reads the socket (a proxy in
// front of a dead origin). Servers that never acknowledge are never judged.
// Written on the connection's context; one other thread asks how late it is.
class RTMPPeerAcknowledgements {
 public:
  void reset();
  // The window size sent to the server.
  void windowTold(std::uint32_t size) { window_.store(size, std::memory_order_relaxed); }
  // An acknowledgement: the server's 32-bit count of bytes received, which wraps.
  void received(std::uint32_t totalBytesIn);

  // Seconds since `bytesDelivered` (what the server's kernel has taken) went
  // two windows past the last acknowledgement; 0 while on time.
  double secondsOverdue(std::uint64_t bytesDelivered, double now);

 private:
  std::atomic<std::uint32_t> window_{0};
  std::atomic<std::uint64_t> acknowledged_{0};
  std::atomic<std::uint32_t> count_{0};
  // The asker's own.
  double overdueSince_ = -1;
};

}  // namespace tavorin
