// The operator's commands on clips: adding a video file, and its transport and trim.
#include "app/AppModel.h"
#include "platform/media/ClipDecoder.h"
#include "stores/LibraryImport.h"

namespace tavorin {

std::shared_ptr<BaseSource> AppModel::makeClipSource(const SavedSource& saved) {
  std::error_code ignored;
  if (!saved.filePath || !std::filesystem::exists(*saved.filePath, ignored)) return nullptr;
  auto clip = std::make_shared<LoopingVideoSource>(*saved.filePath, queue_);
  if (!saved.name.empty()) clip->setDisplayName(saved.name);
  if (saved.trimStart || saved.trimEnd) clip->setTrim(saved.trimStart.value_or(0), saved.trimEnd);
  const std::string id = clip->id();
  clip->onTrimChanged = [this, id](double start, std::optional<double> end) { sourcesStore.setTrim(id, start, end); };
  std::weak_ptr<LoopingVideoSource> weakClip = clip;
  clip->onSoundFound = [this, weakClip] {
    auto found = weakClip.lock();
    if (!found) return;
    // Audio follows video: the clip is heard when it is on Program.
    auto channel = audioMixer.addSourceChannel(found->id(), found->displayName(), "film", true, found->id());
    found->setSoundSink([channel](PcmBuffer& block, double hostTime) { channel->process(block, hostTime); });
  };
  return clip;
}

std::optional<std::string> AppModel::addClipSource(const std::filesystem::path& file) {
  // Opened before copying, so a file that is no clip never enters the library.
  std::string error;
  if (!ClipDecoder::open(file, error)) {
    appendLog("Clip not added — " + error);
    return std::nullopt;
  }
  SavedSource saved;
  saved.kind = SavedSource::Kind::clip;
  saved.name = file.stem().string();
  saved.filePath = importIntoLibrary(file, showFolder_.library(ShowFolder::Library::clips)).string();
  saved.id = LoopingVideoSource::idFor(*saved.filePath);
  sourcesStore.upsert(saved);
  if (auto source = sourceFactory.make(saved)) addSource(std::move(source));
  return saved.id;
}

LoopingVideoSource* AppModel::findClip(const std::string& id) const {
  return dynamic_cast<LoopingVideoSource*>(sourceLifecycle.find(id).get());
}

void AppModel::setClipTrim(const std::string& id, double start, std::optional<double> end) {
  if (auto* clip = findClip(id)) clip->setTrim(start, end);
}

void AppModel::playClip(const std::string& id) {
  if (auto* clip = findClip(id)) clip->play();
}

void AppModel::pauseClip(const std::string& id) {
  if (auto* clip = findClip(id)) clip->pause();
}

void AppModel::seekClip(const std::string& id, double seconds) {
  if (auto* clip = findClip(id)) clip->seek(seconds);
}

}  // namespace tavorin
