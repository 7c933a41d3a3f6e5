#include "peers/ScriptedRTMPServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace tavorin::testing {

namespace {

constexpr int kReadTimeoutMs = 4000;

}  // namespace

AMFObject statusObject(const std::string& code, const std::string& level, const std::string& description) {
  return AMFObject{{"code", code}, {"level", level}, {"description", description}};
}

bool ScriptedPeer::readExactly(std::size_t count, std::vector<std::uint8_t>& into) {
  into.resize(count);
  std::size_t have = 0;
  while (have < count) {
    pollfd ready{fd_, POLLIN, 0};
    if (::poll(&ready, 1, kReadTimeoutMs) <= 0) return false;
    const auto n = ::read(fd_, into.data() + have, count - have);
    gone_ = n <= 0;
    if (gone_) return false;
    have += static_cast<std::size_t>(n);
  }
  return true;
}

void ScriptedPeer::write(std::span<const std::uint8_t> bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const auto n = ::send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (n <= 0) return;
    sent += static_cast<std::size_t>(n);
  }
}

bool ScriptedPeer::handshake() {
  std::vector<std::uint8_t> c0c1;
  if (!readExactly(1537, c0c1)) return false;
  std::vector<std::uint8_t> reply(1 + 1536 + 1536, 0x5A);
  reply[0] = 3;
  std::copy(c0c1.begin() + 1, c0c1.end(), reply.begin() + 1 + 1536);  // S2 echoes C1
  write(reply);
  std::vector<std::uint8_t> c2;
  return readExactly(1536, c2);
}

std::optional<RTMPMessage> ScriptedPeer::readMessage() {
  while (pending_.empty()) {
    pollfd ready{fd_, POLLIN, 0};
    if (::poll(&ready, 1, kReadTimeoutMs) <= 0) return std::nullopt;
    std::uint8_t block[4096];
    const auto n = ::read(fd_, block, sizeof block);
    gone_ = n <= 0;
    if (gone_) return std::nullopt;
    pending_ = reader_.read(std::span<const std::uint8_t>(block, static_cast<std::size_t>(n)));
  }
  auto message = std::move(pending_.front());
  pending_.erase(pending_.begin());
  return message;
}

std::optional<RTMPCommandMessage> ScriptedPeer::readCommand() {
  while (auto message = readMessage()) {
    if (message->type == RTMPMessageType::amf0Command) return RTMPCommandMessage::fromMessage(*message);
  }
  return std::nullopt;
}

void ScriptedPeer::send(const RTMPMessage& message, std::uint32_t chunkStreamId) {
  for (const auto& chunk : writer_.putMessage(RTMPChunkType::zero, chunkStreamId, message)) write(chunk);
}

void ScriptedPeer::sendCommand(const std::string& name, double transactionId, AMFList arguments,
                               std::uint32_t streamId) {
  RTMPCommandMessage command;
  command.streamId = streamId;
  command.commandName = name;
  command.transactionId = transactionId;
  command.arguments = std::move(arguments);
  send(command.toMessage());
}

bool ScriptedPeer::acceptPublish(const std::string& code, const std::string& level) {
  if (!handshake()) return false;
  while (auto command = readCommand()) {
    if (command->commandName == "connect") {
      sendCommand("_result", command->transactionId, {statusObject("NetConnection.Connect.Success", "status")});
    } else if (command->commandName == "createStream") {
      sendCommand("_result", command->transactionId, {1.0});
    } else if (command->commandName == "publish") {
      sendCommand("onStatus", 0, {statusObject(code, level)}, command->streamId);
      return true;
    }
  }
  return false;
}

void ScriptedPeer::drain() {
  std::vector<std::uint8_t> rest;
  readExactly(1 << 20, rest);
}

void ScriptedPeer::closeNow() {
  ::shutdown(fd_, SHUT_RDWR);
}

ScriptedRTMPServer::ScriptedRTMPServer(std::function<void(ScriptedPeer&)> script, int receiveBuffer) {
  listenFd_ = ::socket(AF_INET, SOCK_STREAM, 0);
  // Set before listening, so accepted connections start with it.
  if (receiveBuffer > 0) ::setsockopt(listenFd_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ::bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof address);
  ::listen(listenFd_, 4);
  socklen_t length = sizeof address;
  ::getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &length);
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this, script = std::move(script)] {
    while (!stopping_) {
      pollfd ready{listenFd_, POLLIN, 0};
      if (::poll(&ready, 1, 100) <= 0) continue;
      const int fd = ::accept(listenFd_, nullptr, nullptr);
      if (fd < 0) continue;
      ++connections_;
      ScriptedPeer peer(fd);
      script(peer);
      ::close(fd);
    }
  });
}

ScriptedRTMPServer::~ScriptedRTMPServer() {
  stopping_ = true;
  thread_.join();
  ::close(listenFd_);
}

}  // namespace tavorin::testing
