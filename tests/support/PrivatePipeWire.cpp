#include "support/PrivatePipeWire.h"

#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "support/ChildProcess.h"

namespace tavorin::testing {
namespace {

std::uint32_t little32(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = (value << 8) | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

std::uint16_t little16(const std::string& bytes, std::size_t at) {
  return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[at]) |
                                    (static_cast<unsigned char>(bytes[at + 1]) << 8));
}

}  // namespace

PrivatePipeWire::PrivatePipeWire() : script_(peerScript("pipewire").string()) {
  const auto exports = dir_ / "exports";
  runScript({"start", dir_.path().string()}, exports);
  std::istringstream lines(readFile(exports));
  std::string line;
  while (std::getline(lines, line)) {
    std::string name;
    std::optional<std::string> value;
    if (line.rfind("export ", 0) == 0) {
      const auto equals = line.find('=');
      if (equals == std::string::npos) continue;
      name = line.substr(7, equals - 7);
      value = line.substr(equals + 1);
    } else if (line.rfind("unset ", 0) == 0) {
      name = line.substr(6);
    } else {
      continue;
    }
    environment_.set(name, value);
  }
}

PrivatePipeWire::~PrivatePipeWire() {
  try {
    runScript({"stop", dir_.path().string()});
  } catch (const std::exception&) {
    // Stopping is best effort; the temp folder goes anyway.
  }
}

void PrivatePipeWire::runScript(const std::vector<std::string>& args, const std::filesystem::path& output) {
  const auto errors = dir_ / "script-errors";
  std::vector<std::string> argv{"/bin/sh", "-c", "script=$1; out=$2; shift 2; exec \"$script\" \"$@\" >\"$out\"",
                                "sh", script_, output.empty() ? "/dev/null" : output.string()};
  argv.insert(argv.end(), args.begin(), args.end());
  const auto code = runProcess(argv, errors, 20);
  if (code == 0) return;
  std::string message = trimmed(readFile(errors));
  if (message.empty()) message = "tests/peers/pipewire " + args.front() + " failed";
  throw std::runtime_error(message);
}

void PrivatePipeWire::addSink(const std::string& name, const std::string& description) {
  runScript({"sink", dir_.path().string(), name, description});
}

void PrivatePipeWire::addSource(const std::string& name, const std::string& description) {
  runScript({"source", dir_.path().string(), name, description});
}

void PrivatePipeWire::remove(const std::string& name) { runScript({"remove", dir_.path().string(), name}); }

std::unique_ptr<TonePlayer> PrivatePipeWire::playTone(const std::string& nodeName, double frequency, double seconds,
                                                      double amplitude) {
  const int index = ++players_;
  const auto wav = dir_ / ("tone-" + std::to_string(index) + ".wav");
  const auto code = runProcess({findProgram("sox", "sox"), "-n", "-r", "48000", "-c", "2", "-b", "32", "-e",
                                "floating-point", wav.string(), "synth", std::to_string(seconds), "sine",
                                std::to_string(frequency), "vol", std::to_string(amplitude)},
                               dir_ / "sox-errors", 20);
  if (code != 0) throw std::runtime_error("sox could not write a tone: " + trimmed(readFile(dir_ / "sox-errors")));

  // Linked by hand, the same way for sinks and virtual sources.
  const std::string playerName = "tavorin-test-tone-" + std::to_string(index);
  auto player = std::make_unique<ChildProcess>(
      std::vector<std::string>{findProgram("pw-play", "pipewire-bin"), "--target", nodeName, "-P",
                               "{ node.name=" + playerName + " node.autoconnect=false }", wav.string()},
      dir_ / (playerName + ".log"));
  runScript({"link", dir_.path().string(), playerName, nodeName});
  return std::make_unique<TonePlayer>(std::move(player));
}

std::vector<float> PrivatePipeWire::recordFrom(const std::string& nodeName, double seconds, bool captureSink) {
  const auto wav = dir_ / ("recording-" + std::to_string(++recordings_) + ".wav");
  std::vector<std::string> argv{findProgram("pw-record", "pipewire-bin"), "--target", nodeName, "--rate", "48000",
                                "--channels", "2", "--format", "f32"};
  if (captureSink) argv.insert(argv.end(), {"-P", "{ stream.capture.sink=true }"});
  argv.push_back(wav.string());
  {
    ChildProcess recorder(argv, dir_ / "pw-record.log");
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    // SIGINT lets pw-record finish the WAV header.
    recorder.signal(SIGINT);
    recorder.wait(5);
  }
  int channels = 0;
  int rate = 0;
  auto samples = readFloatWav(wav, &channels, &rate);
  if (channels != 2 || rate != 48000) {
    throw std::runtime_error("pw-record wrote " + std::to_string(channels) + " channels at " + std::to_string(rate) +
                             " Hz instead of stereo 48 kHz");
  }
  return samples;
}

std::vector<float> readFloatWav(const std::filesystem::path& path, int* channels, int* sampleRate) {
  const std::string bytes = readFile(path);
  if (bytes.size() < 12 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 4, "WAVE") != 0) {
    throw std::runtime_error(path.string() + " is not a WAV file");
  }
  std::uint16_t format = 0;
  std::uint16_t bits = 0;
  std::size_t at = 12;
  while (at + 8 <= bytes.size()) {
    const std::string id = bytes.substr(at, 4);
    std::size_t size = little32(bytes, at + 4);
    const std::size_t body = at + 8;
    if (id == "fmt " && body + 16 <= bytes.size()) {
      format = little16(bytes, body);
      if (channels) *channels = little16(bytes, body + 2);
      if (sampleRate) *sampleRate = static_cast<int>(little32(bytes, body + 4));
      bits = little16(bytes, body + 14);
      // WAVE_FORMAT_EXTENSIBLE: the real format is the sub-format's first two bytes.
      if (format == 0xFFFE && body + 26 <= bytes.size()) format = little16(bytes, body + 24);
    } else if (id == "data") {
      if (format != 3 || bits != 32) throw std::runtime_error(path.string() + " does not hold 32-bit float samples");
      // A recorder that was cut off may leave the size unset.
      if (size == 0 || size == 0xFFFFFFFF || body + size > bytes.size()) size = bytes.size() - body;
      std::vector<float> samples(size / sizeof(float));
      std::memcpy(samples.data(), bytes.data() + body, samples.size() * sizeof(float));
      return samples;
    }
    at = body + size + (size & 1);
  }
  throw std::runtime_error(path.string() + " has no data chunk");
}

}  // namespace tavorin::testing
