// The operator's commands on the show's sources: adding a picture, and the
// names the operator gives sources.
#include "app/AppModel.h"
#include "base/Text.h"
#include "platform/media/ImageDecoder.h"
#include "sources/StaticSource.h"
#include "stores/LibraryImport.h"

namespace tavorin {

std::optional<std::string> AppModel::addImageSource(const std::filesystem::path& file) {
  // Read before copying, so a file that is no picture never enters the library.
  DecodedImage image = decodeImageFile(file);
  if (!image.buffer) {
    appendLog("Image not added — " + image.error);
    return std::nullopt;
  }
  SavedSource saved;
  saved.id = "image:" + Uuid::make().toString();
  saved.kind = SavedSource::Kind::image;
  saved.name = file.stem().string();
  // The show keeps its own copy, so the picture survives the original being moved or unplugged.
  saved.filePath = importIntoLibrary(file, showFolder_.library(ShowFolder::Library::images)).string();
  sourcesStore.upsert(saved);
  addSource(std::make_shared<StaticSource>(saved.id, saved.name, std::move(image.buffer)));
  return saved.id;
}

void AppModel::renameSource(const std::string& id, const std::string& name) {
  const std::string newName = trimmed(name);
  const auto source = sourceLifecycle.find(id);
  if (newName.empty() || !source) return;
  mediaNames.modify([&](std::map<std::string, std::string>& names) { names[id] = newName; });
  // The lifecycle's messages name the source too.
  source->setDisplayName(newName);
  sourcesStore.rename(id, newName);
}

std::string AppModel::displayName(const std::string& sourceID) const {
  const auto& names = mediaNames.get();
  if (auto it = names.find(sourceID); it != names.end()) return it->second;
  return sourceLifecycle.displayName(sourceID);
}

}  // namespace tavorin
