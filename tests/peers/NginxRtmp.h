#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "support/ChildProcess.h"
#include "support/TempDir.h"

namespace tavorin::testing {

// An nginx RTMP server of the test's own on free loopback ports, with a TLS
// front for rtmps. Applications "live", "live2" and "live3" record every
// stream key; "auth" accepts only the key "goodkey" and records it too.
class NginxRtmp {
 public:
  // Throws std::runtime_error with the reason (a missing package, a server that exited) when it cannot start.
  NginxRtmp();
  ~NginxRtmp();
  NginxRtmp(const NginxRtmp&) = delete;
  NginxRtmp& operator=(const NginxRtmp&) = delete;

  // Kills the server and starts it again on the same ports: clients lose
  // their connections, and a stream published again starts its recording over.
  void restart();

  // "rtmp://127.0.0.1:PORT/app" and "rtmps://127.0.0.1:PORT/app", without a stream key.
  std::string url(const std::string& app) const;
  std::string rtmpsURL(const std::string& app) const;

  // The self-signed certificate of the rtmps front, for a client to trust.
  std::filesystem::path certificate() const { return dir_ / "cert.pem"; }

  // Where the server records the stream `key` published to `app`.
  std::filesystem::path recording(const std::string& app, const std::string& key) const;

 private:
  void writeConfig() const;
  void start();

  TempDir dir_;
  int rtmpPort_ = 0;
  int rtmpsPort_ = 0;
  int httpPort_ = 0;
  std::unique_ptr<ChildProcess> server_;
};

}  // namespace tavorin::testing
