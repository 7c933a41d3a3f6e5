#include "peers/RtspCamera.h"

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "support/LoopbackPorts.h"

namespace tavorin::testing {

RtspCamera::RtspCamera(const std::filesystem::path& logFolder, std::vector<std::string> arguments)
    : logFolder_(logFolder), arguments_(std::move(arguments)), port_(freeLoopbackPort()) {
  start();
}

RtspCamera::~RtspCamera() { stop(); }

void RtspCamera::start() {
  std::vector<std::string> argv{"/usr/bin/python3", std::string(TAVORIN_PEERS_DIR) + "/scripts/rtsp_server.py",
                                std::to_string(port_)};
  argv.insert(argv.end(), arguments_.begin(), arguments_.end());
  const auto log = logFolder_ / "rtsp-server.log";
  process_ = std::make_unique<ChildProcess>(argv, log, SpawnOptions{.stdoutFile = {}, .ownSession = true});
  for (int i = 0; i < 1000 && !acceptsConnections(port_); ++i) {
    if (!process_->running()) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  if (!acceptsConnections(port_)) {
    throw std::runtime_error("the test RTSP server did not start (apt install gir1.2-gst-rtsp-server-1.0)" + logTail(log));
  }
}

void RtspCamera::stop() {
  if (process_) process_->stop(0.5);
  process_.reset();
}

std::string RtspCamera::url(const std::string& credentials) const {
  return "rtsp://" + (credentials.empty() ? "" : credentials + "@") + "127.0.0.1:" + std::to_string(port_) + "/cam";
}

int RtspCamera::connectionsTo(int port) {
  // /proc/net/tcp lists both ends of loopback connections; ours have the camera's port as the remote one.
  std::ifstream table("/proc/net/tcp");
  std::string line;
  std::getline(table, line);
  int count = 0;
  while (std::getline(table, line)) {
    std::istringstream fields(line);
    std::string slot, local, remote, state;
    fields >> slot >> local >> remote >> state;
    const auto colon = remote.find(':');
    if (colon == std::string::npos || state != "01") continue;
    if (std::stoi(remote.substr(colon + 1), nullptr, 16) == port) ++count;
  }
  return count;
}

}  // namespace tavorin::testing
