#include "platform/media/EncoderError.h"

namespace tavorin {

std::string_view describe(EncoderError error) {
  switch (error) {
    case EncoderError::none:
      return "no error";
    case EncoderError::invalidSize:
      return "the video size is not a positive even size";
    case EncoderError::noEncoder:
      return "no encoder for this codec opens here";
    case EncoderError::noParameterSets:
      return "the encoder gave no parameter sets";
    case EncoderError::outOfMemory:
      return "out of memory for encoder frames";
    case EncoderError::conversionFailed:
      return "the picture could not be converted for the encoder";
    case EncoderError::encodeFailed:
      return "the encoder failed";
    case EncoderError::unsupportedFormat:
      return "AAC has no code for this sample rate or channel count";
  }
  return "unknown error";
}

}  // namespace tavorin
