#include "control/RemoteServer.h"

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <thread>

#include "base/ThreadName.h"

namespace tavorin {

extern const char* const kRemotePageTemplate;

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using tcp = asio::ip::tcp;
using Clock = std::chrono::steady_clock;
using ErrorCode = boost::system::error_code;

constexpr std::string_view kForbiddenBody =
    "<h1>403</h1><p>Open the exact URL shown in Tavorin → Settings → Remote.</p>";
constexpr std::string_view kLockedBody =
    "<h1>429</h1><p>Too many wrong links from this address — try again in a minute.</p>";
// A request must arrive whole within this; a connection that trickles is dropped.
constexpr auto kRequestTimeout = std::chrono::seconds(10);
// Each wrong token from an address is answered this much later than the one before.
constexpr auto kSlowdownStep = std::chrono::milliseconds(50);
constexpr auto kStrikeWindow = std::chrono::minutes(1);
constexpr std::size_t kMaxHeaderBytes = 8192;
// A phone that does not read its pushes is dropped rather than queued for.
constexpr std::size_t kMaxQueuedPushes = 16;

// Compared in time that does not depend on where the texts differ.
bool sameToken(std::string_view given, std::string_view token) {
  if (given.size() != token.size() || token.empty()) return false;
  unsigned char diff = 0;
  for (std::size_t i = 0; i < token.size(); ++i) diff |= static_cast<unsigned char>(given[i] ^ token[i]);
  return diff == 0;
}

// "k=" + token anywhere in the text; every occurrence is looked at.
bool holdsToken(std::string_view text, std::string_view token) {
  bool found = false;
  for (std::size_t at = text.find("k="); at != std::string_view::npos; at = text.find("k=", at + 1)) {
    found |= sameToken(text.substr(at + 2, token.size()), token);
  }
  return found;
}

bool isUTF8(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size()) {
    const auto c = static_cast<unsigned char>(text[i]);
    std::size_t extra = 0;
    if (c >= 0x80) {
      if ((c >> 5) == 0x6) {
        extra = 1;
      } else if ((c >> 4) == 0xE) {
        extra = 2;
      } else if ((c >> 3) == 0x1E) {
        extra = 3;
      } else {
        return false;
      }
    }
    if (text.size() - i <= extra) return false;
    for (std::size_t k = 1; k <= extra; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) >> 6) != 0x2) return false;
    }
    i += extra + 1;
  }
  return true;
}

std::string addressOf(const tcp::socket& socket) {
  ErrorCode ec;
  auto address = socket.remote_endpoint(ec).address();
  if (ec) return {};
  // Both families arrive on one listener; an IPv4 phone is known by its IPv4 address.
  if (address.is_v6() && address.to_v6().is_v4_mapped()) {
    address = asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6());
  }
  return address.to_string();
}

// Wrong tokens by address: slower answers, then a minute's refusal.
class Strikes {
 public:
  bool locked(const std::string& address) {
    auto it = entries_.find(address);
    if (it == entries_.end()) return false;
    if (it->second.lockedUntil && Clock::now() < *it->second.lockedUntil) return true;
    if (Clock::now() - it->second.first > kStrikeWindow) entries_.erase(it);
    return false;
  }
  // Counts one wrong token; the delay before answering it.
  Clock::duration strike(const std::string& address) {
    auto& entry = entries_[address];
    const auto now = Clock::now();
    if (entry.count == 0 || now - entry.first > kStrikeWindow) entry = Entry{0, now, std::nullopt};
    ++entry.count;
    if (entry.count >= RemoteServer::kWrongTokensAllowed) entry.lockedUntil = now + kStrikeWindow;
    return kSlowdownStep * entry.count;
  }

 private:
  struct Entry {
    int count = 0;
    Clock::time_point first;
    std::optional<Clock::time_point> lockedUntil;
  };
  std::map<std::string, Entry> entries_;
};

std::optional<tcp::acceptor> listenOn(asio::io_context& context, std::uint16_t port) {
  for (const auto& address : {asio::ip::address(asio::ip::address_v6::any()), asio::ip::address(asio::ip::address_v4::any())}) {
    tcp::acceptor acceptor(context);
    ErrorCode ec;
    const tcp::endpoint endpoint(address, port);
    acceptor.open(endpoint.protocol(), ec);
    if (ec) continue;
    // IPv4 phones on the IPv6 listener too, as mapped addresses.
    if (address.is_v6()) acceptor.set_option(asio::ip::v6_only(false), ec);
    acceptor.set_option(asio::socket_base::reuse_address(true), ec);
    acceptor.bind(endpoint, ec);
    if (!ec) acceptor.listen(asio::socket_base::max_listen_connections, ec);
    if (!ec) return acceptor;
    // The port is taken: the other family would be refused alike.
    if (ec == asio::error::address_in_use) return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

struct RemoteServer::Callbacks {
  std::function<Json()> state;
  std::function<void(const std::string&)> fire;
  std::function<void(const std::string&, double)> setValue;
};

struct RemoteServer::Impl : std::enable_shared_from_this<RemoteServer::Impl> {
  struct WebSocketSession;

  // First, so it goes last: everything below holds its objects.
  asio::io_context context;
  std::optional<asio::executor_work_guard<asio::io_context::executor_type>> work{context.get_executor()};
  std::string token;
  std::uint16_t webSocketPort = 0;
  ToMain toMain;
  std::weak_ptr<Callbacks> callbacks;
  std::optional<tcp::acceptor> http;
  std::optional<tcp::acceptor> webSocket;
  std::set<std::shared_ptr<WebSocketSession>> clients;
  Strikes strikes;
  asio::steady_timer pushTimer{context};
  std::thread thread;

  void acceptHTTP();
  void acceptWebSocket();
  void answerHTTP(tcp::socket socket);
  void schedulePush();
  void push(const std::vector<std::weak_ptr<WebSocketSession>>& targets);
  void shutdown();
};

// One WebSocket: auth first, then fire and set; pushes queued one write at a time.
struct RemoteServer::Impl::WebSocketSession : std::enable_shared_from_this<WebSocketSession> {
  WebSocketSession(Impl& server, tcp::socket socket)
      : server(server), address(addressOf(socket)), stream(std::move(socket)) {}

  Impl& server;
  std::string address;
  websocket::stream<beast::tcp_stream> stream;
  beast::flat_buffer buffer;
  std::deque<std::shared_ptr<const std::string>> outbox;
  bool authed = false;
  bool closing = false;

  void run() {
    beast::get_lowest_layer(stream).expires_after(kRequestTimeout);
    stream.read_message_max(kMaxMessageBytes);
    stream.async_accept([self = shared_from_this()](ErrorCode ec) {
      if (ec) return;
      // From here the WebSocket's own timeouts watch the connection.
      beast::get_lowest_layer(self->stream).expires_never();
      auto timeouts = websocket::stream_base::timeout::suggested(beast::role_type::server);
      timeouts.idle_timeout = std::chrono::seconds(30);
      timeouts.keep_alive_pings = true;
      self->stream.set_option(timeouts);
      self->server.clients.insert(self);
      self->read();
    });
  }

  void read() {
    stream.async_read(buffer, [self = shared_from_this()](ErrorCode ec, std::size_t) {
      if (ec) return self->drop();
      const std::string text = beast::buffers_to_string(self->buffer.data());
      self->buffer.consume(self->buffer.size());
      if (self->stream.got_text()) self->handle(text);
      if (!self->closing) self->read();
    });
  }

  void handle(const std::string& text) {
    const Json message = Json::parse(text, nullptr, false);
    if (!message.is_object()) return;
    if (const auto auth = message.find("auth"); auth != message.end() && auth->is_string()) {
      if (server.strikes.locked(address)) return refuse();
      if (!sameToken(auth->get_ref<const std::string&>(), server.token)) {
        server.strikes.strike(address);
        return refuse();
      }
      authed = true;
      server.push({weak_from_this()});
      return;
    }
    if (!authed) return refuse();
    const auto type = message.find("type");
    const auto id = message.find("id");
    if (type == message.end() || !type->is_string() || id == message.end() || !id->is_string()) return;
    const std::string tileID = *id;
    auto callbacks = server.callbacks;
    if (*type == "fire") {
      server.toMain([callbacks, tileID] {
        if (auto live = callbacks.lock(); live && live->fire) live->fire(tileID);
      });
    } else if (*type == "set") {
      const auto value = message.find("value");
      if (value == message.end() || !value->is_number()) return;
      const double number = *value;
      server.toMain([callbacks, tileID, number] {
        if (auto live = callbacks.lock(); live && live->setValue) live->setValue(tileID, number);
      });
    }
  }

  void send(std::shared_ptr<const std::string> text) {
    if (closing) return;
    if (outbox.size() >= kMaxQueuedPushes) return drop();
    outbox.push_back(std::move(text));
    if (outbox.size() == 1) writeNext();
  }

  void writeNext() {
    stream.text(true);
    stream.async_write(asio::buffer(*outbox.front()), [self = shared_from_this()](ErrorCode ec, std::size_t) {
      self->outbox.pop_front();
      if (ec) return self->drop();
      if (!self->outbox.empty()) self->writeNext();
    });
  }

  // A wrong token or a command before auth: this connection only is closed.
  void refuse() {
    closing = true;
    if (outbox.empty()) {
      stream.async_close(websocket::close_code::policy_error, [self = shared_from_this()](ErrorCode) { self->drop(); });
    } else {
      drop();
    }
  }

  void drop() {
    closing = true;
    ErrorCode ignored;
    beast::get_lowest_layer(stream).socket().close(ignored);
    server.clients.erase(shared_from_this());
  }
};

void RemoteServer::Impl::acceptHTTP() {
  http->async_accept([this](ErrorCode ec, tcp::socket socket) {
    if (ec == asio::error::operation_aborted || !http) return;
    if (!ec) answerHTTP(std::move(socket));
    acceptHTTP();
  });
}

// One request, one answer, then the connection closes. The parser takes any
// method and path; the token may be anywhere in what was sent.
void RemoteServer::Impl::answerHTTP(tcp::socket socket) {
  struct Exchange {
    explicit Exchange(tcp::socket s) : address(addressOf(s)), stream(std::move(s)), delay(stream.get_executor()) {}
    std::string address;
    beast::tcp_stream stream;
    beast::flat_buffer buffer{kMaxRequestBytes};
    http::request_parser<http::string_body> parser;
    http::response<http::string_body> response;
    asio::steady_timer delay;
  };
  auto exchange = std::make_shared<Exchange>(std::move(socket));
  exchange->parser.header_limit(kMaxHeaderBytes);
  exchange->parser.body_limit(kMaxRequestBytes);
  exchange->stream.expires_after(kRequestTimeout);
  http::async_read(exchange->stream, exchange->buffer, exchange->parser, [this, exchange](ErrorCode ec, std::size_t) {
    // Bytes that are no HTTP request, or too many of them: no answer.
    if (ec) return;
    const auto& request = exchange->parser.get();
    std::string text(request.target().data(), request.target().size());
    for (const auto& field : request) {
      text += '\n';
      text.append(field.value().data(), field.value().size());
    }
    text += '\n';
    text += request.body();
    if (!isUTF8(text)) return;

    auto& response = exchange->response;
    response.version(11);
    Clock::duration wait{};
    if (strikes.locked(exchange->address)) {
      response.result(http::status::too_many_requests);
      response.body() = kLockedBody;
    } else if (holdsToken(text, token)) {
      response.result(http::status::ok);
      response.body() = remotePage(webSocketPort, token);
    } else {
      // Only a guess counts: the browser's own requests (its icon) carry no token at all.
      if (text.find("k=") != std::string::npos) wait = strikes.strike(exchange->address);
      response.result(http::status::forbidden);
      response.body() = kForbiddenBody;
    }
    response.set(http::field::content_type, "text/html; charset=utf-8");
    response.content_length(response.body().size());
    response.set(http::field::connection, "close");
    exchange->delay.expires_after(wait);
    exchange->delay.async_wait([exchange](ErrorCode waited) {
      if (waited) return;
      http::async_write(exchange->stream, exchange->response, [exchange](ErrorCode, std::size_t) {
        ErrorCode ignored;
        exchange->stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
        exchange->stream.close();
      });
    });
  });
}

void RemoteServer::Impl::acceptWebSocket() {
  webSocket->async_accept([this](ErrorCode ec, tcp::socket socket) {
    if (ec == asio::error::operation_aborted || !webSocket) return;
    if (!ec) {
      const std::string address = addressOf(socket);
      // A locked-out address gets no WebSocket at all.
      if (!strikes.locked(address)) std::make_shared<WebSocketSession>(*this, std::move(socket))->run();
    }
    acceptWebSocket();
  });
}

void RemoteServer::Impl::schedulePush() {
  pushTimer.expires_after(std::chrono::seconds(1));
  pushTimer.async_wait([this](ErrorCode ec) {
    if (ec) return;
    std::vector<std::weak_ptr<WebSocketSession>> targets;
    for (const auto& client : clients) {
      if (client->authed) targets.push_back(client);
    }
    if (!targets.empty()) push(targets);
    schedulePush();
  });
}

// The state is built on the main thread and sent from here.
void RemoteServer::Impl::push(const std::vector<std::weak_ptr<WebSocketSession>>& targets) {
  toMain([callbacks = callbacks, weakSelf = weak_from_this(), targets] {
    const auto live = callbacks.lock();
    if (!live || !live->state) return;
    Json state = live->state();
    Json message = Json::object();
    message["type"] = "state";
    message["deck"] = state.value("deck", "Tavorin");
    message["tiles"] = state.contains("tiles") ? state["tiles"] : Json::array();
    message["cols"] = state.value("cols", 8);
    auto text = std::make_shared<const std::string>(message.dump(-1, ' ', false, Json::error_handler_t::replace));
    const auto self = weakSelf.lock();
    if (!self) return;
    asio::post(self->context, [targets, text] {
      for (const auto& target : targets) {
        if (const auto session = target.lock()) session->send(text);
      }
    });
  });
}

void RemoteServer::Impl::shutdown() {
  ErrorCode ignored;
  if (http) http->close(ignored);
  if (webSocket) webSocket->close(ignored);
  http.reset();
  webSocket.reset();
  pushTimer.cancel();
  const auto sessions = clients;
  for (const auto& session : sessions) session->drop();
  clients.clear();
  work.reset();
  context.stop();
}

RemoteServer::RemoteServer(ToMain toMain, Ports ports) : toMain_(std::move(toMain)), ports_(ports) {}

RemoteServer::~RemoteServer() { stop(); }

void RemoteServer::start(const std::string& token) {
  stop();
  callbacks_ = std::make_shared<Callbacks>(Callbacks{stateProvider, fire, setValue});
  auto impl = std::make_shared<Impl>();
  impl->token = token;
  impl->webSocketPort = ports_.webSocket;
  impl->toMain = toMain_;
  impl->callbacks = callbacks_;
  impl->http = listenOn(impl->context, ports_.http);
  impl->webSocket = listenOn(impl->context, ports_.webSocket);
  if (impl->http) impl->acceptHTTP();
  if (impl->webSocket) impl->acceptWebSocket();
  impl->schedulePush();
  impl->thread = std::thread([context = &impl->context] {
    nameThisThread("Tavorin.Remote");
    context->run();
  });
  impl_ = std::move(impl);
}

void RemoteServer::stop() {
  if (!impl_) return;
  const auto impl = std::move(impl_);
  asio::post(impl->context, [raw = impl.get()] { raw->shutdown(); });
  impl->thread.join();
  callbacks_.reset();
}

bool RemoteServer::httpListening() const { return impl_ && impl_->http.has_value(); }
bool RemoteServer::webSocketListening() const { return impl_ && impl_->webSocket.has_value(); }

std::string remotePage(std::uint16_t webSocketPort, const std::string& token) {
  std::string page = kRemotePageTemplate;
  auto replace = [&](std::string_view hole, const std::string& with) {
    if (const auto at = page.find(hole); at != std::string::npos) page.replace(at, hole.size(), with);
  };
  replace("__TAVORIN_WS_PORT__", std::to_string(webSocketPort));
  replace("__TAVORIN_TOKEN__", token);
  return page;
}

}  // namespace tavorin
