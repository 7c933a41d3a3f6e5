#include "control/RemoteServer.h"

#include <gtest/gtest.h>

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>

#include <string>
#include <vector>

#include "support/LoopbackPorts.h"
#include "support/ManualMainQueue.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
using tcp = asio::ip::tcp;

constexpr const char* kToken = "ab2c3d";

// The server on free loopback ports, with callbacks that record what the phone asked.
class RemoteServerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto ports = testing::freeLoopbackPorts(2);
    ports_ = {static_cast<std::uint16_t>(ports[0]), static_cast<std::uint16_t>(ports[1])};
    server_ = std::make_unique<RemoteServer>([this](std::function<void()> task) { queue_.post(std::move(task)); }, ports_);
    server_->stateProvider = [this] {
      ++statesBuilt_;
      return Json{{"deck", "Sunday"}, {"tiles", Json::array({{{"id", "T1"}, {"on", tally_}}})}, {"cols", 6}};
    };
    server_->fire = [this](const std::string& id) { fired_.push_back(id); };
    server_->setValue = [this](const std::string& id, double value) { values_.emplace_back(id, value); };
    server_->start(kToken);
  }

  // Serves the main queue until `done` holds.
  bool serveUntil(const std::function<bool()>& done, double seconds = 5) {
    return testing::waitFor([&] {
      queue_.runUntilIdle();
      return done();
    }, seconds);
  }

  // Sends raw bytes to the HTTP port; what came back before the server closed.
  std::string askHTTP(const std::string& request) {
    asio::io_context context;
    tcp::socket socket(context);
    socket.connect({asio::ip::make_address("127.0.0.1"), ports_.http});
    asio::write(socket, asio::buffer(request));
    std::string answer;
    boost::system::error_code ec;
    asio::read(socket, asio::dynamic_buffer(answer), ec);
    return answer;
  }

  struct Phone {
    explicit Phone(std::uint16_t port) : ws(context) {
      boost::system::error_code ec;
      ws.next_layer().connect({asio::ip::make_address("127.0.0.1"), port}, ec);
      if (!ec) ws.handshake("127.0.0.1", "/", ec);
      open = !ec;
    }
    void say(const std::string& text) {
      boost::system::error_code ignored;
      if (open) ws.write(asio::buffer(text), ignored);
    }
    // The next message, or empty once the server closed the connection.
    std::string hear() {
      if (!open) return {};
      beast::flat_buffer buffer;
      boost::system::error_code ec;
      ws.read(buffer, ec);
      return ec ? std::string() : beast::buffers_to_string(buffer.data());
    }
    asio::io_context context;
    websocket::stream<tcp::socket> ws;
    bool open = false;
  };

  // Reads on a thread of its own while the test serves the main queue.
  std::string hearServing(Phone& phone) {
    std::string heard;
    bool done = false;
    std::thread reader([&] {
      heard = phone.hear();
      done = true;
    });
    serveUntil([&] { return done; });
    reader.join();
    return heard;
  }

  RemotePorts ports_;
  testing::ManualMainQueue queue_;
  std::unique_ptr<RemoteServer> server_;
  int statesBuilt_ = 0;
  bool tally_ = false;
  std::vector<std::string> fired_;
  std::vector<std::pair<std::string, double>> values_;
};

TEST_F(RemoteServerTest, ThePageGoesOnlyToARequestThatCarriesTheToken) {
  const std::string forbidden = "<h1>403</h1><p>Open the exact URL shown in Tavorin → Settings → Remote.</p>";
  struct Case {
    const char* what;
    std::string request;
    std::string startsWith;
  };
  const std::vector<Case> cases = {
      {"in the query", "GET /?k=ab2c3d HTTP/1.1\r\nHost: x\r\n\r\n", "HTTP/1.1 200 OK\r\n"},
      {"in another header, any path", "POST /any/where HTTP/1.1\r\nX-Note: see k=ab2c3d\r\nContent-Length: 0\r\n\r\n",
       "HTTP/1.1 200 OK\r\n"},
      {"a wrong token", "GET /?k=zzzzzz HTTP/1.1\r\n\r\n",
       "HTTP/1.1 403 Forbidden\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
           std::to_string(forbidden.size()) + "\r\nConnection: close\r\n\r\n" + forbidden},
      {"no HTTP at all", std::string("\x16\x03\x01\x02\x00 nonsense\r\n\r\n", 18), ""},
      {"an oversized header", "GET /?k=ab2c3d HTTP/1.1\r\nX-Big: " + std::string(20000, 'a') + "\r\n\r\n", ""},
      {"bytes that are no UTF-8", "GET /?k=ab2c3d HTTP/1.1\r\nX-Bad: \xff\xfe\r\n\r\n", ""},
  };
  EXPECT_EQ(forbidden.size(), 79u) << "each arrow counts three bytes";
  for (const auto& c : cases) {
    const std::string answer = askHTTP(c.request);
    if (c.startsWith.empty()) {
      EXPECT_EQ(answer, "") << c.what;
    } else {
      EXPECT_EQ(answer.substr(0, c.startsWith.size()), c.startsWith) << c.what;
    }
  }
  const std::string page = askHTTP("GET /?k=ab2c3d HTTP/1.1\r\n\r\n");
  EXPECT_NE(page.find("var PORT = " + std::to_string(ports_.webSocket) + ";"), std::string::npos);
  EXPECT_NE(page.find("var TOKEN = \"ab2c3d\";"), std::string::npos);
}

TEST_F(RemoteServerTest, TenWrongTokensLockTheAddressOutEvenWithTheRightOne) {
  for (int i = 0; i < 2 * RemoteServer::kWrongTokensAllowed; ++i) {
    EXPECT_EQ(askHTTP("GET /favicon.ico HTTP/1.1\r\n\r\n").substr(0, 12), "HTTP/1.1 403");
  }
  EXPECT_EQ(askHTTP("GET /?k=ab2c3d HTTP/1.1\r\n\r\n").substr(0, 12), "HTTP/1.1 200") << "no guess, no strike";
  for (int i = 0; i < RemoteServer::kWrongTokensAllowed; ++i) {
    EXPECT_EQ(askHTTP("GET /?k=wrong1 HTTP/1.1\r\n\r\n").substr(0, 12), "HTTP/1.1 403") << i;
  }
  EXPECT_EQ(askHTTP("GET /?k=ab2c3d HTTP/1.1\r\n\r\n").substr(0, 12), "HTTP/1.1 429");
  Phone phone(ports_.webSocket);  // the WebSocket refuses the address too
  phone.say(R"({"auth":"ab2c3d"})");
  EXPECT_EQ(hearServing(phone), "");
}

TEST_F(RemoteServerTest, APhoneAuthenticatesFiresMovesAndHearsTheDeck) {
  Phone before(ports_.webSocket);
  before.say(R"({"type":"fire","id":"T1"})");
  EXPECT_EQ(hearServing(before), "") << "a command before auth closes the socket";
  Phone wrong(ports_.webSocket);
  wrong.say(R"({"auth":"zzzzzz"})");
  EXPECT_EQ(hearServing(wrong), "");

  Phone phone(ports_.webSocket);
  phone.say(R"({"auth":"ab2c3d"})");
  const Json first = Json::parse(hearServing(phone));
  EXPECT_EQ(first, (Json{{"type", "state"}, {"deck", "Sunday"}, {"tiles", Json::array({{{"id", "T1"}, {"on", false}}})}, {"cols", 6}}));
  phone.say(R"({"auth":"ab2c3d"})");
  EXPECT_EQ(Json::parse(hearServing(phone))["type"], "state") << "auth twice pushes twice";

  phone.say("not json");
  phone.say(R"({"type":"dance","id":"T1"})");
  phone.say(R"({"type":"fire","id":"T1"})");
  phone.say(R"({"type":"set","id":"F1","value":0.75})");
  ASSERT_TRUE(serveUntil([&] { return !values_.empty(); }));
  EXPECT_EQ(fired_, std::vector<std::string>{"T1"});
  EXPECT_EQ(values_, (std::vector<std::pair<std::string, double>>{{"F1", 0.75}}));

  tally_ = true;
  bool lit = false;
  for (int push = 0; push < 3 && !lit; ++push) lit = Json::parse(hearServing(phone))["tiles"][0]["on"] == true;
  EXPECT_TRUE(lit) << "the once-a-second push follows the show";

  // A message far over the limit closes that phone only.
  Phone flood(ports_.webSocket);
  flood.say(R"({"auth":"ab2c3d"})");
  hearServing(flood);
  flood.say(std::string(10 * 1024 * 1024, 'x'));
  EXPECT_EQ(hearServing(flood), "");
  phone.say(R"({"type":"fire","id":"T2"})");
  EXPECT_TRUE(serveUntil([&] { return fired_.size() == 2; }));
}

TEST(RemoteServer, APortAlreadyTakenLeavesTheOtherListenerRunning) {
  asio::io_context context;
  tcp::acceptor taken(context, {asio::ip::make_address("::"), 0});
  const auto httpPort = taken.local_endpoint().port();
  const auto wsPort = static_cast<std::uint16_t>(testing::freeLoopbackPort());
  testing::ManualMainQueue queue;
  RemoteServer server([&](std::function<void()> task) { queue.post(std::move(task)); }, {httpPort, wsPort});
  server.start(kToken);
  EXPECT_FALSE(server.httpListening());
  EXPECT_TRUE(server.webSocketListening());
  EXPECT_TRUE(testing::acceptsConnections(wsPort));
  server.stop();
  server.stop();
  EXPECT_FALSE(testing::acceptsConnections(wsPort));
}

}  // namespace
}  // namespace tavorin
