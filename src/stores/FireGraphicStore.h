#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

#include "base/Published.h"
#include "base/Uuid.h"
#include "model/FireGraphic.h"
#include "stores/ShowFolder.h"

namespace tavorin {

// The show's cues, kept in "fireGraphics.json" as one array. A missing or
// bad file reads as no cues and stays on disk until the next change.
class FireGraphicStore {
 public:
  explicit FireGraphicStore(ShowFolder folder);

  Published<std::vector<FireGraphic>> graphics;

  const std::filesystem::path& fileURL() const { return fileURL_; }

  // Replaces the cue with the same id, or appends it; then saves.
  void upsert(const FireGraphic& graphic);
  // Removes the cues at those positions (out-of-range ones are skipped); saves when one went.
  void remove(const std::vector<std::size_t>& offsets);
  std::optional<FireGraphic> find(const Uuid& id) const;

 private:
  void save() const;

  std::filesystem::path fileURL_;
};

}  // namespace tavorin
