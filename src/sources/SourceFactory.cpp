#include "sources/SourceFactory.h"

#include <utility>

#include "platform/media/ImageDecoder.h"
#include "sources/StaticSource.h"
#include "sources/SyncTestSource.h"

namespace tavorin {

namespace {

std::shared_ptr<BaseSource> makeImageSource(const SavedSource& saved) {
  if (!saved.filePath) return nullptr;
  auto image = decodeImageFile(*saved.filePath);
  if (!image.buffer) return nullptr;
  return std::make_shared<StaticSource>(saved.id, saved.name, std::move(image.buffer));
}

std::shared_ptr<BaseSource> makeSavedBlack(const SavedSource& saved) { return makeBlackSource(saved.id, saved.name); }

std::shared_ptr<BaseSource> makeSyncTest(const SavedSource& saved) {
  return std::make_shared<SyncTestSource>(saved.id, saved.name);
}

}  // namespace

SourceFactory::SourceFactory() {
  registerKind(SavedSource::Kind::image, makeImageSource);
  registerKind(SavedSource::Kind::black, makeSavedBlack);
  registerKind(SavedSource::Kind::syncTest, makeSyncTest);
}

void SourceFactory::registerKind(SavedSource::Kind kind, Builder builder) { builders_[kind] = std::move(builder); }

std::shared_ptr<BaseSource> SourceFactory::make(const SavedSource& saved) const {
  auto it = builders_.find(saved.kind);
  if (it == builders_.end() || !it->second) return nullptr;
  return it->second(saved);
}

}  // namespace tavorin
