#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/ChildProcess.h"

namespace tavorin::testing {

// A network camera on 127.0.0.1: GStreamer's RTSP server serving the test
// pattern as H.264 at /cam over TCP (tests/peers/scripts/rtsp_server.py).
// It can be stopped and started again on the same port.
class RtspCamera {
 public:
  // `arguments` go to the script after the port ("--auth digest u p", "--audio-first", …).
  RtspCamera(const std::filesystem::path& logFolder, std::vector<std::string> arguments = {});
  ~RtspCamera();

  void start();
  void stop();
  int port() const { return port_; }
  // rtsp://[credentials@]127.0.0.1:port/cam
  std::string url(const std::string& credentials = "") const;
  // Established TCP connections from this process to the camera.
  static int connectionsTo(int port);

 private:
  std::filesystem::path logFolder_;
  std::vector<std::string> arguments_;
  int port_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace tavorin::testing
