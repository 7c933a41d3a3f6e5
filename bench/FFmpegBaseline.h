#pragma once

#include <cstdio>
#include <filesystem>
#include <regex>
#include <stdexcept>
#include <string>

namespace tavorin::bench {

// Runs a shell command to its end: what it printed; throws when it fails.
inline std::string runCommand(const std::string& command) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) throw std::runtime_error("cannot run " + command);
  char chunk[4096];
  while (std::size_t n = fread(chunk, 1, sizeof chunk, pipe)) output.append(chunk, n);
  if (pclose(pipe) != 0) throw std::runtime_error(command + " failed:\n" + output);
  return output;
}

// The baseline our decoders are held to: the user CPU seconds ffmpeg's own
// decoder takes for the whole file (`ffmpeg -benchmark … -f null -`).
inline double ffmpegDecodeSeconds(const std::filesystem::path& file) {
  const std::string output = runCommand("ffmpeg -nostdin -benchmark -i " + file.string() + " -f null - 2>&1");
  std::smatch match;
  if (!std::regex_search(output, match, std::regex(R"(utime=([0-9.]+)s)"))) {
    throw std::runtime_error("no utime in ffmpeg's output:\n" + output);
  }
  return std::stod(match[1]);
}

}  // namespace tavorin::bench
