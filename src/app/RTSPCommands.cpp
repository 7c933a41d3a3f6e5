// Network cameras: adding one from its address (the password goes to the
// secret store, never into "sources.json"), rebuilding stored ones, and a
// channel of the mixer for a camera's sound.
#include <algorithm>
#include <atomic>
#include <cctype>
#include <memory>

#include "app/AppModel.h"
#include "base/Text.h"
#include "sources/RTSPSource.h"
#include "sources/rtsp/RTSPUrl.h"

namespace tavorin {

namespace {

// Camera passwords in the secret store, by source id.
constexpr const char* kRTSPPasswordService = "org.tavorin.Tavorin.RTSP";

}  // namespace

void AppModel::registerRTSPKind() {
  sourceFactory.registerKind(SavedSource::Kind::rtsp, [this](const SavedSource& saved) -> std::shared_ptr<BaseSource> {
    if (!saved.rtspURL) return nullptr;
    return makeRTSPSource(saved.id, saved.name, *saved.rtspURL);
  });
}

std::shared_ptr<BaseSource> AppModel::makeRTSPSource(const std::string& id, const std::string& name,
                                                     const std::string& storedURL) {
  const RTSPUrl url = parseRTSPUrl(storedURL);
  const auto password = secretStore ? secretStore->password(kRTSPPasswordService, id) : std::nullopt;
  std::string connectURL = storedURL;
  if (url.username && password) connectURL = rtspURLWithCredentials(storedURL, url.username, password);
  // The client says what went wrong from its own thread; the log is the main thread's.
  std::weak_ptr<AppModel*> weakSelf = self_;
  auto log = [weakSelf, &queue = queue_](const std::string& line) {
    queue.post([weakSelf, line] {
      if (auto self = weakSelf.lock()) (*self)->appendLog(line);
    });
  };
  auto source = std::make_shared<RTSPSource>(id, name, connectURL, std::move(log));
  // The camera's sound gets a channel of the mixer when it first comes (a
  // camera without sound adds no strip); blocks before that are let go.
  struct SoundChannel {
    std::atomic<std::shared_ptr<AudioTrackProcessor>> channel;
    std::atomic<bool> asked{false};
  };
  auto sound = std::make_shared<SoundChannel>();
  source->onAudio = [sound, weakSelf, id, name, &queue = queue_](const PcmFormat& format, const void* const* planes,
                                                                  std::uint32_t frames, double pts) {
    if (auto channel = sound->channel.load()) {
      channel->ingest(format, planes, frames, pts);
      return;
    }
    if (sound->asked.exchange(true)) return;
    queue.post([sound, weakSelf, id, name] {
      auto self = weakSelf.lock();
      if (!self || !(*self)->sourceLifecycle.find(id)) return;
      sound->channel.store((*self)->audioMixer.addSourceChannel(id, name, "mic", true, id));
    });
  };
  return source;
}

std::optional<std::string> AppModel::addRTSPSource(const std::string& urlText, const std::string& nameText,
                                                   const std::string& user, const std::string& password) {
  const std::string typed = trimmed(urlText);
  std::string lower = typed;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return char(std::tolower(c)); });
  if (!lower.starts_with("rtsp://")) {
    appendLog("RTSP: the URL must start with rtsp://");
    return std::nullopt;
  }
  const RTSPUrl url = parseRTSPUrl(typed);
  const std::optional<std::string> username = !trimmed(user).empty() ? std::optional(trimmed(user)) : url.username;
  const std::optional<std::string> secret = !password.empty() ? std::optional(password) : url.password;
  // Stored and named without the password.
  const std::string storedURL = rtspURLWithCredentials(typed, username, std::nullopt);
  const std::string id = "rtsp:" + storedURL;
  if (sourceLifecycle.find(id)) return std::nullopt;
  std::string name = trimmed(nameText);
  if (name.empty()) name = url.host.empty() ? "RTSP Camera" : url.host;
  if (secretStore) {
    if (secret && username) {
      secretStore->setPassword(kRTSPPasswordService, id, *secret);
    } else {
      secretStore->removePassword(kRTSPPasswordService, id);
    }
  }
  addSource(makeRTSPSource(id, name, storedURL));
  SavedSource saved;
  saved.kind = SavedSource::Kind::rtsp;
  saved.id = id;
  saved.name = name;
  saved.rtspURL = storedURL;
  sourcesStore.upsert(saved);
  appendLog("Added RTSP source “" + name + "” — it connects (and reconnects) automatically.");
  return id;
}

void AppModel::forgetRTSPCamera(const std::string& id) {
  if (!id.starts_with("rtsp:")) return;
  if (secretStore) secretStore->removePassword(kRTSPPasswordService, id);
  audioMixer.removeChannel(id);
}

}  // namespace tavorin
