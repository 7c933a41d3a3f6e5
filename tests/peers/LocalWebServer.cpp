#include "peers/LocalWebServer.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include "support/LoopbackPorts.h"

namespace tavorin::testing {

LocalWebServer::LocalWebServer(const std::filesystem::path& folder) : port_(freeLoopbackPort()) {
  process_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"/usr/bin/python3", std::string(TAVORIN_PEERS_DIR) + "/scripts/web_pages.py",
                               std::to_string(port_), folder.string()},
      folder / "server.log", SpawnOptions{.stdoutFile = {}, .ownSession = true});
  for (int i = 0; i < 500 && !acceptsConnections(port_); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  if (!acceptsConnections(port_)) throw std::runtime_error("the test web server did not start" + logTail(folder / "server.log"));
}

LocalWebServer::~LocalWebServer() { process_->stop(0.5); }

std::string LocalWebServer::url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + "/" + path;
}

}  // namespace tavorin::testing
