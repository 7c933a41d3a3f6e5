// The audio render path. BM_ProgramBusRender: one 10 ms pull (480 frames) of
// the Program bus with N live channels, each with audio waiting in its ring;
// "share_of_realtime" is the render's CPU time over the 10 ms it produces.
// BM_RingWriteRead: one 480-frame block written into a feed's ring and read
// back out, against a memcpy of the same bytes in and out ("x_memcpy").
#include <benchmark/benchmark.h>

#include <cstring>
#include <ctime>
#include <memory>
#include <vector>

#include "ProcessCPU.h"
#include "audio/AudioBus.h"
#include "audio/AudioLiveFeed.h"

namespace tavorin {
namespace {

constexpr std::uint32_t kBlock = 480;  // 10 ms at 48 kHz

PcmBuffer noise(std::uint32_t frames) {
  PcmBuffer buffer = PcmBuffer::make(2, frames);
  std::uint32_t seed = 1;
  for (auto& plane : buffer.planes) {
    for (float& sample : plane) {
      seed = seed * 1664525u + 1013904223u;
      sample = static_cast<float>(seed >> 8) / 16777216.0f - 0.5f;
    }
  }
  return buffer;
}

void BM_ProgramBusRender(benchmark::State& state) {
  const auto channels = static_cast<std::size_t>(state.range(0));
  std::vector<std::shared_ptr<AudioLiveFeed>> feeds;
  for (std::size_t i = 0; i < channels; ++i) feeds.push_back(std::make_shared<AudioLiveFeed>());
  AudioBus bus;
  bus.setFeeds(feeds);
  bus.setOutputVolume(0.8f);
  const PcmBuffer block = noise(kBlock);
  std::vector<float> left(kBlock), right(kBlock);
  for (auto& feed : feeds) {
    for (int i = 0; i < 8; ++i) feed->ring.write(block);  // past the target
  }
  double total = 0;
  for (auto _ : state) {
    // Keep every ring at its working fill; only the render is timed, in this thread's CPU time.
    for (auto& feed : feeds) feed->ring.write(block);
    const double start = threadCPUSeconds();
    bus.render(left.data(), right.data(), kBlock);
    const double spent = threadCPUSeconds() - start;
    benchmark::DoNotOptimize(left.data());
    state.SetIterationTime(spent);
    total += spent;
  }
  state.counters["share_of_realtime"] = total / (static_cast<double>(state.iterations()) * 0.010);
}
BENCHMARK(BM_ProgramBusRender)->Arg(1)->Arg(8)->Arg(32)->UseManualTime();

void BM_RingWriteRead(benchmark::State& state) {
  AudioLiveFeed feed;
  const PcmBuffer block = noise(kBlock);
  std::vector<float> left(kBlock), right(kBlock);
  for (int i = 0; i < 8; ++i) feed.ring.write(block);
  for (auto _ : state) {
    feed.ring.write(block);
    feed.ring.read(left.data(), right.data(), kBlock, 1.0f);
    benchmark::DoNotOptimize(left.data());
  }
}
BENCHMARK(BM_RingWriteRead);

void BM_MemcpyInAndOut(benchmark::State& state) {
  const PcmBuffer block = noise(kBlock);
  std::vector<float> ring(kBlock * 2), left(kBlock), right(kBlock);
  for (auto _ : state) {
    std::memcpy(ring.data(), block.planes[0].data(), kBlock * sizeof(float));
    std::memcpy(ring.data() + kBlock, block.planes[1].data(), kBlock * sizeof(float));
    benchmark::ClobberMemory();
    std::memcpy(left.data(), ring.data(), kBlock * sizeof(float));
    std::memcpy(right.data(), ring.data() + kBlock, kBlock * sizeof(float));
    benchmark::DoNotOptimize(left.data());
    benchmark::DoNotOptimize(right.data());
  }
}
BENCHMARK(BM_MemcpyInAndOut);

}  // namespace
}  // namespace tavorin
