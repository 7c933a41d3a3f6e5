#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "streaming/rtmp/RTMPChunkBuffer.h"
#include "streaming/rtmp/RTMPChunkReader.h"
#include "streaming/rtmp/RTMPCommandMessage.h"

namespace tavorin::testing {

// The status object of an onStatus or a connect answer.
AMFObject statusObject(const std::string& code, const std::string& level, const std::string& description = "");

// One accepted connection, seen from the server's side, with blocking reads
// that give up after a few seconds.
class ScriptedPeer {
 public:
  explicit ScriptedPeer(int fd) : fd_(fd) {}

  bool readExactly(std::size_t count, std::vector<std::uint8_t>& into);
  void write(std::span<const std::uint8_t> bytes);
  // S0, S1 and S2 for the client's C0+C1, then its C2.
  bool handshake();
  // The next whole message, or nothing when the client went quiet or away.
  std::optional<RTMPMessage> readMessage();
  // Whether a read found the connection closed.
  bool clientGone() const { return gone_; }
  // The next command, skipping everything else.
  std::optional<RTMPCommandMessage> readCommand();
  void send(const RTMPMessage& message, std::uint32_t chunkStreamId = 3);
  void sendCommand(const std::string& name, double transactionId, AMFList arguments, std::uint32_t streamId = 0);
  // Handshake, connect and createStream as a server answers them, then the
  // publish with this status; false when the client went away first.
  bool acceptPublish(const std::string& code = "NetStream.Publish.Start", const std::string& level = "status");
  // Reads until the client goes, or stays quiet for a few seconds.
  void drain();
  void closeNow();

 private:
  int fd_;
  bool gone_ = false;
  RTMPChunkReader reader_;
  RTMPChunkBuffer writer_;
  std::vector<RTMPMessage> pending_;
};

// A TCP server on a free loopback port that runs `script` for each
// connection in turn, on its own thread.
class ScriptedRTMPServer {
 public:
  // `receiveBuffer` in bytes, when given, keeps the TCP window small, so a
  // peer that stops reading stops the client's writes at once.
  explicit ScriptedRTMPServer(std::function<void(ScriptedPeer&)> script, int receiveBuffer = 0);
  ~ScriptedRTMPServer();

  int port() const { return port_; }
  std::string url(const std::string& app = "live") const {
    return "rtmp://127.0.0.1:" + std::to_string(port_) + "/" + app;
  }
  int connections() const { return connections_; }

 private:
  int listenFd_ = -1;
  int port_ = 0;
  std::atomic<int> connections_{0};
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace tavorin::testing
