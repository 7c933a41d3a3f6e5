#pragma once

#include <functional>
#include <map>
#include <memory>

#include "model/SavedSource.h"
#include "sources/BaseSource.h"

namespace tavorin {

// Rebuilds sources from "sources.json" entries. Each kind of source registers
// how it is made; images, the black still, titles, shapes and the sync test
// are known from the start.
class SourceFactory {
 public:
  // Null when what the entry needs (a file, a device…) is missing.
  using Builder = std::function<std::shared_ptr<BaseSource>(const SavedSource& saved)>;

  SourceFactory();

  // Replaces any builder the kind had.
  void registerKind(SavedSource::Kind kind, Builder builder);
  // Null when the kind has no builder or its builder could not make the source;
  // the entry stays stored either way, so it comes back once it can be built.
  std::shared_ptr<BaseSource> make(const SavedSource& saved) const;

 private:
  std::map<SavedSource::Kind, Builder> builders_;
};

}  // namespace tavorin
