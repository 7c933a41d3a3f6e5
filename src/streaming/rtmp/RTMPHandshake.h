#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

namespace tavorin {

// The simple RTMP handshake of a client: no digest, no encryption, and the
// server's answer is taken as it comes.
class RTMPHandshake {
 public:
  static constexpr std::uint8_t kVersion = 3;
  static constexpr std::size_t kPacketSize = 1536;

  // Seconds; cleared on every connect and otherwise left alone, so C1 says 0.
  double timestamp = 0;

  // C0 and C1 as one block: version, time, four zero bytes, random bytes.
  std::vector<std::uint8_t> c0c1packet();

  // C2 from the received S0+S1: the server's time, our time since
  // `timestamp` (now in seconds since 1970), the server's random block.
  // Consumes S0+S1, leaving what came behind as the start of S2. Throws
  // std::logic_error while S0+S1 are incomplete.
  std::vector<std::uint8_t> c2packet(double now);

  void put(std::span<const std::uint8_t> bytes) { inputBuffer_.insert(inputBuffer_.end(), bytes.begin(), bytes.end()); }
  void clear() {
    inputBuffer_.clear();
    timestamp = 0;
  }

  // One byte beyond S0+S1, so C2 only goes out once S2 has begun.
  bool hasS0S1() const { return inputBuffer_.size() >= 1 + kPacketSize + 1; }
  // Exactly S2 once S0+S1 are consumed.
  bool hasS2() const { return inputBuffer_.size() == kPacketSize; }

  const std::vector<std::uint8_t>& inputBuffer() const { return inputBuffer_; }

 private:
  std::vector<std::uint8_t> inputBuffer_;
  std::mt19937 random_{std::random_device{}()};
};

}  // namespace tavorin
