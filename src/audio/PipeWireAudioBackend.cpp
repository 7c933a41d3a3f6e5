#include "audio/PipeWireAudioBackend.h"

#include <cmath>

#include "base/HostTime.h"
#include "platform/pipewire/PipeWireCaptureStream.h"
#include "platform/pipewire/PipeWireLoop.h"
#include "platform/pipewire/PipeWirePlaybackStream.h"
#include "platform/pipewire/PipeWireRegistry.h"

namespace tavorin {

namespace {

// Nothing for 24-in-32 samples, which capture streams never ask for.
std::optional<PcmSampleFormat> pcmFormat(SampleFormat format) {
  switch (format) {
    case SampleFormat::f32: return PcmSampleFormat::f32;
    case SampleFormat::f32Planar: return PcmSampleFormat::f32Planar;
    case SampleFormat::s16: return PcmSampleFormat::s16;
    case SampleFormat::s32: return PcmSampleFormat::s32;
    case SampleFormat::s24_32: break;
  }
  return std::nullopt;
}

// A stream that stops on its own (its device went away) tells the mixer, which rebuilds.
template <class Stream>
class StreamPort final : public AudioPort {
 public:
  template <class... Args>
  StreamPort(MainQueue& queue, std::shared_ptr<std::function<void()>> devicesChanged, Args&&... args)
      : stream_(std::forward<Args>(args)...) {
    std::weak_ptr<std::function<void()>> weak = devicesChanged;
    stream_.onStateChanged = [&queue, weak](PipeWirePlaybackStream::State state, const std::string&) {
      if (state != PipeWirePlaybackStream::State::error && state != PipeWirePlaybackStream::State::unconnected) return;
      queue.post([weak] {
        if (auto notify = weak.lock(); notify && *notify) (*notify)();
      });
    };
  }
  bool start(std::string* error) override { return stream_.start(error); }
  void stop() override { stream_.stop(); }

 private:
  Stream stream_;
};

class PipeWireAudioBackend final : public AudioBackend {
 public:
  explicit PipeWireAudioBackend(MainQueue& queue)
      : queue_(queue),
        notify_(std::make_shared<std::function<void()>>([this] {
          if (onStreamInterrupted) onStreamInterrupted();
        })),
        listChanged_(std::make_shared<std::function<void()>>([this] {
          if (onDevicesChanged) onDevicesChanged();
        })),
        registry_(loop_, [this] {
          std::weak_ptr<std::function<void()>> weak = listChanged_;
          queue_.post([weak] {
            if (auto changed = weak.lock()) (*changed)();
          });
        }) {
    registry_.waitUntilSynced();
  }

  ~PipeWireAudioBackend() override {
    notify_.reset();
    listChanged_.reset();
  }

  std::vector<AudioOutputDevice> outputDevices() const override {
    std::vector<AudioOutputDevice> devices;
    for (const AudioNodeInfo& node : registry_.nodes()) {
      if (node.isOutput()) devices.push_back({node.id, node.description, node.name});
    }
    return devices;
  }

  std::vector<AudioInputDevice> inputDevices() const override {
    std::vector<AudioInputDevice> devices;
    for (const AudioNodeInfo& node : registry_.nodes()) {
      if (node.isInput()) devices.push_back({node.name, node.description});
    }
    return devices;
  }

  std::optional<std::string> defaultOutputUID() const override { return registry_.defaultSinkName(); }

  std::unique_ptr<AudioPort> makeOutput(const AudioOutputDevice& device, const std::string& streamName,
                                        AudioRender render) override {
    return std::make_unique<StreamPort<PipeWirePlaybackStream>>(queue_, notify_, loop_, streamName, device.uid,
                                                                std::move(render));
  }

  std::unique_ptr<AudioPort> makeCapture(const std::string& deviceID, const std::string& streamName,
                                         AudioDeliver deliver) override {
    // A sink offered as an input (our own virtual sinks) is heard through its monitor.
    const auto node = registry_.nodeNamed(deviceID);
    const bool captureSink = node && node->mediaClass == "Audio/Sink";
    auto onBlock = [deliver = std::move(deliver)](const StreamFormat& format, const void* const* planes,
                                                  std::uint32_t frames, double captured) {
      const auto sampleFormat = pcmFormat(format.format);
      if (!sampleFormat) return;
      // A stamp far from now is a clock that cannot be trusted: the block is timed by its arrival instead.
      if (std::fabs(captured - hostTimeNow()) > 1.0) captured = -1;
      deliver(PcmFormat{format.sampleRate, format.channels, *sampleFormat}, planes, frames, captured);
    };
    return std::make_unique<StreamPort<PipeWireCaptureStream>>(queue_, notify_, loop_, streamName, deviceID,
                                                               captureSink, std::move(onBlock));
  }

 private:
  MainQueue& queue_;
  PipeWireLoop loop_;
  std::shared_ptr<std::function<void()>> notify_;       // a stream was interrupted
  std::shared_ptr<std::function<void()>> listChanged_;  // the registry's device list changed
  PipeWireRegistry registry_;
};

}  // namespace

std::unique_ptr<AudioBackend> makePipeWireAudioBackend(MainQueue& queue, std::string* error) {
  try {
    return std::make_unique<PipeWireAudioBackend>(queue);
  } catch (const PipeWireFailure& failure) {
    if (error) *error = failure.what();
    return nullptr;
  }
}

}  // namespace tavorin
