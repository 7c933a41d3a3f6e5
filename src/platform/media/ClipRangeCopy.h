#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tavorin {

// Copies the range [start, end) seconds of a video file into a QuickTime
// movie without re-encoding: the samples from the key frame at or before
// `start`, with an edit list so that players begin exactly at `start`, up to
// the last picture before `end`; the sound copied over the same range.
// Nothing, or why it failed (the partial file is then removed).
std::optional<std::string> copyClipRange(const std::filesystem::path& input, const std::filesystem::path& output,
                                         double start, double end);

}  // namespace tavorin
