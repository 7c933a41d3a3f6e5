#include <gtest/gtest.h>

#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <numbers>
#include <vector>

#include "base/HostTime.h"
#include "platform/pipewire/PipeWireCaptureStream.h"
#include "platform/pipewire/PipeWireLoop.h"
#include "platform/pipewire/PipeWirePlaybackStream.h"
#include "peers/PrivatePipeWire.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

using State = PipeWirePlaybackStream::State;
using testing::PrivatePipeWire;
using testing::waitFor;

constexpr int rate = 48000;
constexpr std::size_t edgeFrames = rate / 10;

// One channel of interleaved stereo, without the first and last 100 ms.
std::vector<float> channelOf(const std::vector<float>& interleaved, int channel, int channels = 2) {
  std::vector<float> out;
  const std::size_t frames = interleaved.size() / channels;
  for (std::size_t i = edgeFrames; i + edgeFrames < frames; ++i) out.push_back(interleaved[i * channels + channel]);
  return out;
}

double rms(const std::vector<float>& samples) {
  double sum = 0;
  for (float s : samples) sum += double(s) * s;
  return samples.empty() ? 0 : std::sqrt(sum / samples.size());
}

double decibelsFrom(double value, double reference) { return 20 * std::log10(value / reference); }

// Rising zero crossings per second: the tone's frequency, and a dropout or a rate mix-up shows.
double frequencyOf(const std::vector<float>& samples) {
  int crossings = 0;
  for (std::size_t i = 1; i < samples.size(); ++i) crossings += samples[i - 1] < 0 && samples[i] >= 0;
  return crossings * double(rate) / samples.size();
}

// A sine renderer for the data thread; the phase is its own.
PipeWirePlaybackStream::Render sine(double frequency, float leftAmplitude, float rightAmplitude) {
  return [frequency, leftAmplitude, rightAmplitude, phase = 0.0](float* left, float* right,
                                                                 std::uint32_t frames) mutable {
    for (std::uint32_t i = 0; i < frames; ++i) {
      const auto value = static_cast<float>(std::sin(phase));
      left[i] = leftAmplitude * value;
      right[i] = rightAmplitude * value;
      phase = std::fmod(phase + 2 * std::numbers::pi * frequency / rate, 2 * std::numbers::pi);
    }
  };
}

float sampleAsFloat(const StreamFormat& format, const void* const* planes, std::uint32_t frame, int channel) {
  const auto index = std::size_t(frame) * format.channels + channel;
  switch (format.format) {
    case SampleFormat::f32:
      return static_cast<const float*>(planes[0])[index];
    case SampleFormat::f32Planar:
      return static_cast<const float*>(planes[channel])[frame];
    case SampleFormat::s16:
      return static_cast<const std::int16_t*>(planes[0])[index] / 32768.0f;
    case SampleFormat::s32:
      return float(static_cast<const std::int32_t*>(planes[0])[index] / 2147483648.0);
    case SampleFormat::s24_32:
      return float(static_cast<const std::int32_t*>(planes[0])[index] / 8388608.0);
  }
  return 0;
}

TEST(PipeWirePlaybackStream, SineReachesTheSinkAtItsLevelOnEachChannel) {
  PrivatePipeWire pipewire;
  pipewire.addSink("tavorin-test-program");
  PipeWireLoop loop;
  PipeWirePlaybackStream stream(loop, "Tavorin test playback", "tavorin-test-program", sine(1000, 0.5f, 0.25f));
  std::string error;
  ASSERT_TRUE(stream.start(&error)) << error;
  ASSERT_TRUE(waitFor([&] { return stream.state() == State::streaming; })) << "state " << int(stream.state());

  const auto recorded = pipewire.recordFrom("tavorin-test-program", 1.0, true);
  const auto left = channelOf(recorded, 0);
  const auto right = channelOf(recorded, 1);
  ASSERT_GT(left.size(), std::size_t(rate / 2));
  EXPECT_NEAR(decibelsFrom(rms(left), 0.5 / std::sqrt(2.0)), 0, 0.5);
  EXPECT_NEAR(decibelsFrom(rms(right), 0.25 / std::sqrt(2.0)), 0, 0.5);
  EXPECT_NEAR(frequencyOf(left), 1000, 20);

  stream.stop();
  EXPECT_EQ(stream.state(), State::idle);
}

TEST(PipeWirePlaybackStream, VanishedTargetIsReportedAndRenderingStops) {
  PrivatePipeWire pipewire;
  pipewire.addSink("tavorin-test-usb");
  PipeWireLoop loop;
  std::atomic<int> renders{0};
  auto render = [&, tone = sine(440, 0.1f, 0.1f)](float* left, float* right, std::uint32_t frames) mutable {
    ++renders;
    tone(left, right, frames);
  };
  std::mutex mutex;
  std::vector<State> reported;
  auto stream = std::make_unique<PipeWirePlaybackStream>(loop, "Tavorin test vanishing", "tavorin-test-usb", render);
  stream->onStateChanged = [&](State state, const std::string&) {
    std::lock_guard lock(mutex);
    reported.push_back(state);
  };
  std::string error;
  ASSERT_TRUE(stream->start(&error)) << error;
  ASSERT_TRUE(waitFor([&] { return stream->state() == State::streaming && renders > 0; }));

  pipewire.remove("tavorin-test-usb");
  EXPECT_TRUE(waitFor([&] { return stream->state() == State::error || stream->state() == State::unconnected; }))
      << "state " << int(stream->state());
  {
    std::lock_guard lock(mutex);
    ASSERT_FALSE(reported.empty());
    EXPECT_TRUE(reported.back() == State::error || reported.back() == State::unconnected);
  }
  stream.reset();
  const int rendersAfterDestruction = renders.load();
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(renders.load(), rendersAfterDestruction);
}

TEST(PipeWireCaptureStream, ToneIntoAVirtualSourceArrivesAtItsLevelInTheReportedFormat) {
  PrivatePipeWire pipewire;
  pipewire.addSource("tavorin-test-mic");
  PipeWireLoop loop;

  std::mutex mutex;
  std::vector<float> left;
  std::vector<float> right;
  StreamFormat delivered;
  std::vector<std::pair<double, double>> stamps;  // capture time, arrival
  PipeWireCaptureStream stream(loop, "Tavorin test capture", "tavorin-test-mic", false,
                               [&](const StreamFormat& format, const void* const* planes, std::uint32_t frames,
                                   double captured) {
                                 std::lock_guard lock(mutex);
                                 stamps.emplace_back(captured, hostTimeNow());
                                 delivered = format;
                                 if (format.channels < 2) return;
                                 for (std::uint32_t i = 0; i < frames; ++i) {
                                   left.push_back(sampleAsFloat(format, planes, i, 0));
                                   right.push_back(sampleAsFloat(format, planes, i, 1));
                                 }
                               });
  std::string error;
  ASSERT_TRUE(stream.start(&error)) << error;
  ASSERT_TRUE(waitFor([&] { return stream.state() == State::streaming; })) << "state " << int(stream.state());

  auto tone = pipewire.playTone("tavorin-test-mic", 1000, 3, 0.5);
  // Only what arrives once the tone plays.
  {
    std::lock_guard lock(mutex);
    left.clear();
    right.clear();
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(1200));
  std::vector<float> steadyLeft;
  std::vector<float> steadyRight;
  StreamFormat format;
  {
    std::lock_guard lock(mutex);
    format = delivered;
    for (std::size_t i = edgeFrames; i + edgeFrames < left.size(); ++i) {
      steadyLeft.push_back(left[i]);
      steadyRight.push_back(right[i]);
    }
  }
  EXPECT_EQ(format.sampleRate, rate);
  EXPECT_EQ(format.channels, 2);
  ASSERT_GT(steadyLeft.size(), std::size_t(rate / 2));
  EXPECT_NEAR(decibelsFrom(rms(steadyLeft), 0.5 / std::sqrt(2.0)), 0, 0.5);
  EXPECT_NEAR(decibelsFrom(rms(steadyRight), 0.5 / std::sqrt(2.0)), 0, 0.5);
  EXPECT_NEAR(frequencyOf(steadyLeft), 1000, 20);
  // Each block is stamped from the graph's clock, before it arrived and in order.
  std::lock_guard lock(mutex);
  ASSERT_GT(stamps.size(), 20u);
  for (std::size_t i = 0; i < stamps.size(); ++i) {
    EXPECT_LE(stamps[i].first, stamps[i].second) << i;
    EXPECT_GT(stamps[i].first, stamps[i].second - 0.5) << i;
    // Once the stream has settled (its first cycles may repeat the graph's time).
    if (i > 10) {
      EXPECT_GT(stamps[i].first, stamps[i - 1].first) << i;
    }
  }
}

}  // namespace
}  // namespace tavorin
