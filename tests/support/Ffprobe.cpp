#include "support/Ffprobe.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tavorin::testing {

namespace {

// The command's standard output; `succeeded` says whether it exited with 0.
std::string run(const std::string& command, bool* succeeded = nullptr) {
  std::string output;
  int status = -1;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char chunk[4096];
    while (std::size_t n = fread(chunk, 1, sizeof chunk, pipe)) output.append(chunk, n);
    status = pclose(pipe);
  }
  if (succeeded) *succeeded = status == 0;
  return output;
}

}  // namespace

namespace {

std::vector<std::string> packetLines(const std::filesystem::path& file, const char* stream, const char* entries,
                                     const char* extra = "") {
  std::vector<std::string> lines;
  const auto text = run(std::string("ffprobe -v error ") + extra + " -select_streams " + stream +
                        " -show_entries packet=" + entries + " -of csv=p=0 '" + file.string() + "' 2>/dev/null");
  std::size_t at = 0;
  while (at < text.size()) {
    const auto end = text.find('\n', at);
    auto line = text.substr(at, end == std::string::npos ? std::string::npos : end - at);
    if (!line.empty() && line != "N/A") lines.push_back(std::move(line));
    if (end == std::string::npos) break;
    at = end + 1;
  }
  return lines;
}

}  // namespace

std::vector<double> packetTimes(const std::filesystem::path& file, const char* stream, const char* which) {
  std::vector<double> times;
  for (const auto& line : packetLines(file, stream, which)) times.push_back(std::stod(line));
  return times;
}

std::vector<std::string> packetHashes(const std::filesystem::path& file, const char* stream) {
  std::vector<std::string> hashes;
  // Lines read "flags,hash", e.g. "K_,CRC32:1a2b3c4d".
  for (const auto& line : packetLines(file, stream, "flags,data_hash", "-show_data_hash CRC32")) {
    const auto comma = line.find(',');
    if (comma == std::string::npos) continue;
    hashes.push_back((line[0] == 'K' ? "K" : "") + line.substr(comma + 1));
  }
  return hashes;
}

std::optional<double> meanVolume(const std::filesystem::path& file) {
  const auto text = run("ffmpeg -v info -nostats -i '" + file.string() + "' -map 0:a:0 -af volumedetect -f null - 2>&1");
  const auto at = text.find("mean_volume:");
  if (at == std::string::npos) return std::nullopt;
  return std::stod(text.substr(at + 12));
}

std::vector<std::pair<double, double>> frameLuma(const std::filesystem::path& file) {
  // Times from the integer pts and the stream's time base: the filter prints
  // pts_time with six significant digits, 10 ms steps past 1000 s.
  const auto base = run("ffprobe -v error -select_streams v:0 -show_entries stream=time_base -of csv=p=0 '" +
                        file.string() + "' 2>/dev/null");
  const auto slash = base.find('/');
  if (slash == std::string::npos) return {};
  const double unit = std::stod(base.substr(0, slash)) / std::stod(base.substr(slash + 1));
  const auto text = run("ffmpeg -v error -i '" + file.string() +
                        "' -vf signalstats,metadata=print:key=lavfi.signalstats.YAVG:file=- -f null - 2>/dev/null");
  std::vector<std::pair<double, double>> levels;
  double time = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    const auto end = text.find('\n', at);
    const auto line = text.substr(at, end == std::string::npos ? std::string::npos : end - at);
    if (auto found = line.find(" pts:"); found != std::string::npos) time = std::stod(line.substr(found + 5)) * unit;
    if (auto found = line.find("YAVG="); found != std::string::npos) levels.emplace_back(time, std::stod(line.substr(found + 5)));
    if (end == std::string::npos) break;
    at = end + 1;
  }
  return levels;
}

std::vector<double> flashTimes(const std::vector<std::pair<double, double>>& luma) {
  std::vector<double> flashes;
  for (std::size_t i = 0; i < luma.size(); ++i) {
    if (luma[i].second >= 200 && (i == 0 || luma[i - 1].second < 200)) flashes.push_back(luma[i].first);
  }
  return flashes;
}

std::vector<double> soundOnsets(const std::filesystem::path& file) {
  // The track as mono samples from the file's zero (a late start and any gap
  // filled with silence), so sample n is at n / 48000 s exactly.
  constexpr double kRate = 48000;
  constexpr float kThreshold = 0.0316f;  // -30 dBFS
  constexpr int kQuietRun = 240;         // 5 ms of silence before an onset
  std::vector<double> onsets;
  FILE* pipe = popen(("ffmpeg -v error -i '" + file.string() +
                      "' -map 0:a:0 -af aresample=async=1:first_pts=0 -ac 1 -ar 48000 -f f32le - 2>/dev/null")
                         .c_str(),
                     "r");
  if (!pipe) return onsets;
  float chunk[4096];
  long index = 0;
  int quiet = 0;
  while (std::size_t n = fread(chunk, sizeof(float), 4096, pipe)) {
    for (std::size_t i = 0; i < n; ++i, ++index) {
      if (std::fabs(chunk[i]) < kThreshold) {
        ++quiet;
        continue;
      }
      if (quiet >= kQuietRun) onsets.push_back(static_cast<double>(index) / kRate);
      quiet = 0;
    }
  }
  pclose(pipe);
  return onsets;
}

std::vector<FlashBeep> flashBeepOffsets(const std::filesystem::path& file) {
  const auto onsets = soundOnsets(file);
  std::vector<FlashBeep> found;
  if (onsets.empty()) return found;
  for (const double flash : flashTimes(frameLuma(file))) {
    const double nearest = *std::min_element(onsets.begin(), onsets.end(), [&](double a, double b) {
      return std::fabs(a - flash) < std::fabs(b - flash);
    });
    if (std::fabs(flash - nearest) < 0.5) found.push_back({flash, flash - nearest});
  }
  return found;
}

nlohmann::json probe(const std::string& fileOrURL) {
  const std::string command = "ffprobe -v error -show_entries "
                              "stream=codec_type,codec_name,profile,has_b_frames,width,height,sample_rate,channels,start_time "
                              "-show_entries format=duration -of json '" + fileOrURL + "' 2>/dev/null";
  bool succeeded = false;
  const std::string output = run(command, &succeeded);
  if (!succeeded) return nullptr;
  return output.empty() ? nlohmann::json() : nlohmann::json::parse(output, nullptr, false);
}

const nlohmann::json* streamOf(const nlohmann::json& info, const std::string& type) {
  if (!info.contains("streams")) return nullptr;
  for (const auto& stream : info["streams"]) {
    if (stream["codec_type"] == type) return &stream;
  }
  return nullptr;
}

}  // namespace tavorin::testing
