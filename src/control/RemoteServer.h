#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "model/Json.h"

namespace tavorin {

// Where the remote listens.
struct RemotePorts {
  std::uint16_t http = 13377;
  std::uint16_t webSocket = 13378;
};

// The phone remote's two listeners: plain HTTP that serves the one page to a
// request carrying "k=" + token, and a WebSocket whose first message must be
// {"auth": token}, after which the page may fire tiles and move faders and
// gets the deck once a second. It knows nothing of decks: three callbacks
// give the state, fire a tile and set a value, always on the main thread.
// The network runs on its own thread, "Tavorin.Remote".
//
// Beyond answering, it defends the show: the token is compared in constant
// time, an address that sends wrong tokens (a request with "k=" and another
// token) is answered more slowly each time
// and refused for a minute after ten within a minute, requests and messages
// have size limits, and idle or slow connections are dropped.
class RemoteServer {
 public:
  using Ports = RemotePorts;
  // Runs a task on the main thread, from any thread.
  using ToMain = std::function<void(std::function<void()>)>;

  static constexpr std::size_t kMaxRequestBytes = 16384;
  static constexpr std::size_t kMaxMessageBytes = 64 * 1024;
  static constexpr int kWrongTokensAllowed = 10;

  RemoteServer(ToMain toMain, Ports ports = {});
  ~RemoteServer();
  RemoteServer(const RemoteServer&) = delete;
  RemoteServer& operator=(const RemoteServer&) = delete;

  // Main thread. {"deck": name, "tiles": [...], "cols": n}; unset, no state is pushed.
  std::function<Json()> stateProvider;
  std::function<void(const std::string& tileID)> fire;
  std::function<void(const std::string& tileID, double value)> setValue;

  // Listens with this token; a port already taken leaves that listener out
  // and the other one running. Restarts when already running.
  void start(const std::string& token);
  // Closes every connection and both listeners and waits for the network
  // thread to finish. Stopping a stopped server changes nothing.
  void stop();

  bool running() const { return impl_ != nullptr; }
  bool httpListening() const;
  bool webSocketListening() const;

 private:
  struct Impl;
  struct Callbacks;
  ToMain toMain_;
  Ports ports_;
  std::shared_ptr<Impl> impl_;
  // What the main-thread hops call; gone with the server, so a late hop does nothing.
  std::shared_ptr<Callbacks> callbacks_;
};

// The page a phone opens: the deck as a grid of tiles, reconnecting by itself.
// The WebSocket port and the token are put into it as it is served.
std::string remotePage(std::uint16_t webSocketPort, const std::string& token);

}  // namespace tavorin
