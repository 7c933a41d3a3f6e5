#pragma once

#include <filesystem>
#include <optional>

#include "base/PcmBuffer.h"

namespace tavorin {

// Decodes the whole first audio stream of a file (WAV, MP3, AAC/M4A, FLAC, Ogg…
// whatever FFmpeg reads) into float planes at the file's own sample rate and
// channel count. Nothing when the file cannot be opened, has no sound, holds
// no samples, or a read fails: such a file is simply not played.
std::optional<PcmBuffer> readAudioFile(const std::filesystem::path& path);

}  // namespace tavorin
