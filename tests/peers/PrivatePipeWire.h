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

// A camera node GStreamer provides; it leaves the graph when this goes.
class CameraNode {
 public:
  explicit CameraNode(std::unique_ptr<ChildProcess> provider) : provider_(std::move(provider)) {}

 private:
  std::unique_ptr<ChildProcess> provider_;
};

// A PipeWire session of the test's own, so tests never touch the user's
// audio: a session bus, pipewire, wireplumber and pipewire-pulse under a
// runtime folder of their own. While it lives, this process's environment
// points libpipewire at it.
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

  // A live Video/Source node with media.role Camera named `name`, fed by the
  // GStreamer `source` (e.g. "videotestsrc pattern=red") in `caps`
  // ("video/x-raw,format=YUY2,width=…"); returns once it is listed.
  std::unique_ptr<CameraNode> startCamera(const std::string& name, const std::string& source, const std::string& caps);

 private:
  ChildProcess& startDaemon(const std::string& program, std::vector<std::string> arguments);
  std::string pwCli(const std::vector<std::string>& arguments, const std::string& what);
  std::optional<std::string> nodeId(const std::string& name);
  bool waitForNode(const std::string& name, bool present);
  void addNode(const std::string& mediaClass, const std::string& name, const std::string& description);
  void link(const std::string& from, const std::string& to);

  TempDir dir_;
  // Undone once the daemons are stopped.
  ScopedEnvironment environment_;
  // In start order; stopped in reverse.
  std::vector<std::pair<std::string, std::unique_ptr<ChildProcess>>> daemons_;
  std::string pwCli_;
  std::string pwLink_;
  int players_ = 0;
  int recordings_ = 0;
  int cameras_ = 0;
};

}  // namespace tavorin::testing
