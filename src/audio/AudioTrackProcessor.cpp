#include "audio/AudioTrackProcessor.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "audio/AudioLog.h"
#include "base/HostTime.h"

namespace tavorin {

namespace {

const char* formatName(PcmSampleFormat format) {
  switch (format) {
    case PcmSampleFormat::f32: return "32-bit float";
    case PcmSampleFormat::f32Planar: return "32-bit float planar";
    case PcmSampleFormat::s16: return "16-bit";
    case PcmSampleFormat::s32: return "32-bit";
  }
  return "";
}

}  // namespace

AudioTrackProcessor::AudioTrackProcessor(std::string channelID, std::string channelName, AudioLog* log,
                                         bool clipChannel)
    : id(std::move(channelID)),
      name(std::move(channelName)),
      isClipChannel(clipChannel),
      log_(log),
      programFeed_(std::make_shared<AudioLiveFeed>(clipChannel)) {
  filterChain.prepare(kCommonSampleRate, kCommonChannels);
}

AudioTrackProcessor::~AudioTrackProcessor() = default;

void AudioTrackProcessor::log(const std::string& message) const {
  if (log_) log_->append(message);
}

void AudioTrackProcessor::logCaptureFormat(const PcmFormat& format, std::uint32_t frames, double pts) {
  if (diagFormat_ != format) {
    char text[96];
    std::snprintf(text, sizeof text, "%d Hz · %d ch · %s", format.sampleRate, format.channels,
                  formatName(format.sampleFormat));
    log("[" + id + "] capture format: " + text);
    diagFormat_ = format;
    diagPTSEnd_ = -1;
  }
  checkTimeline(pts, frames, format.sampleRate);
}

void AudioTrackProcessor::checkTimeline(double pts, std::uint32_t frames, int sampleRate) {
  if (pts < 0 || sampleRate <= 0) return;
  const double jump = (pts - diagPTSEnd_) * 1000;
  if (diagPTSEnd_ >= 0 && std::fabs(jump) > 1.0) {
    ++diagGaps_;
    char line[96];
    std::snprintf(line, sizeof line, "] capture timeline jump %+.2f ms (#%d)", jump, diagGaps_);
    log("[" + id + line);
  }
  diagPTSEnd_ = pts + static_cast<double>(frames) / sampleRate;
}

void AudioTrackProcessor::ingest(const PcmFormat& format, const void* const* planes, std::uint32_t frames, double pts) {
  logCaptureFormat(format, frames, pts);
  if (frames == 0 || !planes) return;
  if (!converter_ || converter_->input() != format) converter_ = std::make_unique<AudioConverter>(format);
  // Without the device's own stamp, the block began its length before it arrived.
  const double captured =
      pts >= 0 ? pts : hostTimeNow() - static_cast<double>(frames) / std::max(format.sampleRate, 1);
  if (auto converted = converter_->convert(planes, frames)) deliver(*converted, captured);
}

void AudioTrackProcessor::ingest(const PcmBuffer& buffer, double captured) {
  if (captured < 0) captured = hostTimeNow() - static_cast<double>(buffer.frameLength) / std::max(buffer.sampleRate, 1);
  if (buffer.isCommonFormat()) {
    PcmBuffer copy = buffer;
    deliver(copy, captured);
    return;
  }
  const PcmFormat format{buffer.sampleRate, buffer.channelCount(), PcmSampleFormat::f32Planar};
  if (!converter_ || converter_->input() != format) converter_ = std::make_unique<AudioConverter>(format);
  if (auto converted = converter_->convert(buffer)) deliver(*converted, captured);
}

void AudioTrackProcessor::process(PcmBuffer& buffer, double captured) {
  checkTimeline(captured, buffer.frameLength, buffer.sampleRate);
  deliver(buffer, captured);
}

void AudioTrackProcessor::deliver(PcmBuffer& buffer, double captured) {
  if (captured < 0) captured = hostTimeNow() - static_cast<double>(buffer.frameLength) / kCommonSampleRate;
  // Every later stage hears the filtered signal.
  float* planes[kCommonChannels] = {};
  const int channels = std::min(buffer.channelCount(), kCommonChannels);
  for (int c = 0; c < channels; ++c) planes[c] = buffer.planes[static_cast<std::size_t>(c)].data();
  if (channels > 0) filterChain.process(planes, channels, buffer.frameLength);
  if (auto tap = recordTap_.load(std::memory_order_acquire)) (*tap)(buffer, captured);
  meterLevel.store(tavorin::meterLevel(buffer), std::memory_order_relaxed);
  programFeed_->ring.write(buffer, captured);
  // Ring writes never block or allocate: they run under the lock, not on a copy of the map.
  std::lock_guard guard(feedsLock_);
  for (const auto& [bus, feed] : monitorFeeds_) feed->ring.write(buffer, captured);
}

std::shared_ptr<const PcmBuffer> AudioTrackProcessor::playClip(const PcmBuffer& clip) {
  if (!isClipChannel || clip.frameLength == 0 || clip.planes.empty()) return nullptr;
  std::optional<PcmBuffer> converted;
  if (clip.isCommonFormat()) {
    converted = clip;
  } else {
    AudioConverter converter(PcmFormat{clip.sampleRate, clip.channelCount(), PcmSampleFormat::f32Planar});
    converted = converter.convertWhole(clip);
  }
  if (!converted || converted->frameLength == 0) return nullptr;
  // The whole clip goes through the filters now, in the blocks a live channel would have.
  for (std::uint32_t at = 0; at < converted->frameLength; at += kProgramBlockFrames) {
    const std::uint32_t n = std::min(kProgramBlockFrames, converted->frameLength - at);
    float* planes[kCommonChannels] = {converted->planes[0].data() + at, converted->planes[1].data() + at};
    filterChain.process(planes, kCommonChannels, n);
  }
  auto shared = std::make_shared<const PcmBuffer>(std::move(*converted));
  programFeed_->clip->play(shared);
  for (const auto& [bus, feed] : monitorFeeds()) feed->clip->play(shared);
  return shared;
}

void AudioTrackProcessor::stopClip() {
  if (!isClipChannel) return;
  programFeed_->clip->stop();
  for (const auto& [bus, feed] : monitorFeeds()) feed->clip->stop();
}

std::shared_ptr<AudioLiveFeed> AudioTrackProcessor::monitorFeed(const std::string& busID) {
  std::lock_guard guard(feedsLock_);
  auto& feed = monitorFeeds_[busID];
  if (!feed) feed = std::make_shared<AudioLiveFeed>(isClipChannel);
  return feed;
}

void AudioTrackProcessor::removeMonitorFeed(const std::string& busID) {
  std::shared_ptr<AudioLiveFeed> gone;
  std::lock_guard guard(feedsLock_);
  if (auto it = monitorFeeds_.find(busID); it != monitorFeeds_.end()) {
    gone = std::move(it->second);
    monitorFeeds_.erase(it);
  }
}

AudioTrackProcessor::Feeds AudioTrackProcessor::monitorFeeds() const {
  std::lock_guard guard(feedsLock_);
  return monitorFeeds_;
}

void AudioTrackProcessor::setRecordTap(RecordTap tap) {
  recordTap_.store(tap ? std::make_shared<const RecordTap>(std::move(tap)) : nullptr, std::memory_order_release);
}

}  // namespace tavorin
