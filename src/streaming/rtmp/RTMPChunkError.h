#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tavorin {

// `bufferUnderflow`: the input ends inside a chunk, so reading waits for more.
// `invalidChunkSize`: the peer asked for a chunk size the protocol forbids,
// which leaves the rest of the stream unreadable.
class RTMPChunkError : public std::runtime_error {
 public:
  enum class Kind { bufferUnderflow, invalidChunkSize };

  static RTMPChunkError bufferUnderflow() { return RTMPChunkError(Kind::bufferUnderflow, "bufferUnderflow", 0); }
  static RTMPChunkError invalidChunkSize(std::uint32_t value) {
    return RTMPChunkError(Kind::invalidChunkSize, "invalidChunkSize(" + std::to_string(value) + ")", value);
  }

  Kind kind() const { return kind_; }
  std::uint32_t value() const { return value_; }

 private:
  RTMPChunkError(Kind kind, const std::string& what, std::uint32_t value)
      : std::runtime_error(what), kind_(kind), value_(value) {}

  Kind kind_;
  std::uint32_t value_;
};

}  // namespace tavorin
