#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/AudioBlock.h"
#include "platform/media/EncodedVideoSample.h"

namespace tavorin {

// Writes held pictures (as they were encoded) and held PCM (encoded here to
// AAC-LC, 48 kHz stereo) to one QuickTime movie. The pictures start at their
// first key frame, which is the movie's zero; each block of sound lands where
// its host time says, and sound before the first picture is left out. Returns
// the movie's length in seconds, or nothing when nothing was written (the
// file is then gone, and a failure of the writer is logged).
std::optional<double> muxReplay(std::vector<EncodedVideoSampleRef> video, const std::vector<AudioBlockRef>& audio,
                                const std::filesystem::path& file, const std::function<void(const std::string&)>& log);

}  // namespace tavorin
