#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/media/AudioFormatDescription.h"
#include "platform/media/EncodedAudioSample.h"
#include "platform/media/EncodedVideoSample.h"
#include "platform/media/VideoFormatDescription.h"

namespace tavorin {

// FLV tag bodies of RTMP video (type 9) and audio (type 8) messages. Each
// is built with a single copy of the encoded bytes.

// The sequence header of a format; nothing for a format without its record.
std::optional<std::vector<std::uint8_t>> videoSequenceHeader(const VideoFormatDescription& format);
// How far every picture's composition time leads its decode time beyond
// their difference, so that none comes out negative.
inline constexpr double kCompositionLead = 0.066;

// Composition time is (pts - dts + kCompositionLead) s in whole milliseconds, at least 0.
std::vector<std::uint8_t> videoMessageBody(const EncodedVideoSample& sample);

std::optional<std::vector<std::uint8_t>> audioSequenceHeader(const AudioFormatDescription& format);
std::vector<std::uint8_t> audioMessageBody(const EncodedAudioSample& sample);

}  // namespace tavorin
