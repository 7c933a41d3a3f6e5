#include "platform/media/StreamVideoDecoder.h"

#include <array>

#include "base/ThreadName.h"
#include "platform/media/AvcConfiguration.h"
#include "platform/media/ClipPictureConverter.h"
#include "platform/media/FFmpegPointers.h"

namespace tavorin {

bool holdsKeyFrame(const std::vector<std::uint8_t>& accessUnit, StreamVideoFormat::Codec codec) {
  if (codec == StreamVideoFormat::Codec::h265) {
    for (auto nal : avc::splitAnnexB(accessUnit)) {
      const int type = (nal[0] >> 1) & 0x3F;
      if (type >= 16 && type <= 21) return true;  // BLA, IDR and CRA pictures
    }
    return false;
  }
  std::size_t at = 0;
  while (at + 4 < accessUnit.size()) {
    const std::size_t size = (std::size_t(accessUnit[at]) << 24) | (std::size_t(accessUnit[at + 1]) << 16) |
                             (std::size_t(accessUnit[at + 2]) << 8) | accessUnit[at + 3];
    if (size > 0 && (accessUnit[at + 4] & 31) == 5) return true;
    at += 4 + size;
  }
  return false;
}

// One libavcodec decoder for one configuration, slice-threaded: frame
// threads would hold pictures back by a frame each.
class StreamVideoDecoder::Codec {
 public:
  static std::unique_ptr<Codec> open(const Configuration& configuration, std::string& error) {
    const bool h265 = configuration->codec == StreamVideoFormat::Codec::h265;
    const AVCodec* codec = avcodec_find_decoder(h265 ? AV_CODEC_ID_HEVC : AV_CODEC_ID_H264);
    if (!codec) {
      error = h265 ? "no H.265 decoder" : "no H.264 decoder";
      return nullptr;
    }
    auto made = std::unique_ptr<Codec>(new Codec);
    made->configuration_ = configuration;
    made->context_.reset(avcodec_alloc_context3(codec));
    AVCodecContext* context = made->context_.get();
    const auto& extradata = configuration->extradata;
    ffmpeg::setExtradata(context, extradata.data(), extradata.size());
    context->thread_type = FF_THREAD_SLICE;
    context->thread_count = 0;
    context->flags |= AV_CODEC_FLAG_LOW_DELAY;
    if (const int result = avcodec_open2(context, codec, nullptr); result < 0) {
      error = ffmpeg::errorText(result);
      return nullptr;
    }
    made->packet_.reset(av_packet_alloc());
    made->frame_.reset(av_frame_alloc());
    return made;
  }

  const Configuration& configuration() const { return configuration_; }

  void decode(std::vector<std::uint8_t>& bytes, const StreamVideoStamp& stamp, const FrameSink& sink) {
    if (av_new_packet(packet_.get(), static_cast<int>(bytes.size())) < 0) return;
    std::copy(bytes.begin(), bytes.end(), packet_->data);
    // The unit's number rides as the packet's time stamp to its picture, which finds its stamp by it.
    const std::int64_t number = next_++;
    stamps_[static_cast<std::size_t>(number) % stamps_.size()] = stamp;
    packet_->pts = number;
    const int sent = avcodec_send_packet(context_.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (sent < 0 && sent != AVERROR(EAGAIN)) return;
    while (avcodec_receive_frame(context_.get(), frame_.get()) == 0) {
      StreamVideoStamp found;
      if (frame_->pts != AV_NOPTS_VALUE && frame_->pts >= 0 && next_ - frame_->pts <= std::int64_t(stamps_.size())) {
        found = stamps_[static_cast<std::size_t>(frame_->pts) % stamps_.size()];
      }
      if (auto picture = converter_.convert(*frame_); picture && sink) sink(std::move(picture), found);
      av_frame_unref(frame_.get());
    }
  }

 private:
  Codec() = default;
  Configuration configuration_;
  ffmpeg::CodecContextPtr context_;
  ffmpeg::PacketPtr packet_;
  ffmpeg::FramePtr frame_;
  ClipPictureConverter converter_;
  // Stamps of the units in flight, by unit number; a decoder holds far fewer than this back.
  std::array<StreamVideoStamp, 64> stamps_{};
  std::int64_t next_ = 0;
};

StreamVideoDecoder::StreamVideoDecoder(FrameSink frames, FailureSink failure)
    : frames_(std::move(frames)), failure_(std::move(failure)), thread_([this] { run(); }) {}

StreamVideoDecoder::~StreamVideoDecoder() {
  {
    std::lock_guard guard(lock_);
    stopping_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void StreamVideoDecoder::decode(std::vector<std::uint8_t> accessUnit, Configuration configuration, StreamVideoStamp stamp) {
  {
    std::lock_guard guard(lock_);
    if (waitForKeyFrame_) {
      if (!holdsKeyFrame(accessUnit, configuration->codec)) return;
      waitForKeyFrame_ = false;
    }
    if (queue_.size() >= kMaxQueued) {
      // Behind: what waits would show late; the next key frame starts clean.
      queue_.clear();
      waitForKeyFrame_ = !holdsKeyFrame(accessUnit, configuration->codec);
      if (waitForKeyFrame_) return;
    }
    queue_.push_back({std::move(accessUnit), std::move(configuration), stamp});
  }
  wake_.notify_one();
}

void StreamVideoDecoder::run() {
  nameThisThread("Tavorin.RTSPDecode");
  std::unique_ptr<Codec> codec;
  Configuration failed;
  for (;;) {
    Unit unit;
    {
      std::unique_lock guard(lock_);
      wake_.wait(guard, [&] { return stopping_ || !queue_.empty(); });
      if (stopping_) return;
      unit = std::move(queue_.front());
      queue_.pop_front();
    }
    if (!codec || codec->configuration() != unit.configuration) {
      codec.reset();
      // A configuration that failed once is not tried again for every unit.
      if (unit.configuration == failed) continue;
      std::string error;
      codec = Codec::open(unit.configuration, error);
      if (!codec) {
        failed = unit.configuration;
        if (failure_) failure_(error);
        continue;
      }
    }
    codec->decode(unit.bytes, unit.stamp, frames_);
  }
}

}  // namespace tavorin
