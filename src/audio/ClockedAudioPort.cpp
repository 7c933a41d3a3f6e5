#include "audio/ClockedAudioPort.h"

#include <time.h>

#include <vector>

#include "base/PcmBuffer.h"
#include "base/ThreadName.h"

namespace tavorin {

namespace {

// Multiplied first: 1e9 / 48000 truncates to 20833 ns a frame, and the port would run 16 ppm fast.
constexpr long kBlockNanoseconds = 1'000'000'000L * ClockedAudioPort::kBlockFrames / kCommonSampleRate;
static_assert(kBlockNanoseconds * kCommonSampleRate == 1'000'000'000L * ClockedAudioPort::kBlockFrames);

void advance(timespec& at, long nanoseconds) {
  at.tv_nsec += nanoseconds;
  while (at.tv_nsec >= 1'000'000'000L) {
    at.tv_nsec -= 1'000'000'000L;
    ++at.tv_sec;
  }
}

}  // namespace

ClockedAudioPort::ClockedAudioPort(AudioRender render) : render_(std::move(render)) {}

ClockedAudioPort::~ClockedAudioPort() { stop(); }

bool ClockedAudioPort::start(std::string*) {
  if (running_) return true;
  running_ = true;
  thread_ = std::thread([this] { run(); });
  return true;
}

void ClockedAudioPort::stop() {
  running_ = false;
  if (thread_.joinable()) thread_.join();
}

void ClockedAudioPort::run() {
  nameThisThread("Tavorin.Program");
  std::vector<float> left(kBlockFrames), right(kBlockFrames);
  timespec due{};
  clock_gettime(CLOCK_MONOTONIC, &due);
  while (running_) {
    render_(left.data(), right.data(), kBlockFrames);
    advance(due, kBlockNanoseconds);
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    // Far behind (a suspended machine): start again from now rather than catch up in a burst.
    if (now.tv_sec > due.tv_sec + 1) due = now;
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &due, nullptr);
  }
}

}  // namespace tavorin
