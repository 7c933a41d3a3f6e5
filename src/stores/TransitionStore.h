#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "base/Published.h"
#include "base/Uuid.h"
#include "model/CustomTransition.h"
#include "stores/ShowFolder.h"

namespace tavorin {

// The custom transitions of the show, kept in "transitions.json". A file that
// does not decode leaves the store empty and stays on disk until the next change.
class TransitionStore {
 public:
  explicit TransitionStore(ShowFolder folder);

  Published<std::vector<CustomTransition>> transitions;

  const std::filesystem::path& fileURL() const { return fileURL_; }

  // Replaces the transition with the same id, or appends it; then saves.
  void upsert(const CustomTransition& custom);
  std::optional<CustomTransition> find(const Uuid& id) const;
  // Writes `transitions` as they are; the views call it after deleting.
  void save() const;

 private:
  std::filesystem::path fileURL_;
};

}  // namespace tavorin
