#include "streaming/rtmp/RTMPSocket.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>

#include <algorithm>

#include <boost/asio/connect.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/write.hpp>

#include "base/HostTime.h"

namespace tavorin {

namespace asio = boost::asio;

namespace {

const char* kindName(RTMPSocket::Error::Kind kind) {
  switch (kind) {
    case RTMPSocket::Error::Kind::connectionNotEstablished:
      return "connectionNotEstablished";
    case RTMPSocket::Error::Kind::invalidState:
      return "invalidState";
    case RTMPSocket::Error::Kind::endOfStream:
      return "endOfStream";
    case RTMPSocket::Error::Kind::connectionTimedOut:
      return "connectionTimedOut";
  }
  return "unknown";
}

// Gathered writes keep the system calls few when media chunks queue up.
constexpr std::size_t kMaxBlocksPerWrite = 64;

}  // namespace

std::string RTMPSocket::Error::describe() const {
  return detail.empty() ? kindName(kind) : std::string(kindName(kind)) + "(" + detail + ")";
}

RTMPSocket::RTMPSocket(asio::io_context& context, SecurityLevel securityLevel, Log log,
                       std::optional<std::filesystem::path> trustedCertificates)
    : context_(context),
      securityLevel_(securityLevel),
      log_(std::move(log)),
      tls_(asio::ssl::context::tls_client),
      resolver_(context),
      timeoutTimer_(context) {
  if (securityLevel_ == SecurityLevel::negotiatedSSL) {
    boost::system::error_code ignored;
    tls_.set_default_verify_paths(ignored);
    if (trustedCertificates) tls_.load_verify_file(trustedCertificates->string(), ignored);
    tls_.set_verify_mode(asio::ssl::verify_peer);
    tls_.set_options(asio::ssl::context::no_sslv2 | asio::ssl::context::no_sslv3 | asio::ssl::context::no_tlsv1 |
                     asio::ssl::context::no_tlsv1_1);
  }
}

RTMPSocket::~RTMPSocket() = default;

void RTMPSocket::connect(const std::string& host, std::uint16_t port,
                         std::function<void(std::optional<Error>)> done) {
  if (connected_) {
    done(Error{Error::Kind::invalidState, {}});
    return;
  }
  if (stream_) close(std::nullopt);
  stream_ = std::make_unique<TlsStream>(context_, tls_);
  opened_ = true;
  continuation_ = std::move(done);
  timeoutTimer_.expires_after(std::chrono::seconds(timeout));
  auto self = shared_from_this();
  timeoutTimer_.async_wait([self](const boost::system::error_code& error) {
    if (error || !self->continuation_) return;
    auto waiting = std::move(self->continuation_);
    self->continuation_ = nullptr;
    waiting(Error{Error::Kind::connectionTimedOut, {}});
    self->close(std::nullopt);
  });
  if (log_) log_("Connection is setting up.");
  resolver_.async_resolve(host, std::to_string(port),
                          [self, host](const boost::system::error_code& error,
                                       const asio::ip::tcp::resolver::results_type& endpoints) {
                            if (!self->opened_) return;
                            if (error) return self->fail("Connection failed:", error);
                            self->resolved(endpoints, host);
                          });
}

void RTMPSocket::resolved(const asio::ip::tcp::resolver::results_type& endpoints, const std::string& host) {
  if (log_) log_("Connection is preparing.");
  auto self = shared_from_this();
  asio::async_connect(tcp(), endpoints,
                      [self, host](const boost::system::error_code& error, const asio::ip::tcp::endpoint&) {
                        if (!self->opened_) return;
                        if (error) return self->fail("Connection failed:", error);
                        self->tcpConnected(host);
                      });
}

void RTMPSocket::tcpConnected(const std::string& host) {
  boost::system::error_code ignored;
  tcp().set_option(asio::ip::tcp::no_delay(true), ignored);
  if (securityLevel_ == SecurityLevel::none) return ready();
  boost::system::error_code notAnAddress;
  asio::ip::make_address(host, notAnAddress);
  // Servers pick their certificate by name; an address has none to send.
  if (notAnAddress) SSL_set_tlsext_host_name(stream_->native_handle(), host.c_str());
  stream_->set_verify_callback(asio::ssl::host_name_verification(host));
  auto self = shared_from_this();
  stream_->async_handshake(asio::ssl::stream_base::client, [self](const boost::system::error_code& error) {
    if (!self->opened_) return;
    if (error) return self->fail("Connection failed:", error);
    self->ready();
  });
}

void RTMPSocket::ready() {
  if (log_) log_("Connection is ready.");
  connected_ = true;
  lastAcknowledged_ = 0;
  lastAcknowledgedAt_ = hostTimeNow();
  fd_ = tcp().native_handle();
  timeoutTimer_.cancel();
  outputs_.clear();
  if (continuation_) {
    auto waiting = std::move(continuation_);
    continuation_ = nullptr;
    waiting(std::nullopt);
  }
}

void RTMPSocket::fail(const std::string& what, const boost::system::error_code& error) {
  if (log_) log_(what + " " + error.message());
  close(error.message());
}

std::uint64_t RTMPSocket::bytesDelivered() const {
  const int fd = fd_.load();
  int unacknowledged = 0;
  if (fd < 0 || ::ioctl(fd, SIOCOUTQ, &unacknowledged) < 0) return 0;
  return totalBytesOut_ - static_cast<std::uint64_t>(std::max(unacknowledged, 0));
}

double RTMPSocket::secondsStalled() const {
  if (fd_.load() < 0) return 0;
  const std::uint64_t acknowledged = bytesDelivered();
  const double now = hostTimeNow();
  if (acknowledged != lastAcknowledged_ || (totalBytesOut_ == acknowledged && queueBytesOut_ == 0)) {
    lastAcknowledged_ = acknowledged;
    lastAcknowledgedAt_ = now;
    return 0;
  }
  return now - lastAcknowledgedAt_;
}

void RTMPSocket::send(std::vector<std::uint8_t> bytes) {
  if (!connected_ || bytes.empty()) return;
  queueBytesOut_ += bytes.size();
  outputs_.push_back(std::move(bytes));
  if (!writing_) writeNext();
}

void RTMPSocket::send(std::vector<std::vector<std::uint8_t>> blocks) {
  if (!connected_) return;
  for (auto& block : blocks) {
    if (block.empty()) continue;
    queueBytesOut_ += block.size();
    outputs_.push_back(std::move(block));
  }
  if (!writing_) writeNext();
}

void RTMPSocket::writeNext() {
  if (!connected_ || outputs_.empty()) {
    writing_ = false;
    return;
  }
  writing_ = true;
  blocksInFlight_ = std::min(outputs_.size(), kMaxBlocksPerWrite);
  std::vector<asio::const_buffer> buffers;
  buffers.reserve(blocksInFlight_);
  for (std::size_t i = 0; i < blocksInFlight_; ++i) buffers.emplace_back(asio::buffer(outputs_[i]));
  auto self = shared_from_this();
  auto written = [self](const boost::system::error_code& error, std::size_t bytes) {
    if (!self->opened_) return;
    if (error) {
      self->writing_ = false;
      return self->ended(Error{Error::Kind::connectionNotEstablished, error.message()});
    }
    self->totalBytesOut_ += bytes;
    self->queueBytesOut_ -= bytes;
    for (std::size_t i = 0; i < self->blocksInFlight_; ++i) self->outputs_.pop_front();
    self->writeNext();
  };
  if (securityLevel_ == SecurityLevel::none) {
    asio::async_write(tcp(), buffers, written);
  } else {
    asio::async_write(*stream_, buffers, written);
  }
}

void RTMPSocket::receive(std::function<void(std::span<const std::uint8_t>)> onBlock,
                         std::function<void(Error)> onEnd) {
  onBlock_ = std::move(onBlock);
  onEnd_ = std::move(onEnd);
  if (!connected_) return ended(Error{Error::Kind::invalidState, {}});
  readNext();
}

void RTMPSocket::readNext() {
  auto self = shared_from_this();
  auto received = [self](const boost::system::error_code& error, std::size_t bytes) {
    if (!self->opened_) return;
    if (bytes > 0) {
      self->totalBytesIn_ += bytes;
      if (self->onBlock_) self->onBlock_(std::span<const std::uint8_t>(self->readBuffer_, bytes));
      // The block handler may have closed the socket.
      if (!self->opened_) return;
    }
    if (error == asio::error::eof || (!error && bytes == 0)) return self->ended(Error{Error::Kind::endOfStream, {}});
    if (error) return self->ended(Error{Error::Kind::connectionNotEstablished, error.message()});
    self->readNext();
  };
  if (securityLevel_ == SecurityLevel::none) {
    tcp().async_read_some(asio::buffer(readBuffer_), received);
  } else {
    stream_->async_read_some(asio::buffer(readBuffer_), received);
  }
}

void RTMPSocket::ended(Error error) {
  if (!onEnd_) return;
  auto onEnd = std::move(onEnd_);
  onEnd_ = nullptr;
  onEnd(std::move(error));
}

void RTMPSocket::close(std::optional<std::string> error) {
  if (!stream_ || !opened_) return;
  opened_ = false;
  fd_ = -1;
  if (continuation_) {
    auto waiting = std::move(continuation_);
    continuation_ = nullptr;
    waiting(Error{Error::Kind::connectionNotEstablished, error.value_or("")});
  }
  connected_ = false;
  writing_ = false;
  outputs_.clear();
  queueBytesOut_ = 0;
  onBlock_ = nullptr;
  onEnd_ = nullptr;
  timeoutTimer_.cancel();
  resolver_.cancel();
  boost::system::error_code ignored;
  tcp().shutdown(TcpSocket::shutdown_both, ignored);
  tcp().close(ignored);
}

}  // namespace tavorin
