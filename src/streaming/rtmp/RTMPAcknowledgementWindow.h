#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "streaming/rtmp/RTMPChunkType.h"
#include "streaming/rtmp/RTMPMessage.h"

namespace tavorin {

// The client's side of flow control: the window sizes the server announced
// and the acknowledgements owed for bytes received. Acknowledgements go out
// from the once-a-second tick, not as data arrives, and at most one per tick.
class RTMPAcknowledgementWindow {
 public:
  static constexpr std::int64_t kInitialWindowSize = 250000;

  std::int64_t windowSizeC = kInitialWindowSize;
  std::int64_t windowSizeS = kInitialWindowSize;
  std::int64_t sequence = 0;  // acknowledgements sent on this connection
  std::uint32_t bandWidth = 0;

  // Takes the server's window size. Once connected the size is echoed back;
  // before the connect result it is not.
  std::optional<RTMPMessage> windowAcknowledgementSizeReceived(std::uint32_t size, bool connected);

  void peerBandwidthReceived(std::uint32_t size) { bandWidth = size; }

  // The acknowledgement due at this total of received bytes, with its chunk
  // type: a full header for the first, type 1 for later ones.
  std::optional<std::pair<RTMPChunkType, RTMPMessage>> tick(std::uint64_t totalBytesIn);

  // A new connection owes nothing yet; the window sizes stay as last told.
  void reset() { sequence = 0; }
};

}  // namespace tavorin
