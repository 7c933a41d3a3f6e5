#include "streaming/StreamingEngine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <thread>
#include <tuple>

#include "base/HostTime.h"
#include "streaming/StreamFailure.h"
#include "peers/NginxRtmp.h"
#include "peers/ScriptedRTMPServer.h"
#include "streaming/rtmp/RTMPControlMessage.h"
#include "support/Ffprobe.h"
#include "support/GeneratedPublisher.h"
#include "support/LoopbackPorts.h"
#include "support/ManualMainQueue.h"
#include "outputs/ProgramRecorder.h"
#include "platform/media/SharedEncoders.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::packetTimes;
using testing::ScriptedPeer;
using testing::ScriptedRTMPServer;

// One state change as the main thread saw it, with the real time it arrived.
struct Seen {
  StreamState state;
  double at = 0;
};

// An engine on a manual main queue that the test pumps, logging every state change per destination.
struct EngineRig {
  testing::ManualMainQueue queue;
  std::map<Uuid, std::string> keys;
  SharedEncoders encoders;
  StreamingEngine engine{queue,
                         [this](const Uuid& id) -> std::optional<std::string> {
                           const auto found = keys.find(id);
                           return found == keys.end() ? std::nullopt : std::optional(found->second);
                         },
                         encoders};
  std::map<Uuid, std::vector<Seen>> history;
  Subscription watch;

  explicit EngineRig(double unit) {
    engine.timing.unit = unit;
    engine.canvasSizeProvider = [] { return std::pair{640, 360}; };
    watch = engine.states.subscribe([this](const std::map<Uuid, StreamState>& states) {
      for (const auto& [id, state] : states) {
        auto& seen = history[id];
        if (seen.empty() || !(seen.back().state == state)) seen.push_back({state, hostTimeNow()});
      }
    });
  }

  StreamState state(const Uuid& id) const {
    const auto& map = engine.states.get();
    const auto found = map.find(id);
    return found == map.end() ? StreamState::idle() : found->second;
  }

  // Runs the main queue until `done` holds or `seconds` pass.
  template <class Predicate>
  bool pumpUntil(Predicate done, double seconds) {
    const double end = hostTimeNow() + seconds;
    while (hostTimeNow() < end) {
      queue.runUntilIdle();
      if (done()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    queue.runUntilIdle();
    return done();
  }

  void pumpFor(double seconds) {
    pumpUntil([] { return false; }, seconds);
  }
};

StreamDestination destination(const std::string& serverURL, int fps = 30) {
  StreamDestination made;
  made.name = "Test";
  made.platform = StreamPlatform::custom;
  made.serverURL = serverURL;
  made.quality = {StreamResolution::source, fps, 800, 128};
  return made;
}

bool isLive(const StreamState& state) { return state.kind == StreamState::Kind::live; }

// Feeds the generated picture at `frameRate` and the tone to the main
// canvas's encoders, as the frame clock and the audio tap would, on a thread of its own.
std::thread feedEncoders(SharedEncoders& encoders, double seconds, int frameRate) {
  return std::thread([&encoders, seconds, frameRate] {
    testing::PublishRequest request;
    request.seconds = seconds;
    request.frameRate = frameRate;
    testing::feedGenerated(
        request, [&](const FrameRef& frame) { encoders.feedVideo("main", frame); },
        [&](const AudioBlockRef& block) { encoders.feedAudio(block); });
  });
}

// True when `later` carries the same samples as `earlier` from its own first
// packet on, for at least `overlap` packets.
bool sameSamplesFromJoin(const std::vector<std::string>& earlier, const std::vector<std::string>& later,
                         std::size_t overlap) {
  if (later.empty()) return false;
  const auto join = std::find(earlier.begin(), earlier.end(), later.front());
  if (join == earlier.end()) return false;
  const auto common = std::min<std::size_t>(static_cast<std::size_t>(earlier.end() - join), later.size());
  return common >= overlap && std::equal(later.begin(), later.begin() + static_cast<long>(common), join);
}

// The widest gap between packets of one stream in a recording, in seconds.
double widestGap(const std::vector<double>& times) {
  double widest = 0;
  for (std::size_t i = 1; i < times.size(); ++i) widest = std::max(widest, times[i] - times[i - 1]);
  return widest;
}

// The first and third destinations publish to nginx, the second to a
// scripted server that drops the stream when told and takes the retry.
TEST(StreamingEngine, ThreeDestinationsAndOneServerDrops) {
  testing::NginxRtmp nginx;
  std::atomic<bool> drop{false};
  std::mutex lock;
  // Per connection to the dropping server: the video and audio messages it received.
  std::vector<std::vector<RTMPMessage>> received;
  ScriptedRTMPServer dropping([&](ScriptedPeer& peer) {
    if (!peer.acceptPublish()) return;
    {
      std::lock_guard guard(lock);
      received.emplace_back();
    }
    const bool first = received.size() == 1;
    // The first connection waits out quiet spells for the word to drop; the retry reads to the end.
    while (!peer.clientGone() && !(first && drop)) {
      auto message = peer.readMessage();
      if (!message) {
        if (first) continue;
        return;
      }
      if (message->type == RTMPMessageType::video || message->type == RTMPMessageType::audio) {
        std::lock_guard guard(lock);
        received.back().push_back(std::move(*message));
      }
    }
  });
  EngineRig rig(0.25);
  const std::vector<StreamDestination> destinations = {destination(nginx.url("live")), destination(dropping.url()),
                                                       destination(nginx.url("live2"))};
  for (const auto& d : destinations) {
    rig.keys[d.id] = "show";
    rig.engine.start(d);
  }
  auto allLive = [&] {
    return std::all_of(destinations.begin(), destinations.end(),
                       [&](const auto& d) { return isLive(rig.state(d.id)); });
  };
  ASSERT_TRUE(rig.pumpUntil(allLive, 15));

  // The program runs at 60 frames a second; every destination wants 30.
  const double feedSeconds = 10;
  auto feeder = feedEncoders(rig.encoders, feedSeconds, 60);
  rig.pumpFor(2.2);
  rig.queue.advance(StreamingEngine::kHealthPeriod);
  rig.pumpFor(2.0);
  rig.queue.advance(StreamingEngine::kHealthPeriod);
  const auto health = rig.engine.health.health.get();
  ASSERT_EQ(health.size(), 3u);
  for (const auto& [id, figures] : health) {
    EXPECT_GT(figures.kbps, 100) << "bytes flow while live";
    EXPECT_NEAR(figures.encoderFPS, 30, 4);
  }
  EXPECT_EQ(rig.encoders.videoEncoderCount(), 1) << "three destinations at one setting share one encoder";

  drop = true;
  ASSERT_TRUE(rig.pumpUntil([&] { return rig.state(destinations[1].id).kind == StreamState::Kind::reconnecting; }, 5));
  const StreamState dropped = rig.state(destinations[1].id);
  EXPECT_EQ(std::tie(dropped.attempt, dropped.message), std::make_tuple(1, std::string("the connection closed")));
  EXPECT_GT(dropped.since, 0) << "the drop's wall-clock time, for the retry countdown";
  EXPECT_TRUE(rig.pumpUntil([&] { return isLive(rig.state(destinations[1].id)); }, 8)) << "live again after the retry";
  rig.pumpFor(1.5);
  feeder.join();
  rig.engine.stopAll();
  rig.pumpFor(0.5);

  // The other two never left the air, and their recordings have no gap.
  for (int i : {0, 2}) {
    EXPECT_EQ(rig.history[destinations[i].id].size(), 2u) << "connecting, then live, nothing else";
    const auto recording = nginx.recording(i == 0 ? "live" : "live2", "show");
    const auto video = packetTimes(recording, "v");
    const auto audio = packetTimes(recording, "a");
    ASSERT_FALSE(video.empty());
    ASSERT_FALSE(audio.empty());
    EXPECT_LT(widestGap(video), 0.1) << recording;
    EXPECT_LT(widestGap(audio), 0.1) << recording;
    // A 30 fps destination on a 60 fps program takes every second frame.
    EXPECT_NEAR(static_cast<double>(video.size()) / feedSeconds, 30, 3);
  }
  // A resumed stream opens with both sequence headers again, or no player could decode it.
  std::lock_guard guard(lock);
  ASSERT_EQ(received.size(), 2u);
  auto opening = [&](RTMPMessageType type) -> std::vector<std::uint8_t> {
    for (const auto& m : received[1]) {
      if (m.type == type) return {m.payload.begin(), m.payload.begin() + std::min<std::size_t>(2, m.payload.size())};
    }
    return {};
  };
  EXPECT_EQ(opening(RTMPMessageType::video), (std::vector<std::uint8_t>{0x17, 0x00}));
  EXPECT_EQ(opening(RTMPMessageType::audio), (std::vector<std::uint8_t>{0xAF, 0x00}));
  // It rejoins the running encoder at a key frame forced for it.
  const auto firstFrame = std::find_if(received[1].begin(), received[1].end(), [](const RTMPMessage& m) {
    return m.type == RTMPMessageType::video && m.payload.size() > 1 && m.payload[1] == 0x01;
  });
  ASSERT_NE(firstFrame, received[1].end());
  EXPECT_EQ(firstFrame->payload[0], 0x17) << "the first frame after the retry is a key frame";
  EXPECT_GT(received[1].size(), 60u) << "media flows after the retry";
}

// Four destinations at one setting take one encoder, and every recording
// carries the very same samples from its join on; a fifth at another bit
// rate gets an encoder of its own.
TEST(StreamingEngine, IdenticalDestinationsShareOneEncoder) {
  testing::NginxRtmp nginx;
  EngineRig rig(0.25);
  std::vector<StreamDestination> same;
  for (int i = 0; i < 4; ++i) {
    same.push_back(destination(nginx.url("live")));
    rig.keys[same.back().id] = "same" + std::to_string(i);
  }
  auto other = destination(nginx.url("live"));
  other.quality.videoBitrateKbps = 1500;
  rig.keys[other.id] = "other";
  auto live = [&](const std::vector<StreamDestination>& list) {
    return std::all_of(list.begin(), list.end(), [&](const auto& d) { return isLive(rig.state(d.id)); });
  };
  auto feeder = feedEncoders(rig.encoders, 8, 30);
  rig.engine.start(same[0]);
  rig.engine.start(same[1]);
  ASSERT_TRUE(rig.pumpUntil([&] { return live({same[0], same[1]}); }, 15));
  // The later two join a running encoder.
  rig.pumpFor(1.0);
  rig.engine.start(same[2]);
  rig.engine.start(same[3]);
  ASSERT_TRUE(rig.pumpUntil([&] { return live(same); }, 15));
  EXPECT_EQ(rig.encoders.videoEncoderCount(), 1);
  EXPECT_EQ(rig.encoders.audioEncoderCount(), 1);
  rig.engine.start(other);
  ASSERT_TRUE(rig.pumpUntil([&] { return live({other}); }, 15));
  EXPECT_EQ(rig.encoders.videoEncoderCount(), 2);
  rig.pumpFor(2.0);
  feeder.join();
  rig.engine.stopAll();
  rig.pumpFor(0.5);
  EXPECT_EQ(rig.encoders.videoEncoderCount(), 0) << "the last receiver closes its encoder";

  const auto first = testing::packetHashes(nginx.recording("live", "same0"), "v");
  ASSERT_FALSE(first.empty());
  for (int i = 1; i < 4; ++i) {
    const auto hashes = testing::packetHashes(nginx.recording("live", "same" + std::to_string(i)), "v");
    ASSERT_FALSE(hashes.empty());
    EXPECT_EQ(hashes.front().front(), 'K') << "destination " << i << " starts at a key frame";
    EXPECT_TRUE(sameSamplesFromJoin(first, hashes, 60)) << "destination " << i;
  }
  const auto own = testing::packetHashes(nginx.recording("live", "other"), "v");
  ASSERT_FALSE(own.empty());
  EXPECT_EQ(std::find(first.begin(), first.end(), own.front()), first.end()) << "another bit rate, other samples";
}

// A recording at the stream's own settings takes the stream's encoder: both
// files play and carry the same samples.
TEST(StreamingEngine, RecorderAtAStreamsSettingsSharesItsEncoder) {
  testing::NginxRtmp nginx;
  testing::TempDir dir;
  EngineRig rig(0.25);
  const auto stream = destination(nginx.url("live"));
  rig.keys[stream.id] = "recorded";
  rig.engine.start(stream);
  ASSERT_TRUE(rig.pumpUntil([&] { return isLive(rig.state(stream.id)); }, 15));
  auto feeder = feedEncoders(rig.encoders, 5, 30);
  ProgramRecorder recorder(rig.encoders);
  std::string error;
  const auto encoding = StreamSession::videoSettingsFor(stream, 640, 360).encoding();
  ASSERT_TRUE(recorder.start(dir / "program.mov", encoding, true, &error)) << error;
  rig.pumpFor(1.0);
  EXPECT_EQ(rig.encoders.videoEncoderCount(), 1);
  feeder.join();
  std::promise<std::optional<std::filesystem::path>> done;
  recorder.finish([&](std::optional<std::filesystem::path> file) { done.set_value(file); });
  const auto file = done.get_future().get();
  rig.engine.stopAll();
  rig.pumpFor(0.5);
  ASSERT_TRUE(file);
  const auto recorded = testing::probe(*file);
  const auto streamed = testing::probe(nginx.recording("live", "recorded"));
  for (const auto* info : {&recorded, &streamed}) {
    ASSERT_FALSE(info->is_null());
    ASSERT_TRUE(testing::streamOf(*info, "video") && testing::streamOf(*info, "audio")) << info->dump();
    EXPECT_EQ((*testing::streamOf(*info, "video"))["codec_name"], "h264");
  }
  const auto fromStream = testing::packetHashes(nginx.recording("live", "recorded"), "v");
  const auto fromFile = testing::packetHashes(*file, "v");
  EXPECT_TRUE(sameSamplesFromJoin(fromStream, fromFile, 60));
}

// A server that takes the stream and then stops reading keeps its socket
// open; one that reads on but stops acknowledging has lost its stream behind
// it. Either is seen stalled and reconnects, saying why.
TEST(StreamingEngine, StalledPeerIsNotLive) {
  struct Case {
    const char* name;
    bool reads;
    const char* why;
  };
  for (const Case& stall : {Case{"stops reading", false, "the server stopped taking data"},
                            Case{"stops acknowledging", true, "the server stopped acknowledging data"}}) {
    SCOPED_TRACE(stall.name);
    std::atomic<bool> done{false};
    ScriptedRTMPServer stalled(
        [&](ScriptedPeer& peer) {
          if (!peer.acceptPublish()) return;
          if (stall.reads) {
            // A small window, acknowledged once: from then on the client expects more.
            peer.send(makeWindowAcknowledgementSizeMessage(64 * 1024), 2);
            std::uint64_t received = 0;
            bool acknowledged = false;
            while (!done) {
              auto message = peer.readMessage();
              if (!message) break;
              received += message->payload.size();
              if (!acknowledged && received > 64 * 1024) {
                peer.send(makeAcknowledgementMessage(static_cast<std::uint32_t>(received)), 2);
                acknowledged = true;
              }
            }
          }
          while (!done && !peer.clientGone()) std::this_thread::sleep_for(std::chrono::milliseconds(20));
        },
        stall.reads ? 0 : 16 * 1024);
    EngineRig rig(0.25);
    auto d = destination(stalled.url());
    d.quality.videoBitrateKbps = 3000;
    rig.keys[d.id] = "show";
    rig.engine.start(d);
    ASSERT_TRUE(rig.pumpUntil([&] { return isLive(rig.state(d.id)); }, 10));
    auto feeder = feedEncoders(rig.encoders, 12, 30);
    const double start = hostTimeNow();
    EXPECT_TRUE(rig.pumpUntil([&] { return rig.state(d.id).kind == StreamState::Kind::reconnecting; }, 11));
    EXPECT_LT(hostTimeNow() - start, 10.5) << "seen within 10 s of the data stopping";
    EXPECT_EQ(rig.state(d.id).message, stall.why);
    done = true;
    rig.engine.stopAll();
    feeder.join();
  }
}

TEST(StreamingEngine, RejectedKeyEndsAtOnceAndNoKeyNeverStarts) {
  // The server turns the publish away by name, as nginx does a key already live.
  ScriptedRTMPServer server([](ScriptedPeer& peer) {
    if (peer.acceptPublish("NetStream.Publish.BadName", "error")) peer.drain();
  });
  EngineRig rig(0.05);
  const auto rejected = destination(server.url());
  rig.keys[rejected.id] = "taken";
  rig.engine.start(rejected);
  ASSERT_TRUE(rig.pumpUntil([&] { return rig.state(rejected.id).kind == StreamState::Kind::error; }, 10));
  EXPECT_EQ(rig.state(rejected.id).message, "Stream key rejected — check the key");
  EXPECT_EQ(rig.history[rejected.id].size(), 2u) << "connecting, then error: no retry";
  EXPECT_EQ(server.connections(), 1);
  EXPECT_FALSE(rig.engine.hasSession(rejected.id));

  const auto keyless = destination(server.url());
  rig.engine.start(keyless);
  EXPECT_EQ(rig.state(keyless.id), StreamState::error("No stream key — edit the destination to add one"));
}

TEST(StreamingEngine, RefusedServerRetriesOnTheScheduleThenGivesUp) {
  // A port nobody listens on: every attempt is refused at once.
  const double unit = 0.05;
  EngineRig rig(unit);
  const auto dead = destination("rtmp://127.0.0.1:" + std::to_string(testing::freeLoopbackPort()) + "/live");
  rig.keys[dead.id] = "show";
  rig.engine.start(dead);
  ASSERT_TRUE(rig.pumpUntil([&] { return rig.state(dead.id).kind == StreamState::Kind::error; }, 30));
  EXPECT_EQ(rig.state(dead.id).message, "Connection refused — check the URL/port — gave up after 8 retries");

  const auto& seen = rig.history[dead.id];
  ASSERT_EQ(seen.size(), 10u) << "connecting, reconnecting 1 to 8, error";
  for (int attempt = 1; attempt <= 8; ++attempt) {
    const StreamState& state = seen[attempt].state;
    EXPECT_EQ(std::tie(state.kind, state.attempt), std::make_tuple(StreamState::Kind::reconnecting, attempt));
    EXPECT_DOUBLE_EQ(state.retryAfter, stream_failure::backOff(attempt) * unit) << "the countdown the panel shows";
    // Each wait is the back-off of the try it leads to; the attempts themselves
    // are quick. The states are stamped as the main queue sees them, a pump's
    // slice late or early.
    const double waited = seen[attempt + 1].at - seen[attempt].at;
    const double expected = stream_failure::backOff(attempt) * unit;
    EXPECT_GE(waited, expected - 0.02) << "after try " << attempt;
    EXPECT_LT(waited, expected + 0.3) << "after try " << attempt;
  }
}

TEST(StreamingEngine, StopDuringBackOffReportsNothingMore) {
  EngineRig rig(0.5);
  const auto dead = destination("rtmp://127.0.0.1:" + std::to_string(testing::freeLoopbackPort()) + "/live");
  rig.keys[dead.id] = "show";
  rig.engine.toggle(dead);
  ASSERT_TRUE(rig.pumpUntil([&] { return rig.state(dead.id).kind == StreamState::Kind::reconnecting; }, 10));
  rig.engine.toggle(dead);
  EXPECT_EQ(rig.state(dead.id), StreamState::idle());
  rig.pumpFor(1.5);
  EXPECT_EQ(rig.state(dead.id), StreamState::idle()) << "the stopped loop reports nothing";
  EXPECT_FALSE(rig.engine.isAnyActive());
}

}  // namespace
}  // namespace tavorin
