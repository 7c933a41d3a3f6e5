#include "outputs/ReplayMux.h"

#include <algorithm>
#include <chrono>

#include "platform/media/AudioEncoder.h"
#include "platform/media/MovieMuxer.h"

namespace tavorin {

namespace {

constexpr std::int64_t kAudioBitRate = 256'000;
constexpr int kAudioRate = 48000;
// A block starting this much before the first picture may still reach into it.
constexpr double kAudioLead = 0.05;
// The writer works synchronously; this bounds the whole of it.
constexpr auto kTimeLimit = std::chrono::seconds(60);

// The AAC packets of the held sound from the first picture on; none when the
// encoder cannot take it (the movie then has no sound).
std::vector<EncodedAudioSample> encodeSound(const std::vector<AudioBlockRef>& audio, double start) {
  std::vector<EncodedAudioSample> packets;
  const auto first = std::find_if(audio.begin(), audio.end(), [&](const AudioBlockRef& block) {
    return block && block->hostTime() >= start - kAudioLead;
  });
  if (first == audio.end()) return packets;
  EncoderError error;
  AudioEncoding encoding;
  encoding.bitRate = kAudioBitRate;
  encoding.sampleRate = kAudioRate;
  auto encoder = AudioEncoder::open(encoding, (*first)->sampleRate(), (*first)->channelCount(), error);
  if (!encoder) return packets;
  EncodedAudioSample packet;
  auto take = [&] {
    while (encoder->receive(packet, error)) {
      if (packet.pts >= start) packets.push_back(std::move(packet));
      packet = {};
    }
  };
  for (auto block = first; block != audio.end(); ++block) {
    // A block of another shape (the mix changed format) is a gap, like a block lost.
    if ((*block)->sampleRate() != encoder->inputRate() || (*block)->channelCount() != encoder->inputChannels()) continue;
    if (encoder->send(**block) != EncoderError::none) continue;
    take();
  }
  if (encoder->flush() == EncoderError::none) take();
  return packets;
}

}  // namespace

std::optional<double> muxReplay(std::vector<EncodedVideoSampleRef> video, const std::vector<AudioBlockRef>& audio,
                                const std::filesystem::path& file, const std::function<void(const std::string&)>& log) {
  const auto began = std::chrono::steady_clock::now();
  const auto key = std::find_if(video.begin(), video.end(), [](const auto& sample) { return sample && sample->isKeyFrame; });
  video.erase(video.begin(), key);
  if (video.empty() || !video.front()->format) return std::nullopt;
  std::error_code ignored;
  std::filesystem::remove(file, ignored);

  // The movie's zero is the first picture's decode time; with no reordering it is also when it shows.
  const double origin = std::min(video.front()->dts, video.front()->pts);
  const auto sound = encodeSound(audio, origin);
  std::optional<AudioFormatDescription> soundFormat;
  if (!sound.empty() && sound.front().format) soundFormat = *sound.front().format;

  MovieMuxer muxer;
  std::string error;
  if (!muxer.open(file, *video.front()->format, soundFormat, &error)) {
    log("Replay mux: startWriting failed — " + (error.empty() ? std::string("unknown") : error));
    std::filesystem::remove(file, ignored);
    return std::nullopt;
  }
  auto discard = [&](const std::string& line) {
    muxer.close();
    log(line);
    std::filesystem::remove(file, ignored);
    return std::nullopt;
  };
  // Interleaved by time, as a player reads them.
  std::size_t a = 0;
  bool written = true;
  for (const auto& picture : video) {
    for (; a < sound.size() && sound[a].pts <= picture->dts && written; ++a) {
      written = muxer.writeAudio(sound[a], sound[a].pts - origin);
    }
    if (!written || !muxer.writeVideo(*picture, picture->pts - origin, picture->dts - origin)) {
      return discard("Replay mux failed: the movie could not be written");
    }
    if (std::chrono::steady_clock::now() - began > kTimeLimit) return discard("Replay mux timed out — no writer error");
  }
  // The last picture lasts as long as the one before it; sound stops with it.
  const double frame = video.size() > 1 ? video.back()->pts - video[video.size() - 2]->pts : 1 / 30.0;
  const double end = video.back()->pts + frame;
  for (; a < sound.size() && sound[a].pts < end && written; ++a) {
    written = muxer.writeAudio(sound[a], sound[a].pts - origin);
  }
  if (!written || !muxer.close()) {
    log("Replay mux failed: the movie could not be finished");
    std::filesystem::remove(file, ignored);
    return std::nullopt;
  }
  return end - origin;
}

}  // namespace tavorin
