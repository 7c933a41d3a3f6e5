#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace tavorin::testing {

// What ffprobe reads from a file or URL: its streams (type, codec, profile, B-frames, size, rate,
// channels, start) and the format's duration; null when it cannot open it.
nlohmann::json probe(const std::string& fileOrURL);
inline nlohmann::json probe(const std::filesystem::path& file) { return probe(file.string()); }

// The first stream of `type` ("video", "audio"), or null.
const nlohmann::json* streamOf(const nlohmann::json& info, const std::string& type);

// Decode times (or, with "pts_time", presentation times) in seconds of one
// stream's packets ("v" or "a"), in file order.
std::vector<double> packetTimes(const std::filesystem::path& file, const char* stream, const char* which = "dts_time");

// A hash of each packet's bytes, with "K" before it for a key frame, in file order:
// two files that carry the same encoded samples have equal runs of these.
std::vector<std::string> packetHashes(const std::filesystem::path& file, const char* stream);

// The mean level in dB of the file's first audio stream, as ffmpeg's
// volumedetect measures it; nothing when it has none.
std::optional<double> meanVolume(const std::filesystem::path& file);

// The mean luma (0–255) of every decoded picture of the file, with its
// presentation time, as ffmpeg's signalstats measures it.
std::vector<std::pair<double, double>> frameLuma(const std::filesystem::path& file);

// The presentation times where a run of bright pictures (mean luma above
// 200) begins: the flashes of the sync-test source.
std::vector<double> flashTimes(const std::vector<std::pair<double, double>>& luma);

// Where sound starts after silence (5 ms below -30 dBFS) in the file's first
// audio stream, in seconds from the file's zero, to the sample.
std::vector<double> soundOnsets(const std::filesystem::path& file);

// Each flash of the sync-test picture in the file paired with the nearest
// beep onset: when the flash shows (seconds into the file) and how far it is
// after its beep (seconds; negative: the sound comes late). A flash with no
// beep within half a second (cut at the file's start) is left out.
struct FlashBeep {
  double at = 0;
  double offset = 0;
};
std::vector<FlashBeep> flashBeepOffsets(const std::filesystem::path& file);

// ffprobe writes numbers as strings.
inline double number(const nlohmann::json& value) { return std::stod(value.get<std::string>()); }

}  // namespace tavorin::testing
