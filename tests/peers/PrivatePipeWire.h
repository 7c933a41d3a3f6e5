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
  TonePlayer(std::unique_ptr<ChildProcess> player, std::string nodeName)
      : player_(std::move(player)), nodeName_(std::move(nodeName)) {}
  // The node.name of its stream.
  const std::string& nodeName() const { return nodeName_; }

 private:
  std::unique_ptr<ChildProcess> player_;
  std::string nodeName_;
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
  // `extraProperties` are more node properties, e.g. "audio.channels=0".
  void addSink(const std::string& name, const std::string& description = "", const std::string& extraProperties = "");
  void addSource(const std::string& name, const std::string& description = "");
  // Destroys the node and waits until it is gone from the graph.
  void remove(const std::string& name);

  // Plays a stereo sine into a sink or virtual source; returns once the player is linked.
  std::unique_ptr<TonePlayer> playTone(const std::string& nodeName, double frequency, double seconds,
                                       double amplitude);
  // Plays a stereo sine the way an application does, into the default sink,
  // with more stream properties such as "application.id=org.example.Player";
  // returns once its stream is listed.
  std::unique_ptr<TonePlayer> playAsApplication(const std::string& properties, double frequency, double seconds,
                                                double amplitude);
  // Records `seconds` from a source, or from a sink's monitor when `captureSink`:
  // interleaved stereo float at 48 kHz.
  std::vector<float> recordFrom(const std::string& nodeName, double seconds, bool captureSink);

  // A live Video/Source node with media.role Camera named `name`, fed by the
  // GStreamer `source` (e.g. "videotestsrc pattern=red") in `caps`
  // ("video/x-raw,format=YUY2,width=…"); returns once it is listed.
  std::unique_ptr<CameraNode> startCamera(const std::string& name, const std::string& source, const std::string& caps);
  // The node's id in the graph, as a portal hands it out.
  std::optional<std::string> nodeId(const std::string& name);
  // What a PipeWire tool ("pw-dump", "pw-metadata") prints; throws when it fails.
  std::string toolOutput(const std::string& tool, const std::vector<std::string>& arguments = {});
  // Stops pipewire, wireplumber and pipewire-pulse and starts them again, as a
  // new login would: lingering nodes are gone, configured ones come back.
  void restart();

 private:
  ChildProcess& startDaemon(const std::string& program, std::vector<std::string> arguments);
  // pipewire, then wireplumber and pipewire-pulse once it answers; returns when WirePlumber is connected.
  void startSession();
  std::filesystem::path writeTone(int player, double frequency, double seconds, double amplitude);
  std::string pwCli(const std::vector<std::string>& arguments, const std::string& what);
  bool waitForNode(const std::string& name, bool present);
  void addNode(const std::string& mediaClass, const std::string& name, const std::string& description,
               const std::string& extraProperties = "");
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
