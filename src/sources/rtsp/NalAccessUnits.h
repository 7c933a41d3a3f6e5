#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "platform/media/StreamVideoDecoder.h"

namespace tavorin {

// What the H.264 and H.265 depacketizers share: the fragment being put back
// together, the access unit so far, the parameter sets kept apart, and the
// decoder's configuration, remade when a set changes. One thread uses it.
class NalAccessUnits {
 public:
  using Configuration = StreamVideoDecoder::Configuration;
  // One access unit with the configuration to decode it and its RTP time;
  // pictures before the first parameter sets are dropped.
  std::function<void(std::vector<std::uint8_t> accessUnit, const Configuration& configuration, std::uint32_t rtpTime)>
      onAccessUnit;

  // A new connection: fragments and a half-built access unit are dropped;
  // parameter sets and the configuration stay.
  void resetConnection() {
    fuBuffer_.clear();
    accessUnit_.clear();
  }

 protected:
  // Each NAL unit of an aggregation packet from `at` on, behind its 16-bit size;
  // a size of 0 or past the end ends it.
  template <class Handle>
  static void forEachAggregated(std::span<const std::uint8_t> payload, std::size_t at, Handle&& handle) {
    while (at + 2 <= payload.size()) {
      const std::size_t size = (std::size_t(payload[at]) << 8) | payload[at + 1];
      at += 2;
      if (size == 0 || payload.size() - at < size) return;
      handle(payload.subspan(at, size));
      at += size;
    }
  }
  // One fragment of a NAL unit: a start begins it with `header`, the end hands
  // it to `handle`. False for a fragment whose start never came: it is lost,
  // and the packet's marker with it.
  template <class Handle>
  bool addFragment(bool start, bool end, std::span<const std::uint8_t> header, std::span<const std::uint8_t> data,
                   Handle&& handle) {
    if (start) fuBuffer_.assign(header.begin(), header.end());
    if (fuBuffer_.empty()) return false;
    fuBuffer_.insert(fuBuffer_.end(), data.begin(), data.end());
    if (end) {
      handle(std::span<const std::uint8_t>(fuBuffer_));
      fuBuffer_.clear();
    }
    return true;
  }
  // Equal bytes change nothing; new ones drop the configuration.
  void storeSet(std::optional<std::vector<std::uint8_t>>& slot, std::span<const std::uint8_t> set);
  // Hands the access unit out at the RTP marker, making the configuration first when it is missing.
  void flush(const std::function<Configuration()>& makeConfiguration, std::uint32_t rtpTime);

  std::vector<std::uint8_t> fuBuffer_;
  std::vector<std::uint8_t> accessUnit_;
  Configuration configuration_;
};

}  // namespace tavorin
