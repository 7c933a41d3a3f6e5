#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>

namespace tavorin {

// One TCP or TLS connection to an RTMP server, with an unbounded output
// queue and a stream of received blocks. Made anew for every connect and
// never reused once closed. Every call and callback runs on the io_context
// it was made with, which runs on one thread.
class RTMPSocket : public std::enable_shared_from_this<RTMPSocket> {
 public:
  enum class SecurityLevel { none, negotiatedSSL };

  struct Error {
    enum class Kind { connectionNotEstablished, invalidState, endOfStream, connectionTimedOut };
    Kind kind = Kind::connectionNotEstablished;
    std::string detail;  // the network's own words, when it gave any

    // The case name, with the network's words in brackets.
    std::string describe() const;
  };

  using Log = std::function<void(const std::string&)>;

  // At most this many bytes are asked of each receive.
  static constexpr std::size_t windowSizeC = 255;

  // `trustedCertificates`: a PEM file trusted besides the system's authorities.
  RTMPSocket(boost::asio::io_context& context, SecurityLevel securityLevel, Log log,
             std::optional<std::filesystem::path> trustedCertificates = std::nullopt);
  ~RTMPSocket();
  RTMPSocket(const RTMPSocket&) = delete;
  RTMPSocket& operator=(const RTMPSocket&) = delete;

  // Seconds from connect to ready.
  std::uint64_t timeout = 15;

  // `done` gets nothing once the connection is ready, or the reason it is not.
  void connect(const std::string& host, std::uint16_t port, std::function<void(std::optional<Error>)> done);
  // Queues bytes; nothing while not connected.
  void send(std::vector<std::uint8_t> bytes);
  // Queues the blocks together, so nothing else goes between them.
  void send(std::vector<std::vector<std::uint8_t>> blocks);
  // The received blocks in order, until the connection ends; `onEnd` once,
  // unless the owner closed the socket itself.
  void receive(std::function<void(std::span<const std::uint8_t>)> onBlock, std::function<void(Error)> onEnd);
  void close(std::optional<std::string> error);

  bool connected() const { return connected_; }
  // From connect until close, ready or not.
  bool isOpen() const { return opened_; }
  std::uint64_t totalBytesIn() const { return totalBytesIn_; }
  std::uint64_t totalBytesOut() const { return totalBytesOut_; }
  std::uint64_t queueBytesOut() const { return queueBytesOut_; }
  // Seconds that bytes have waited without the peer acknowledging any: a
  // peer that stopped reading, however much the kernel still buffers. 0
  // while data flows or nothing waits. One thread at a time asks.
  double secondsStalled() const;
  // Bytes the peer's kernel has acknowledged.
  std::uint64_t bytesDelivered() const;

 private:
  using TcpSocket = boost::asio::ip::tcp::socket;
  using TlsStream = boost::asio::ssl::stream<TcpSocket>;

  void resolved(const boost::asio::ip::tcp::resolver::results_type& endpoints, const std::string& host);
  void tcpConnected(const std::string& host);
  void ready();
  void fail(const std::string& what, const boost::system::error_code& error);
  void writeNext();
  void readNext();
  void ended(Error error);
  TcpSocket& tcp() { return stream_->next_layer(); }

  boost::asio::io_context& context_;
  SecurityLevel securityLevel_;
  Log log_;
  boost::asio::ssl::context tls_;
  boost::asio::ip::tcp::resolver resolver_;
  boost::asio::steady_timer timeoutTimer_;
  std::unique_ptr<TlsStream> stream_;  // only its TCP layer is used without TLS
  std::function<void(std::optional<Error>)> continuation_;
  std::function<void(std::span<const std::uint8_t>)> onBlock_;
  std::function<void(Error)> onEnd_;
  std::deque<std::vector<std::uint8_t>> outputs_;
  std::size_t blocksInFlight_ = 0;
  std::uint8_t readBuffer_[windowSizeC];
  bool opened_ = false;  // a connection exists (from connect until close)
  bool writing_ = false;
  std::atomic<bool> connected_{false};
  std::atomic<std::uint64_t> totalBytesIn_{0};
  std::atomic<std::uint64_t> totalBytesOut_{0};
  std::atomic<std::uint64_t> queueBytesOut_{0};
  // The socket's descriptor while open, for the kernel's count of unacknowledged bytes.
  std::atomic<int> fd_{-1};
  // The bytes acknowledged when last asked, and since when.
  mutable std::atomic<std::uint64_t> lastAcknowledged_{0};
  mutable std::atomic<double> lastAcknowledgedAt_{0};
};

}  // namespace tavorin
