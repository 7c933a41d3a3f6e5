#include "sources/SourceFactory.h"

#include <utility>

#include "model/ShapeConfigJson.h"
#include "model/TextConfigJson.h"
#include "platform/media/ImageDecoder.h"
#include "sources/ShapeSource.h"
#include "sources/StaticSource.h"
#include "sources/SyncTestSource.h"
#include "sources/TextSource.h"

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

std::shared_ptr<BaseSource> makeSavedText(const SavedSource& saved) {
  return std::make_shared<TextSource>(saved.id, saved.name, textConfigOrDefaults(saved.textConfig));
}

std::shared_ptr<BaseSource> makeSavedShape(const SavedSource& saved) {
  return std::make_shared<ShapeSource>(saved.id, saved.name, shapeConfigOrDefaults(saved.shapeConfig));
}

}  // namespace

SourceFactory::SourceFactory() {
  registerKind(SavedSource::Kind::image, makeImageSource);
  registerKind(SavedSource::Kind::black, makeSavedBlack);
  registerKind(SavedSource::Kind::syncTest, makeSyncTest);
  registerKind(SavedSource::Kind::text, makeSavedText);
  registerKind(SavedSource::Kind::shape, makeSavedShape);
}

void SourceFactory::registerKind(SavedSource::Kind kind, Builder builder) { builders_[kind] = std::move(builder); }

std::shared_ptr<BaseSource> SourceFactory::make(const SavedSource& saved) const {
  auto it = builders_.find(saved.kind);
  if (it == builders_.end() || !it->second) return nullptr;
  return it->second(saved);
}

}  // namespace tavorin
