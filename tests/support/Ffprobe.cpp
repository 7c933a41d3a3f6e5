#include "support/Ffprobe.h"

#include <cstdio>

namespace tavorin::testing {

nlohmann::json probe(const std::string& fileOrURL) {
  const std::string command = "ffprobe -v error -show_entries "
                              "stream=codec_type,codec_name,width,height,sample_rate,channels,start_time "
                              "-show_entries format=duration -of json '" + fileOrURL + "' 2>/dev/null";
  std::string output;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char chunk[4096];
    while (std::size_t n = fread(chunk, 1, sizeof chunk, pipe)) output.append(chunk, n);
    if (pclose(pipe) != 0) return nullptr;
  }
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
