#include "streaming/rtmp/RTMPAcknowledgementWindow.h"

#include "streaming/rtmp/RTMPControlMessage.h"

namespace tavorin {

std::optional<RTMPMessage> RTMPAcknowledgementWindow::windowAcknowledgementSizeReceived(std::uint32_t size,
                                                                                        bool connected) {
  windowSizeC = size;
  std::optional<RTMPMessage> echo;
  if (connected) echo = makeWindowAcknowledgementSizeMessage(size);
  windowSizeS = size;
  return echo;
}

std::optional<std::pair<RTMPChunkType, RTMPMessage>> RTMPAcknowledgementWindow::tick(std::uint64_t totalBytesIn) {
  const auto due = static_cast<std::uint64_t>(windowSizeS) * static_cast<std::uint64_t>(sequence + 1);
  if (totalBytesIn < due) return std::nullopt;
  const RTMPChunkType chunkType = sequence == 0 ? RTMPChunkType::zero : RTMPChunkType::one;
  ++sequence;
  // The acknowledgement field is 32 bits; the count wraps like the protocol's.
  return std::pair{chunkType, makeAcknowledgementMessage(static_cast<std::uint32_t>(totalBytesIn))};
}

}  // namespace tavorin
