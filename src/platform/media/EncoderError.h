#pragma once

#include <string_view>

namespace tavorin {

// Why an encoder did not open or did not take a frame.
enum class EncoderError {
  none,
  invalidSize,        // not a positive even size
  noEncoder,          // no encoder for the codec opens on this machine
  noParameterSets,    // the encoder gave no SPS/PPS to describe its stream
  outOfMemory,
  conversionFailed,   // the picture could not be fitted and converted
  encodeFailed,       // the encoder refused the frame or failed to give packets
  unsupportedFormat,  // audio: a rate or channel count AAC has no code for
};

std::string_view describe(EncoderError error);

}  // namespace tavorin
