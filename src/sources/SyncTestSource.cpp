#include "sources/SyncTestSource.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/HostTimeSleep.h"
#include "base/ThreadName.h"

namespace tavorin {

namespace {

struct Bgra {
  std::uint8_t b, g, r, a;
};

constexpr Bgra kField{24, 24, 24, 255};
constexpr Bgra kFlash{255, 255, 255, 255};
constexpr Bgra kBar{0, 210, 255, 255};
constexpr Bgra kDigits{200, 200, 200, 255};
constexpr int kBarWidth = SyncTestSource::kWidth / 48;

// Segments a (top) to g (middle) of each digit, bit 0 to bit 6.
constexpr std::uint8_t kSegments[10] = {0x3F, 0x06, 0x5B, 0x4F, 0x66, 0x6D, 0x7D, 0x07, 0x7F, 0x6F};

struct Rect {
  int x, y, w, h;
};

void fillRect(PixelBuffer& buffer, Rect r, Bgra color) {
  const int x0 = std::clamp(r.x, 0, buffer.width()), x1 = std::clamp(r.x + r.w, 0, buffer.width());
  const int y0 = std::clamp(r.y, 0, buffer.height()), y1 = std::clamp(r.y + r.h, 0, buffer.height());
  for (int row = y0; row < y1; ++row) {
    auto* pixel = reinterpret_cast<Bgra*>(buffer.row(row));
    std::fill(pixel + x0, pixel + x1, color);
  }
}

// A seven-segment digit whose box is w by h with strokes t thick.
void drawDigit(PixelBuffer& buffer, int digit, int x, int y, int w, int h, int t) {
  const int half = h / 2;
  const Rect segments[7] = {{x, y, w, t},           {x + w - t, y, t, half}, {x + w - t, y + half, t, h - half},
                            {x, y + h - t, w, t},   {x, y + half, t, h - half}, {x, y, t, half},
                            {x, y + half - t / 2, w, t}};
  for (int s = 0; s < 7; ++s) {
    if (kSegments[digit] & (1 << s)) fillRect(buffer, segments[s], kDigits);
  }
}

// `value` centred on (cx, top), digits `h` high, without leading zeros.
void drawNumber(PixelBuffer& buffer, std::int64_t value, int cx, int top, int h) {
  int digits[20];
  int count = 0;
  do {
    digits[count++] = static_cast<int>(value % 10);
    value /= 10;
  } while (value > 0 && count < 20);
  const int w = h / 2, t = h / 10, gap = h / 5;
  const int total = count * w + (count - 1) * gap;
  int x = cx - total / 2;
  for (int i = count - 1; i >= 0; --i, x += w + gap) drawDigit(buffer, digits[i], x, top, w, h, t);
}

std::int64_t floorDiv(std::int64_t a, std::int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

}  // namespace

SyncTestSource::SyncTestSource(std::string id, std::string displayName, double epoch)
    : BaseSource(std::move(id), std::move(displayName), SourceKind::syncTest), epoch_(epoch) {}

SyncTestSource::~SyncTestSource() { stop(); }

void SyncTestSource::start(StartDone done) {
  if (!thread_.joinable()) {
    producing_ = true;
    thread_ = std::thread([this] { run(); });
  }
  setRunning(true);
  if (done) done(std::nullopt);
}

void SyncTestSource::stop() {
  producing_ = false;
  if (thread_.joinable()) thread_.join();
  setRunning(false);
}

FrameRef SyncTestSource::drawFrame(std::int64_t index) {
  PixelBufferRef frame = pool_.acquire();
  if (!frame) return nullptr;
  const std::int64_t second = floorDiv(index, kFrameRate);
  const int phase = static_cast<int>(index - second * kFrameRate);
  // Only the frame on the second flashes: a late thread that skipped it
  // shows none that second rather than one off its beep.
  if (phase == 0) {
    frame->fill(kFlash.b, kFlash.g, kFlash.r, kFlash.a);
  } else {
    frame->fill(kField.b, kField.g, kField.r, kField.a);
    fillRect(*frame, {phase * kWidth / kFrameRate, 0, kBarWidth, kHeight}, kBar);
    drawNumber(*frame, std::max<std::int64_t>(second, 0), kWidth / 2, kHeight * 3 / 10, kHeight * 3 / 10);
    drawNumber(*frame, phase, kWidth / 2, kHeight * 7 / 10, kHeight / 10);
  }
  frame->setHostTime(frameTime(index));
  return frame;
}

void SyncTestSource::run() {
  nameThisThread("Tavorin.SyncTest");
  auto dueAt = [this](double hostTime) {
    return std::max<std::int64_t>(0, static_cast<std::int64_t>(std::floor((hostTime - epoch_) * kFrameRate)));
  };
  std::int64_t index = dueAt(hostTimeNow());
  if (frameTime(index) < hostTimeNow()) ++index;
  while (producing_.load(std::memory_order_relaxed)) {
    sleepUntilHostTime(frameTime(index));
    if (FrameRef frame = drawFrame(index)) publish(std::move(frame));
    // A late thread goes on with the frame due now instead of bursting through the ones it missed.
    index = std::max(index + 1, dueAt(hostTimeNow()));
  }
}

}  // namespace tavorin
