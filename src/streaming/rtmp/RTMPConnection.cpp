#include "streaming/rtmp/RTMPConnection.h"

#include <chrono>

#include "base/HostTime.h"
#include "base/ThreadName.h"
#include "streaming/rtmp/AMF0Serializer.h"
#include "streaming/rtmp/ParsedURL.h"
#include "streaming/rtmp/RTMPChunkError.h"
#include "streaming/rtmp/RTMPCommandMessage.h"
#include "streaming/rtmp/RTMPControlMessage.h"

namespace tavorin {

namespace {

constexpr int kConnectTransaction = 1;

double secondsSince1970() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// Where a URL leads and what `connect` tells the server about it.
struct Target {
  std::string host;
  std::uint16_t port = 0;
  bool secure = false;
  std::string app;
  std::string tcUrl;
};

std::optional<Target> targetOf(const std::string& uri) {
  auto url = ParsedURL::parse(uri);
  if (!url || url->host.empty() || (url->scheme != "rtmp" && url->scheme != "rtmps")) return std::nullopt;
  std::string host = url->host;
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
  return Target{host, static_cast<std::uint16_t>(url->port()), url->isSecure(), url->appName(),
                url->withoutCredentials().toString()};
}

template <class T>
AMFValue optionalValue(const std::optional<T>& value) {
  return value ? AMFValue(*value) : AMFValue();
}

}  // namespace

RTMPConnection::RTMPConnection()
    : work_(boost::asio::make_work_guard(context_)), connectTimer_(context_) {
  thread_ = std::thread([this] {
    nameThisThread("Tavorin.RTMP");
    context_.run();
  });
}

RTMPConnection::~RTMPConnection() {
  // The server hears of the end at once; handlers still queued go with the context.
  boost::asio::post(context_, [this] {
    closeConnection();
    context_.stop();
  });
  if (thread_.joinable()) thread_.join();
}

void RTMPConnection::post(std::function<void()> task) { boost::asio::post(context_, std::move(task)); }

void RTMPConnection::attach(std::weak_ptr<RTMPConnectionStream> stream) {
  post([this, stream = std::move(stream)] { streams_.push_back(stream); });
}

template <class Fn>
void RTMPConnection::forEachStream(Fn&& fn) {
  for (auto& weak : streams_) {
    if (auto stream = weak.lock()) fn(*stream);
  }
}

std::uint64_t RTMPConnection::totalBytesIn() const {
  auto socket = std::atomic_load(&socket_);
  return socket ? socket->totalBytesIn() : 0;
}

std::uint64_t RTMPConnection::totalBytesOut() const {
  auto socket = std::atomic_load(&socket_);
  return socket ? socket->totalBytesOut() : 0;
}

std::uint64_t RTMPConnection::queueBytesOut() const {
  auto socket = std::atomic_load(&socket_);
  return socket ? socket->queueBytesOut() : 0;
}

double RTMPConnection::secondsStalled() const {
  auto socket = std::atomic_load(&socket_);
  return socket ? socket->secondsStalled() : 0;
}

double RTMPConnection::secondsUnacknowledged() {
  auto socket = std::atomic_load(&socket_);
  return socket ? peerAcknowledgements_.secondsOverdue(socket->bytesDelivered(), hostTimeNow()) : 0;
}

void RTMPConnection::connect(const std::string& uri, AMFList arguments, Completion done) {
  post([this, uri, arguments = std::move(arguments), done = std::move(done)]() mutable {
    start(uri, std::move(arguments), std::move(done), 0);
  });
}

void RTMPConnection::start(const std::string& uri, AMFList arguments, Completion done, int authRound) {
  if (connected_) return done(RTMPResult::failure({RTMPConnectionError::Kind::invalidState, {}, {}}));
  const auto target = targetOf(uri);
  if (!target) return done(RTMPResult::failure({RTMPConnectionError::Kind::unsupportedCommand, uri, {}}));
  uri_ = uri;
  arguments_ = std::move(arguments);

  handshake_.clear();
  reader_.reset();
  window_.reset();
  peerAcknowledgements_.reset();
  readyState_ = ReadyState::uninitialized;
  outputBuffer_.setChunkSize(RTMPChunkBuffer::kDefaultChunkSize);
  failPending(RTMPStatus{"NetConnection.Connect.Closed", "status", {}, {}});
  currentTransactionId_ = 1;

  if (networkMonitor_) networkMonitor_->stopRunning();
  if (socket_) socket_->close(std::nullopt);
  auto socket = std::make_shared<RTMPSocket>(
      context_, target->secure ? RTMPSocket::SecurityLevel::negotiatedSSL : RTMPSocket::SecurityLevel::none,
      [this](const std::string& line) { emit(line); }, trustedCertificates);
  socket->timeout = timeout;
  std::atomic_store(&socket_, socket);
  networkMonitor_ = std::make_unique<NetworkMonitor>(context_, socket);

  socket->connect(target->host, target->port,
                  [this, socket, done = std::move(done), authRound](std::optional<RTMPSocket::Error> error) mutable {
                    if (socket != socket_) return;
                    if (!error) return socketReady(std::move(done), authRound);
                    const auto kind = error->kind == RTMPSocket::Error::Kind::connectionTimedOut
                                          ? RTMPConnectionError::Kind::connectionTimedOut
                                          : RTMPConnectionError::Kind::socketErrorOccurred;
                    done(RTMPResult::failure({kind, error->detail, {}}));
                  });
}

void RTMPConnection::socketReady(Completion done, int authRound) {
  readyState_ = ReadyState::versionSent;
  socket_->send(handshake_.c0c1packet());
  operations_[kConnectTransaction] = [this, done = std::move(done), authRound](RTMPResult result) mutable {
    connectAnswered(std::move(result), std::move(done), authRound);
  };
  // The protocol puts no limit on the handshake and the answer to `connect`;
  // a server that accepts TCP and then says nothing must not hold the show.
  connectTimer_.expires_after(std::chrono::seconds(timeout));
  connectTimer_.async_wait([this, socket = socket_](const boost::system::error_code& error) {
    if (error || socket != socket_) return;
    auto waiting = operations_.extract(kConnectTransaction);
    if (waiting.empty()) return;
    emit("No answer to connect within " + std::to_string(timeout) + " s");
    closeConnection();
    waiting.mapped()(RTMPResult::failure({RTMPConnectionError::Kind::connectionTimedOut, {}, {}}));
  });
  socket_->receive([this](std::span<const std::uint8_t> block) { listen(block); },
                   [this, socket = socket_](const RTMPSocket::Error& error) {
                     if (socket != socket_) return;
                     emit("Connection ended: " + error.describe());
                     closeConnection();
                   });
}

void RTMPConnection::listen(std::span<const std::uint8_t> block) {
  switch (readyState_) {
    case ReadyState::uninitialized:
      return;
    case ReadyState::versionSent:
      handshake_.put(block);
      if (!handshake_.hasS0S1()) return;
      socket_->send(handshake_.c2packet(secondsSince1970()));
      readyState_ = ReadyState::ackSent;
      return listen({});
    case ReadyState::ackSent:
      handshake_.put(block);
      if (!handshake_.hasS2()) return;
      readyState_ = ReadyState::handshakeDone;
      return sendConnectCommand();
    case ReadyState::handshakeDone:
      break;
  }
  std::vector<RTMPMessage> messages;
  try {
    messages = reader_.read(block);
  } catch (const RTMPChunkError& error) {
    emit(std::string("Unreadable chunk stream: ") + error.what());
    closeConnection();
    return;
  }
  auto socket = socket_;
  for (auto& message : messages) {
    // A message may close the connection; what follows it belongs to nobody.
    if (socket != socket_ || readyState_ != ReadyState::handshakeDone) return;
    dispatch(std::move(message));
  }
}

void RTMPConnection::sendConnectCommand() {
  const auto target = uri_ ? targetOf(*uri_) : std::nullopt;
  if (!target) {
    closeConnection();
    return;
  }
  networkMonitor_->startRunning([this](const NetworkMonitorEvent& event) { tickReceived(event); });
  AMFObject object{
      {"objectEncoding", static_cast<double>(ObjectEncoding::amf0)},
      {"app", target->app},
      {"flashVer", flashVer},
      {"swfUrl", optionalValue(swfUrl)},
      {"tcUrl", target->tcUrl},
      {"fpad", false},
      {"capabilities", capabilities},
      {"audioCodecs", 1024},
      {"videoCodecs", 128},
      {"videoFunction", 1},
      {"pageUrl", optionalValue(pageUrl)},
      {"capsEx", capsEx},
  };
  if (fourCcList) {
    AMFList list(fourCcList->begin(), fourCcList->end());
    object["fourCcList"] = list;
  } else {
    object["fourCcList"] = nullptr;
  }
  auto mapValue = [](const std::optional<std::map<std::string, int>>& map) -> AMFValue {
    if (!map) return nullptr;
    AMFObject entries;
    for (const auto& [key, value] : *map) entries[key] = value;
    return entries;
  };
  object["videoFourCcInfoMap"] = mapValue(videoFourCcInfoMap);
  object["audioFourCcInfoMap"] = mapValue(audioFourCcInfoMap);
  RTMPCommandMessage command;
  command.commandName = "connect";
  command.transactionId = kConnectTransaction;
  command.commandObject = std::move(object);
  command.arguments = arguments_;
  doOutput(RTMPChunkType::zero, RTMPChunkStreamId::command, command.toMessage());
}

std::size_t RTMPConnection::doOutput(RTMPChunkType chunkType, RTMPChunkStreamId chunkStreamId,
                                     const RTMPMessage& message) {
  if (socket_) {
    socket_->send(outputBuffer_.putMessage(chunkType, static_cast<std::uint32_t>(chunkStreamId), message));
  }
  return message.payload.size();
}

void RTMPConnection::dispatch(RTMPMessage message) {
  if (message.streamId != 0) {
    forEachStream([&](RTMPConnectionStream& stream) {
      if (stream.messageStreamId() == message.streamId) stream.dispatch(message);
    });
    return;
  }
  switch (message.type) {
    case RTMPMessageType::chunkSize:
      // The reader has already taken the new size for the chunks behind it.
      return;
    case RTMPMessageType::windowAck:
      if (auto size = controlMessageValue(message)) {
        if (auto echo = window_.windowAcknowledgementSizeReceived(*size, connected_)) {
          doOutput(RTMPChunkType::zero, RTMPChunkStreamId::control, *echo);
          peerAcknowledgements_.windowTold(*size);
        }
      }
      return;
    case RTMPMessageType::ack:
      if (auto count = controlMessageValue(message)) peerAcknowledgements_.received(*count);
      return;
    case RTMPMessageType::bandwidth:
      if (auto size = controlMessageValue(message)) window_.peerBandwidthReceived(*size);
      return;
    case RTMPMessageType::amf3Command:
      // An AMF3 command is an AMF0 body behind one format byte.
      if (message.payload.empty()) return;
      message.payload.erase(message.payload.begin());
      [[fallthrough]];
    case RTMPMessageType::amf0Command:
      if (auto command = RTMPCommandMessage::fromMessage(message)) commandReceived(*command);
      return;
    case RTMPMessageType::user:
      if (auto event = userControlEvent(message)) {
        if (event->type == static_cast<std::uint16_t>(RTMPUserControlEventType::ping)) {
          doOutput(RTMPChunkType::zero, RTMPChunkStreamId::control, makePongMessage(event->value));
        } else {
          forEachStream([&](RTMPConnectionStream& stream) { stream.dispatch(*event); });
        }
      }
      return;
    default:
      return;
  }
}

void RTMPConnection::commandReceived(const RTMPCommandMessage& command) {
  auto response = RTMPResponse::from(command.arguments);
  const int id = static_cast<int>(command.transactionId);
  auto waiting = operations_.extract(id);
  requestTimers_.erase(id);
  if (!waiting.empty()) {
    if (command.commandName == "_result") {
      if (id == kConnectTransaction) {
        connected_ = true;
        connectTimer_.cancel();
        // Announced at the old size; every chunk after it uses the new one.
        doOutput(RTMPChunkType::zero, RTMPChunkStreamId::control, makeSetChunkSizeMessage(chunkSize));
        outputBuffer_.setChunkSize(chunkSize);
        // Servers acknowledge by the window their client tells them; a server
        // that acknowledges is one whose silence later means it is gone.
        const auto window = static_cast<std::uint32_t>(window_.windowSizeC);
        doOutput(RTMPChunkType::zero, RTMPChunkStreamId::control, makeWindowAcknowledgementSizeMessage(window));
        peerAcknowledgements_.windowTold(window);
      }
      waiting.mapped()(RTMPResult::success(std::move(response)));
    } else {
      waiting.mapped()(RTMPResult::failure({RTMPConnectionError::Kind::requestFailed, {}, std::move(response)}));
    }
    return;
  }
  if (command.commandName == "close") closeConnection();
}

void RTMPConnection::connectAnswered(RTMPResult result, Completion done, int authRound) {
  if (result.ok()) {
    forEachStream([](RTMPConnectionStream& stream) {
      stream.dispatch(NetworkMonitorEvent{NetworkMonitorEvent::Kind::reset, {}});
    });
    auto response = std::make_shared<RTMPResponse>(std::move(*result.response));
    createStreams(0, [done = std::move(done), response] { done(RTMPResult::success(*response)); });
    return;
  }
  const auto& error = *result.error;
  const bool rejected = error.kind == RTMPConnectionError::Kind::requestFailed && error.response &&
                        error.response->status && error.response->status->code == "NetConnection.Connect.Rejected";
  if (rejected && authRound < maxAuthenticationRounds && uri_) {
    if (auto retry = authenticator_.makeCommand(*uri_, error.response->status->description)) {
      emit("Authenticating with the server");
      auto arguments = arguments_;
      closeConnection();
      start(*retry, std::move(arguments), std::move(done), authRound + 1);
      return;
    }
  }
  // A refused connect leaves nothing open behind it.
  closeConnection();
  done(std::move(result));
}

void RTMPConnection::createStreams(std::size_t index, std::function<void()> done) {
  // Streams run one after the other, each once the last has its answer.
  while (index < streams_.size() && streams_[index].expired()) ++index;
  if (index >= streams_.size()) return done();
  auto stream = streams_[index].lock();
  stream->createStream([this, index, done = std::move(done)]() mutable {
    post([this, index, done = std::move(done)]() mutable { createStreams(index + 1, std::move(done)); });
  });
}

void RTMPConnection::call(const std::string& commandName, AMFList arguments, Completion done) {
  post([this, commandName, arguments = std::move(arguments), done = std::move(done)]() mutable {
    if (!connected_) return done(RTMPResult::failure({RTMPConnectionError::Kind::invalidState, {}, {}}));
    const int id = ++currentTransactionId_;
    RTMPCommandMessage command;
    command.commandName = commandName;
    command.transactionId = id;
    command.arguments = std::move(arguments);
    auto timer = std::make_unique<boost::asio::steady_timer>(context_, std::chrono::milliseconds(requestTimeout));
    timer->async_wait([this, id](const boost::system::error_code& error) {
      if (error) return;
      auto waiting = operations_.extract(id);
      requestTimers_.erase(id);
      if (!waiting.empty()) waiting.mapped()(RTMPResult::failure({RTMPConnectionError::Kind::requestTimedOut, {}, {}}));
    });
    requestTimers_[id] = std::move(timer);
    operations_[id] = std::move(done);
    doOutput(RTMPChunkType::zero, RTMPChunkStreamId::command, command.toMessage());
  });
}

void RTMPConnection::close() {
  post([this] { closeConnection(); });
}

void RTMPConnection::closeConnection() {
  // Nothing to close: callers have nothing to do about it either. A socket
  // still connecting is stopped, so its caller hears of it at once.
  if (readyState_ == ReadyState::uninitialized && !(socket_ && socket_->isOpen())) return;
  uri_.reset();
  forEachStream([](RTMPConnectionStream& stream) { stream.connectionClosing(); });
  if (socket_) socket_->close(std::nullopt);
  if (networkMonitor_) networkMonitor_->stopRunning();
  connectTimer_.cancel();
  RTMPStatus status = readyState_ == ReadyState::handshakeDone
                          ? RTMPStatus{"NetConnection.Connect.Closed", "status", {}, {}}
                          : RTMPStatus{"NetConnection.Connect.Failed", "error", {}, {}};
  connected_ = false;
  readyState_ = ReadyState::uninitialized;
  failPending(status);
}

void RTMPConnection::failPending(const RTMPStatus& status) {
  // Every call still waiting hears at once; none can be answered by a later
  // connection that hands out its transaction ids again.
  auto waiting = std::move(operations_);
  operations_.clear();
  for (auto& [id, timer] : requestTimers_) timer->cancel();
  requestTimers_.clear();
  for (auto& [id, done] : waiting) {
    RTMPResponse response;
    response.status = status;
    done(RTMPResult::failure({RTMPConnectionError::Kind::requestFailed, {}, std::move(response)}));
  }
}

void RTMPConnection::tickReceived(const NetworkMonitorEvent& event) {
  if (event.kind != NetworkMonitorEvent::Kind::reset) {
    if (auto ack = window_.tick(event.report.totalBytesIn)) {
      doOutput(ack->first, RTMPChunkStreamId::control, ack->second);
    }
  }
  forEachStream([&](RTMPConnectionStream& stream) { stream.dispatch(event); });
}

}  // namespace tavorin
