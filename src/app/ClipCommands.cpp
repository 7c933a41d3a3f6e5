// The operator's commands on clips: adding a video file, and its transport and trim.
#include "app/AppModel.h"
#include <ctime>

#include "platform/media/ClipDecoder.h"
#include "platform/media/ClipRangeCopy.h"
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

std::optional<std::string> AppModel::addClipSource(const std::filesystem::path& file, ShowFolder::Library library) {
  // Opened before copying, so a file that is no clip never enters the library.
  std::string error;
  if (!ClipDecoder::open(file, error)) {
    appendLog("Clip not added — " + error);
    return std::nullopt;
  }
  SavedSource saved;
  saved.kind = SavedSource::Kind::clip;
  saved.name = file.stem().string();
  saved.filePath = importIntoLibrary(file, showFolder_.library(library)).string();
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

namespace {

// The short local time, as a file name can hold it.
std::string shortTimeForFileName() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[32] = {};
  std::strftime(text, sizeof text, "%R", &local);
  std::string name = text;
  for (char& c : name) {
    if (c == ':' || c == '/') c = '-';
  }
  return name;
}

}  // namespace

void AppModel::exportClipTrim(const std::string& id) {
  auto* clip = findClip(id);
  if (!clip) return;
  std::string error;
  const auto decoder = ClipDecoder::open(clip->fileURL(), error);
  if (!decoder) {
    appendLog("Trim export failed: can't read the clip.");
    return;
  }
  const double start = clip->trimStart();
  const double end = clip->trimEnd().value_or(decoder->duration());
  if (end <= start) {
    appendLog("Trim export: the range is empty.");
    return;
  }
  // Named after the clip as the operator knows it: the library's copy carries a UUID before the name.
  const std::filesystem::path output = showFolder_.library(ShowFolder::Library::generated) /
                                       (clip->displayName() + " trim " + shortTimeForFileName() + ".mov");
  appendLog("Exporting trimmed clip…");
  std::weak_ptr<AppModel*> weakSelf = self_;
  exportQueue_.post([weakSelf, &mainQueue = queue_, input = clip->fileURL(), output, start, end] {
    std::error_code ignored;
    std::filesystem::create_directories(output.parent_path(), ignored);
    auto failure = copyClipRange(input, output, start, end);
    mainQueue.post([weakSelf, output, failure] {
      auto self = weakSelf.lock();
      if (!self) return;
      AppModel& model = **self;
      if (failure) {
        model.appendLog("Trim export failed: " + *failure);
        return;
      }
      SavedSource saved;
      saved.kind = SavedSource::Kind::clip;
      saved.name = output.stem().string();
      saved.filePath = output.string();
      saved.id = LoopingVideoSource::idFor(output);
      model.sourcesStore.upsert(saved);
      if (auto source = model.sourceFactory.make(saved)) model.addSource(std::move(source));
      model.appendLog("Trimmed clip saved to the media library: " + output.filename().string());
    });
  });
}

}  // namespace tavorin
