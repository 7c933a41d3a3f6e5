#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/Published.h"
#include "base/Uuid.h"
#include "model/Overlay.h"
#include "stores/ShowFolder.h"

namespace tavorin {

// The overlay library: HTML documents in the show's "Overlays" folder, listed
// in order of adding in its "index.json". Nothing is seeded: the starter
// designs enter only when the operator picks one. Main thread only.
class OverlayStore {
 public:
  // Makes the folder and reads the index; a missing or unreadable one is an empty library.
  explicit OverlayStore(const ShowFolder& folder);

  Published<std::vector<OverlayItem>> overlays;

  const std::filesystem::path& dir() const { return dir_; }
  std::filesystem::path fileURL(const OverlayItem& item) const { return dir_ / item.fileName; }
  std::optional<OverlayItem> find(const Uuid& id) const;

  // Writes `html` as a new document and lists it; nothing, changing nothing, when the write fails.
  std::optional<OverlayItem> add(const std::string& name, const std::string& html);
  // A copy of the item's document under "<name> copy"; nothing when it cannot be read or written.
  std::optional<OverlayItem> duplicate(const Uuid& id);
  // A document from elsewhere, named after its file; nothing when it cannot be read or written.
  std::optional<OverlayItem> importFile(const std::filesystem::path& source);
  // A name that is blank once trimmed is refused.
  void rename(const Uuid& id, const std::string& name);
  // The document goes with the item; failing to delete it is ignored.
  void remove(const Uuid& id);
  void save() const;

 private:
  std::filesystem::path dir_;
  std::filesystem::path indexURL_;
};

}  // namespace tavorin
