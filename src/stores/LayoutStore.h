#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Published.h"
#include "base/Uuid.h"
#include "model/MixerScene.h"
#include "stores/ShowFolder.h"

namespace tavorin {

// The scene library of the current deck, in display order. Opened on
// "layouts.json" and moved to a deck's "layouts-<id>.json" when a deck is
// applied. Every change writes the whole file; operations on an id that is not
// in the library do nothing.
class LayoutStore {
 public:
  LayoutStore(ShowFolder folder, std::string_view fileName);

  Published<std::vector<MixerScene>> layouts;

  const std::filesystem::path& fileURL() const { return fileURL_; }

  // Appends a copy of `scene` under a fresh id; an empty `name` becomes
  // "Scene N", N the new count. Returns the new id.
  Uuid add(const MixerScene& scene, const std::string& name);
  // The layout takes `scene`'s content but keeps its own id, name, transition
  // and vertical design.
  void replace(const Uuid& id, const MixerScene& scene);
  // Stores `scene`'s layers and groups as the layout's vertical design.
  void setVertical(const Uuid& id, const MixerScene& scene);
  void clearVertical(const Uuid& id);
  // An empty name is ignored.
  void rename(const Uuid& id, const std::string& name);
  void setTransition(const Uuid& id, std::optional<SceneTransition> transition);
  // A copy named "<name> copy" under a fresh id, placed right behind the original.
  std::optional<Uuid> duplicate(const Uuid& id);
  // Opens another file under the show folder; nothing when it is already open.
  void switchFile(std::string_view fileName);

  // Writes `layouts` as they are; the views call it after deleting or reordering.
  void save() const;

 private:
  void load();
  // Applies `fn` to the layout with `id`, then notifies and saves; nothing
  // (no notification, no write) when there is none.
  template <class Fn>
  void change(const Uuid& id, Fn&& fn);

  ShowFolder folder_;
  std::filesystem::path fileURL_;
};

}  // namespace tavorin
