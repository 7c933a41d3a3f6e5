#pragma once

#include <cstdint>
#include <functional>

#include "streaming/rtmp/NetworkMonitor.h"
#include "streaming/rtmp/RTMPControlMessage.h"
#include "streaming/rtmp/RTMPMessage.h"

namespace tavorin {

// What a connection asks of the streams attached to it. All calls come on
// the connection's context; a stream hands them on to its own.
class RTMPConnectionStream {
 public:
  virtual ~RTMPConnectionStream() = default;

  // The message stream id the server gave on the last createStream.
  virtual std::uint32_t messageStreamId() const = 0;
  // A message addressed to that id.
  virtual void dispatch(const RTMPMessage& message) = 0;
  // User control events other than ping.
  virtual void dispatch(const RTMPUserControlEvent& event) = 0;
  // Monitor ticks, and a reset before each createStream after a connect.
  virtual void dispatch(const NetworkMonitorEvent& event) = 0;
  // Asks the server for a message stream; `done` once answered or failed.
  virtual void createStream(std::function<void()> done) = 0;
  // The connection is closing: stop publishing without waiting for an answer.
  virtual void connectionClosing() = 0;
};

}  // namespace tavorin
