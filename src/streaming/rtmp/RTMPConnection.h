#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include "streaming/rtmp/AMFValue.h"
#include "streaming/rtmp/NetworkMonitor.h"
#include "streaming/rtmp/RTMPAcknowledgementWindow.h"
#include "streaming/rtmp/RTMPPeerAcknowledgements.h"
#include "streaming/rtmp/RTMPAuthenticator.h"
#include "streaming/rtmp/RTMPChunkBuffer.h"
#include "streaming/rtmp/RTMPChunkReader.h"
#include "streaming/rtmp/RTMPChunkType.h"
#include "streaming/rtmp/RTMPConnectionError.h"
#include "streaming/rtmp/RTMPConnectionStream.h"
#include "streaming/rtmp/RTMPHandshake.h"
#include "streaming/rtmp/RTMPSocket.h"

namespace tavorin {

struct RTMPCommandMessage;

// The client's NetConnection: drives socket and handshake, sends `connect`,
// answers the server's control messages, matches results to their callers,
// and goes round again with credentials when the server asks for them. It
// owns one thread, its serial context: every callback runs there.
class RTMPConnection {
 public:
  enum class ReadyState { uninitialized, versionSent, ackSent, handshakeDone };
  enum class ObjectEncoding { amf0 = 0, amf3 = 3 };
  using Completion = std::function<void(RTMPResult)>;

  static constexpr int capabilities = 239;
  // A server that keeps refusing credentials is not asked forever: the
  // adobe exchange needs two rounds.
  static constexpr int maxAuthenticationRounds = 2;

  RTMPConnection();
  ~RTMPConnection();
  RTMPConnection(const RTMPConnection&) = delete;
  RTMPConnection& operator=(const RTMPConnection&) = delete;

  // Set before the first connect.
  std::optional<std::string> swfUrl;
  std::optional<std::string> pageUrl;
  std::string flashVer = "FMLE/3.0 (compatible; FMSc/1.0)";
  std::optional<std::vector<std::string>> fourCcList = std::vector<std::string>{"hvc1", "Opus"};
  std::optional<std::map<std::string, int>> audioFourCcInfoMap = std::map<std::string, int>{{"Opus", 2}};
  std::optional<std::map<std::string, int>> videoFourCcInfoMap = std::map<std::string, int>{{"hvc1", 3}};
  int capsEx = 0;
  // Seconds for the socket to be ready, and again for the server to answer `connect`.
  std::uint64_t timeout = 15;
  std::uint64_t requestTimeout = 3000;  // milliseconds
  std::uint32_t chunkSize = 8192;
  // A PEM file trusted for rtmps besides the system's authorities.
  std::optional<std::filesystem::path> trustedCertificates;
  // Connection events in plain words, on the connection's context.
  std::function<void(const std::string&)> log;

  // `done` gets the server's answer to `connect`, once every attached stream
  // has made its message stream; or the reason there is none.
  void connect(const std::string& uri, AMFList arguments, Completion done);
  // Ends the connection; nothing happens when there is none.
  void close();
  void call(const std::string& commandName, AMFList arguments, Completion done);
  // Writes one message; its payload size. On the connection's context only.
  std::size_t doOutput(RTMPChunkType chunkType, RTMPChunkStreamId chunkStreamId, const RTMPMessage& message);

  // Runs `task` on the connection's context.
  void post(std::function<void()> task);
  boost::asio::io_context& context() { return context_; }

  // Streams attach once and stay; a stream that is gone is skipped.
  void attach(std::weak_ptr<RTMPConnectionStream> stream);

  bool connected() const { return connected_; }
  std::uint64_t totalBytesIn() const;
  std::uint64_t totalBytesOut() const;
  std::uint64_t queueBytesOut() const;
  // See RTMPSocket::secondsStalled; 0 without a connection.
  double secondsStalled() const;
  // See RTMPPeerAcknowledgements::secondsOverdue; one thread at a time asks.
  double secondsUnacknowledged();

  // For tests: the context's view, read on the context.
  ReadyState readyState() const { return readyState_; }
  std::uint32_t chunkSizeS() const { return outputBuffer_.chunkSize(); }
  std::uint32_t chunkSizeC() const { return reader_.chunkSize(); }

 private:
  void start(const std::string& uri, AMFList arguments, Completion done, int authRound);
  void socketReady(Completion done, int authRound);
  void listen(std::span<const std::uint8_t> block);
  void sendConnectCommand();
  void dispatch(RTMPMessage message);
  void commandReceived(const RTMPCommandMessage& command);
  void connectAnswered(RTMPResult result, Completion done, int authRound);
  void createStreams(std::size_t index, std::function<void()> done);
  void tickReceived(const NetworkMonitorEvent& event);
  void failPending(const RTMPStatus& status);
  void closeConnection();
  void emit(const std::string& line) {
    if (log) log(line);
  }
  template <class Fn>
  void forEachStream(Fn&& fn);

  boost::asio::io_context context_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
  std::shared_ptr<RTMPSocket> socket_;
  std::unique_ptr<NetworkMonitor> networkMonitor_;
  boost::asio::steady_timer connectTimer_;
  RTMPHandshake handshake_;
  RTMPChunkReader reader_;
  RTMPChunkBuffer outputBuffer_;
  RTMPAcknowledgementWindow window_;
  RTMPPeerAcknowledgements peerAcknowledgements_;
  RTMPAuthenticator authenticator_;
  std::optional<std::string> uri_;
  AMFList arguments_;
  ReadyState readyState_ = ReadyState::uninitialized;
  std::map<int, Completion> operations_;
  std::map<int, std::unique_ptr<boost::asio::steady_timer>> requestTimers_;
  std::vector<std::weak_ptr<RTMPConnectionStream>> streams_;
  int currentTransactionId_ = 1;
  std::atomic<bool> connected_{false};
  std::thread thread_;
};

}  // namespace tavorin
