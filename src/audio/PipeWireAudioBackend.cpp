#include "audio/PipeWireAudioBackend.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>

#include "base/HostTime.h"
#include "platform/pipewire/PipeWireCaptureStream.h"
#include "platform/pipewire/PipeWireLinks.h"
#include "platform/pipewire/PipeWireLoop.h"
#include "platform/pipewire/PipeWireNullAudioNode.h"
#include "platform/pipewire/PipeWirePlaybackStream.h"
#include "platform/pipewire/PipeWireRegistry.h"
#include "platform/pipewire/PipeWireVirtualDevices.h"

namespace tavorin {

namespace {

// Our private application-capture sinks: never offered as devices.
constexpr std::string_view captureSinkPrefix = "tavorin_capture_";

// Names unique to this process, for the nodes it links by hand.
std::string uniqueNodeName(std::string_view prefix) {
  static std::atomic<int> counter{0};
  return std::string(prefix) + std::to_string(::getpid()) + "_" + std::to_string(++counter);
}

// Our own streams, by name or by process, are never an application's sound.
bool isOwnApplication(const AudioStreamInfo& stream) {
  return stream.appID == PipeWireLoop::applicationID || stream.processID == ::getpid();
}

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

PipeWireCaptureStream::Deliver blocksFor(AudioDeliver deliver) {
  return [deliver = std::move(deliver)](const StreamFormat& format, const void* const* planes, std::uint32_t frames,
                                        double captured) {
    const auto sampleFormat = pcmFormat(format.format);
    if (!sampleFormat) return;
    // A stamp far from now is a clock that cannot be trusted: the block is timed by its arrival instead.
    if (std::fabs(captured - hostTimeNow()) > 1.0) captured = -1;
    deliver(PcmFormat{format.sampleRate, format.channels, *sampleFormat}, planes, frames, captured);
  };
}

// One main-thread call for a burst of triggers from the loop thread.
struct CoalescedSignal {
  std::function<void()> action;
  std::atomic<bool> pending{false};

  static void raise(MainQueue& queue, const std::shared_ptr<CoalescedSignal>& signal) {
    if (signal->pending.exchange(true)) return;
    std::weak_ptr<CoalescedSignal> weak = signal;
    queue.post([weak] {
      auto self = weak.lock();
      if (!self) return;
      self->pending = false;
      if (self->action) self->action();
    });
  }
};

std::unique_ptr<PipeWireLinks> keepLinked(PipeWireLoop& loop, PipeWireRegistry& registry, PipeWireLinks::Rule rule,
                                          std::string* error) {
  try {
    return std::make_unique<PipeWireLinks>(loop, registry, std::move(rule));
  } catch (const PipeWireFailure& failure) {
    if (error) *error = failure.what();
    return nullptr;
  }
}

// A stream that stops on its own (its device went away) tells the mixer, which rebuilds.
template <class Stream>
void reportInterruptions(Stream& stream, MainQueue& queue, const std::shared_ptr<CoalescedSignal>& interrupted) {
  std::weak_ptr<CoalescedSignal> weak = interrupted;
  stream.onStateChanged = [&queue, weak](PipeWirePlaybackStream::State state, const std::string&) {
    if (state != PipeWirePlaybackStream::State::error && state != PipeWirePlaybackStream::State::unconnected) return;
    if (auto signal = weak.lock()) CoalescedSignal::raise(queue, signal);
  };
}

template <class Stream>
class StreamPort final : public AudioPort {
 public:
  template <class... Args>
  StreamPort(MainQueue& queue, const std::shared_ptr<CoalescedSignal>& interrupted, Args&&... args)
      : stream_(std::forward<Args>(args)...) {
    reportInterruptions(stream_, queue, interrupted);
  }
  bool start(std::string* error) override { return stream_.start(error); }
  void stop() override { stream_.stop(); }

 private:
  Stream stream_;
};

// Playback into a virtual source: a stream the session manager leaves alone,
// linked by us into the source's inputs whenever both are there.
class SourceFeedPort final : public AudioPort {
 public:
  SourceFeedPort(MainQueue& queue, const std::shared_ptr<CoalescedSignal>& interrupted, PipeWireLoop& loop,
                 PipeWireRegistry& registry, std::string sourceUID, const std::string& streamName, AudioRender render)
      : loop_(loop),
        registry_(registry),
        sourceUID_(std::move(sourceUID)),
        nodeName_(uniqueNodeName("tavorin_feed_")),
        stream_(loop, streamName, "", std::move(render)) {
    stream_.leaveUnlinked(nodeName_);
    reportInterruptions(stream_, queue, interrupted);
  }
  ~SourceFeedPort() override { stop(); }

  bool start(std::string* error) override {
    if (!stream_.start(error)) return false;
    auto rule = [feed = nodeName_, source = sourceUID_](const AudioGraph& graph) {
      const auto from = graph.nodeIDNamed(feed);
      const auto to = graph.nodeIDNamed(source);
      if (!from || !to) return std::vector<PortLink>{};
      return pairChannels(graph.portsOf(*from, true), graph.portsOf(*to, false));
    };
    links_ = keepLinked(loop_, registry_, std::move(rule), error);
    if (links_) return true;
    stream_.stop();
    return false;
  }
  void stop() override {
    links_.reset();
    stream_.stop();
  }

 private:
  PipeWireLoop& loop_;
  PipeWireRegistry& registry_;
  const std::string sourceUID_;
  const std::string nodeName_;
  PipeWirePlaybackStream stream_;
  std::unique_ptr<PipeWireLinks> links_;
};

// What applications play: their streams linked into a hidden sink of our own
// (links fan out, so they still play where they did), whose monitor we capture.
class ApplicationCapturePort final : public AudioPort {
 public:
  ApplicationCapturePort(MainQueue& queue, const std::shared_ptr<CoalescedSignal>& interrupted, PipeWireLoop& loop,
                         PipeWireRegistry& registry, ApplicationAudioFilter filter, std::string streamName,
                         AudioDeliver deliver)
      : queue_(queue),
        interrupted_(interrupted),
        loop_(loop),
        registry_(registry),
        filter_(std::move(filter)),
        streamName_(std::move(streamName)),
        deliver_(std::move(deliver)) {}
  ~ApplicationCapturePort() override { stop(); }

  bool start(std::string* error) override {
    if (stream_) return true;
    const std::string sinkName = uniqueNodeName(captureSinkPrefix);
    sink_ = std::make_unique<PipeWireNullAudioNode>(
        loop_, NullAudioNodeSetup{sinkName, "Tavorin application capture", "Audio/Sink", false, true});
    if (!sink_->create(error)) {
      sink_.reset();
      return false;
    }
    links_ = keepLinked(
        loop_, registry_, [this, sinkName](const AudioGraph& graph) { return linksInto(graph, sinkName); }, error);
    if (!links_) {
      stop();
      return false;
    }
    // The session manager links the sink's monitor to the stream once it knows the sink.
    for (int i = 0; i < 4 && !registry_.nodeNamed(sinkName); ++i) loop_.roundTrip();
    stream_ = std::make_unique<PipeWireCaptureStream>(loop_, streamName_, sinkName, true, blocksFor(deliver_));
    reportInterruptions(*stream_, queue_, interrupted_);
    if (stream_->start(error)) return true;
    stop();
    return false;
  }

  void stop() override {
    stream_.reset();
    links_.reset();
    sink_.reset();
  }

 private:
  // Loop thread: every heard application stream's outputs into the sink.
  std::vector<PortLink> linksInto(const AudioGraph& graph, const std::string& sinkName) const {
    std::vector<PortLink> links;
    const auto sink = graph.nodeIDNamed(sinkName);
    if (!sink) return links;
    const auto inputs = graph.portsOf(*sink, false);
    for (const AudioStreamInfo& stream : graph.streams) {
      if (!heard(stream)) continue;
      const auto more = pairChannels(graph.portsOf(stream.id, true), inputs);
      links.insert(links.end(), more.begin(), more.end());
    }
    return links;
  }

  bool heard(const AudioStreamInfo& stream) const {
    if (isOwnApplication(stream)) return false;
    if (filter_.onlyApp) return stream.appID == *filter_.onlyApp;
    return std::find(filter_.excludedApps.begin(), filter_.excludedApps.end(), stream.appID) ==
           filter_.excludedApps.end();
  }

  MainQueue& queue_;
  std::shared_ptr<CoalescedSignal> interrupted_;
  PipeWireLoop& loop_;
  PipeWireRegistry& registry_;
  const ApplicationAudioFilter filter_;
  const std::string streamName_;
  const AudioDeliver deliver_;
  std::unique_ptr<PipeWireNullAudioNode> sink_;
  std::unique_ptr<PipeWireLinks> links_;
  std::unique_ptr<PipeWireCaptureStream> stream_;
};

bool isCaptureSink(const AudioNodeInfo& node) { return node.name.starts_with(captureSinkPrefix); }

std::vector<NullAudioNodeSetup> virtualDeviceSetups() {
  return {{kVirtualMicUID, "Tavorin Mic", "Audio/Source/Virtual"},
          {kVirtualSpeakerUID, "Tavorin Speaker", "Audio/Sink"},
          {kVirtualSystemUID, "Tavorin System", "Audio/Sink"}};
}

class PipeWireAudioBackend final : public AudioBackend {
 public:
  explicit PipeWireAudioBackend(MainQueue& queue)
      : queue_(queue),
        interrupted_(std::make_shared<CoalescedSignal>()),
        devicesChanged_(std::make_shared<CoalescedSignal>()),
        registry_(loop_, [this] { CoalescedSignal::raise(queue_, devicesChanged_); }),
        virtualDevices_(loop_, registry_, virtualDeviceSetups()) {
    interrupted_->action = [this] {
      if (onStreamInterrupted) onStreamInterrupted();
    };
    registry_.waitUntilSynced();
    published_ = lists();
    devicesChanged_->action = [this] {
      // Nodes of our own (capture sinks, streams' ports) change the graph, not what the mixer sees.
      DeviceLists now = lists();
      if (now == published_) return;
      published_ = std::move(now);
      if (onDevicesChanged) onDevicesChanged();
    };
  }

  std::vector<AudioOutputDevice> outputDevices() const override {
    std::vector<AudioOutputDevice> devices;
    for (const AudioNodeInfo& node : registry_.nodes()) {
      if (!node.isOutput() || node.channels == 0 || isCaptureSink(node)) continue;
      // object.serial is 64-bit but never reused, unlike the registry id; four
      // billion objects in one daemon's life would be needed to wrap it.
      devices.push_back({static_cast<std::uint32_t>(node.serial), node.description, node.name});
    }
    return devices;
  }

  std::vector<AudioInputDevice> inputDevices() const override {
    std::vector<AudioInputDevice> devices;
    for (const AudioNodeInfo& node : registry_.nodes()) {
      // Our own sinks are heard through their monitors; our own source is what we feed.
      const bool ownSink = node.name == kVirtualSpeakerUID || node.name == kVirtualSystemUID;
      if ((node.isInput() && node.name != kVirtualMicUID) || ownSink) devices.push_back({node.name, node.description});
    }
    return devices;
  }

  std::optional<std::string> defaultOutputUID() const override { return registry_.defaultSinkName(); }

  std::unique_ptr<AudioPort> makeOutput(const AudioOutputDevice& device, const std::string& streamName,
                                        AudioRender render) override {
    return std::make_unique<StreamPort<PipeWirePlaybackStream>>(queue_, interrupted_, loop_, streamName, device.uid,
                                                                std::move(render));
  }

  std::unique_ptr<AudioPort> makeCapture(const std::string& deviceID, const std::string& streamName,
                                         AudioDeliver deliver) override {
    // A sink offered as an input (our own virtual sinks) is heard through its monitor.
    const auto node = registry_.nodeNamed(deviceID);
    const bool captureSink = node && node->mediaClass == "Audio/Sink";
    return std::make_unique<StreamPort<PipeWireCaptureStream>>(queue_, interrupted_, loop_, streamName, deviceID,
                                                               captureSink, blocksFor(std::move(deliver)));
  }

  std::vector<AudioApplication> audioApplications() const override {
    std::vector<AudioApplication> apps;
    for (const AudioStreamInfo& stream : registry_.streams()) {
      if (isOwnApplication(stream) || stream.appID.empty()) continue;
      auto same = [&](const AudioApplication& app) { return app.id == stream.appID; };
      if (std::none_of(apps.begin(), apps.end(), same)) apps.push_back({stream.appID, stream.appName});
    }
    return apps;
  }

  std::unique_ptr<AudioPort> makeApplicationCapture(const ApplicationAudioFilter& filter,
                                                    const std::string& streamName, AudioDeliver deliver) override {
    return std::make_unique<ApplicationCapturePort>(queue_, interrupted_, loop_, registry_, filter, streamName,
                                                    std::move(deliver));
  }

  std::unique_ptr<AudioPort> makeSourceFeed(const std::string& sourceUID, const std::string& streamName,
                                            AudioRender render) override {
    return std::make_unique<SourceFeedPort>(queue_, interrupted_, loop_, registry_, sourceUID, streamName,
                                            std::move(render));
  }

  bool virtualDevicesPresent() const override { return virtualDevices_.present(); }
  bool installVirtualDevices(std::string* error) override { return virtualDevices_.install(error); }
  bool uninstallVirtualDevices(std::string* error) override { return virtualDevices_.uninstall(error); }

  bool setDefaultOutput(const std::string& uid, std::string* error) override {
    const auto node = registry_.nodeNamed(uid);
    if (!node || !node->isOutput()) {
      if (error) *error = "no output device " + uid;
      return false;
    }
    return registry_.setConfiguredDefaultSink(uid, error);
  }

 private:
  // What the mixer is told about: it hears of a change only when one of these differs.
  struct DeviceLists {
    std::vector<AudioOutputDevice> outputs;
    std::vector<AudioInputDevice> inputs;
    std::optional<std::string> defaultOutput;
    bool virtualDevices = false;
    friend bool operator==(const DeviceLists&, const DeviceLists&) = default;
  };
  DeviceLists lists() const { return {outputDevices(), inputDevices(), defaultOutputUID(), virtualDevicesPresent()}; }

  MainQueue& queue_;
  // Outlive the registry, whose callbacks raise them; posted calls hold them weakly.
  std::shared_ptr<CoalescedSignal> interrupted_;
  std::shared_ptr<CoalescedSignal> devicesChanged_;
  PipeWireLoop loop_;
  PipeWireRegistry registry_;
  PipeWireVirtualDevices virtualDevices_;
  DeviceLists published_;  // main thread
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
