#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/TempDir.h"

namespace tavorin::testing {

// An nginx RTMP/RTMPS server of the test's own (tests/peers/nginx-rtmp) on
// free loopback ports. Applications "live", "live2" and "live3" record every
// stream key; "auth" accepts only the key "goodkey" and records it too.
class NginxRtmp {
 public:
  // Throws std::runtime_error with the reason (a missing package, a server that exited) when it cannot start.
  NginxRtmp();
  ~NginxRtmp();
  NginxRtmp(const NginxRtmp&) = delete;
  NginxRtmp& operator=(const NginxRtmp&) = delete;

  int rtmpPort() const { return rtmpPort_; }
  int rtmpsPort() const { return rtmpsPort_; }
  int httpPort() const { return httpPort_; }

  // "rtmp://127.0.0.1:PORT/app" and "rtmps://127.0.0.1:PORT/app", without a stream key.
  std::string url(const std::string& app) const;
  std::string rtmpsURL(const std::string& app) const;

  // Where the server records the stream `key` published to `app`.
  std::filesystem::path recording(const std::string& app, const std::string& key) const;

  // Ends the server, as a crash would for its clients; restart() brings it
  // back on the same ports.
  void stop();
  void restart();

  const std::filesystem::path& dir() const { return dir_.path(); }

 private:
  void start();
  void runScript(const std::string& command, const std::filesystem::path& output = {});

  TempDir dir_;
  std::string script_;
  int rtmpPort_ = 0;
  int rtmpsPort_ = 0;
  int httpPort_ = 0;
};

// Publishes test video and audio for `seconds` with the ffmpeg command line;
// true when ffmpeg ended without an error.
bool publishWithFfmpeg(const std::string& url, double seconds, const std::filesystem::path& logFile);

}  // namespace tavorin::testing
