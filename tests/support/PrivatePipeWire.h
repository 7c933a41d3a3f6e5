#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/ChildProcess.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace tavorin::testing {

// A tone being played into a node; the player stops when this goes.
class TonePlayer {
 public:
  explicit TonePlayer(std::unique_ptr<ChildProcess> player) : player_(std::move(player)) {}

 private:
  std::unique_ptr<ChildProcess> player_;
};

// A PipeWire session of the test's own (tests/peers/pipewire): pipewire,
// wireplumber and pipewire-pulse on a private bus. While it lives, this
// process's environment points libpipewire at it.
class PrivatePipeWire {
 public:
  // Throws std::runtime_error with the reason (a missing package, a daemon that exited) when it cannot start.
  PrivatePipeWire();
  ~PrivatePipeWire();
  PrivatePipeWire(const PrivatePipeWire&) = delete;
  PrivatePipeWire& operator=(const PrivatePipeWire&) = delete;

  // A null sink / virtual source with stereo ports, listed before these return.
  void addSink(const std::string& name, const std::string& description = "");
  void addSource(const std::string& name, const std::string& description = "");
  // Destroys the node and waits until it is gone from the graph.
  void remove(const std::string& name);

  // Plays a stereo sine into a sink or virtual source; returns once the player is linked.
  std::unique_ptr<TonePlayer> playTone(const std::string& nodeName, double frequency, double seconds,
                                       double amplitude);
  // Records `seconds` from a source, or from a sink's monitor when `captureSink`:
  // interleaved stereo float at 48 kHz.
  std::vector<float> recordFrom(const std::string& nodeName, double seconds, bool captureSink);

  const std::filesystem::path& dir() const { return dir_.path(); }

 private:
  void runScript(const std::vector<std::string>& args, const std::filesystem::path& output = {});

  TempDir dir_;
  std::string script_;
  // The exports, undone once the daemons are stopped.
  ScopedEnvironment environment_;
  int players_ = 0;
  int recordings_ = 0;
};

// The samples of a 32-bit float WAV file, interleaved; throws on any other kind of file.
std::vector<float> readFloatWav(const std::filesystem::path& path, int* channels = nullptr, int* sampleRate = nullptr);

}  // namespace tavorin::testing
