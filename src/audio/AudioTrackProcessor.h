#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "audio/AudioLiveFeed.h"
#include "audio/dsp/FilterChain.h"
#include "base/PcmBuffer.h"
#include "base/PcmFormat.h"
#include "platform/media/AudioConverter.h"

namespace tavorin {

class AudioLog;

// One mixer channel: takes what its source delivers, brings it to the common
// format, runs its filters, measures it, hands a copy to the track recorder
// and writes it into one ring per bus. It does not mix: the buses apply the gains.
class AudioTrackProcessor {
 public:
  // `time`: the block's stamp when it came with one, else when it was processed.
  using RecordTap = std::function<void(const PcmBuffer& buffer, double time)>;
  using Feeds = std::map<std::string, std::shared_ptr<AudioLiveFeed>>;

  // A clip channel plays whole clips through `playClip` rather than a live stream.
  AudioTrackProcessor(std::string id, std::string name, AudioLog* log = nullptr, bool isClipChannel = false);
  virtual ~AudioTrackProcessor();
  AudioTrackProcessor(const AudioTrackProcessor&) = delete;
  AudioTrackProcessor& operator=(const AudioTrackProcessor&) = delete;

  const std::string id;
  const std::string name;
  const bool isClipChannel;

  // Capture control; plain channels fed by a source have nothing to start.
  virtual void start() {}
  virtual void stop() {}

  // Capture thread: a block as the source delivers it, stamped with its
  // presentation time in seconds (negative when unknown).
  void ingest(const PcmFormat& format, const void* const* planes, std::uint32_t frames, double pts);
  // Capture thread: a block of float planes, captured at host time
  // `captured` (negative: it arrived just now, its length after it began).
  void ingest(const PcmBuffer& buffer, double captured = -1);
  // Capture thread: a block in the common format, stamped with when its
  // first frame was captured or made (negative: it arrived just now).
  void process(PcmBuffer& buffer, double captured = -1);

  // Main thread, clip channels: brings `clip` to the common format, runs the
  // channel's filters over it and starts it on every bus at once, stopping
  // what played. Returns the clip as it plays; null when it cannot be converted.
  std::shared_ptr<const PcmBuffer> playClip(const PcmBuffer& clip);
  // Main thread, clip channels: silence on every bus.
  void stopClip();

  const std::shared_ptr<AudioLiveFeed>& programFeed() const { return programFeed_; }
  // Main thread: the feed of a monitor bus, made on first use.
  std::shared_ptr<AudioLiveFeed> monitorFeed(const std::string& busID);
  void removeMonitorFeed(const std::string& busID);
  Feeds monitorFeeds() const;

  void setRecordTap(RecordTap tap);
  // The channel's filter stages, run first on every block; prepared for the common format.
  FilterChain filterChain;
  // Latest level, post-filter and pre-fader; the meter tick halves it.
  std::atomic<float> meterLevel{0};

 protected:
  void log(const std::string& message) const;

 private:
  void logCaptureFormat(const PcmFormat& format, std::uint32_t frames, double pts);
  void checkTimeline(double pts, std::uint32_t frames, int sampleRate);
  // The filters, the record tap and the rings, for a block already in the common format.
  void deliver(PcmBuffer& buffer, double captured);

  AudioLog* log_;
  std::shared_ptr<AudioLiveFeed> programFeed_;
  mutable std::mutex feedsLock_;
  Feeds monitorFeeds_;
  std::atomic<std::shared_ptr<const RecordTap>> recordTap_;
  // Capture thread only.
  std::unique_ptr<AudioConverter> converter_;
  double diagPTSEnd_ = -1;
  std::optional<PcmFormat> diagFormat_;
  int diagGaps_ = 0;
};

}  // namespace tavorin
