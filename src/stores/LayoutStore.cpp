#include "stores/LayoutStore.h"

#include <algorithm>
#include <unordered_set>

#include "stores/JsonFile.h"

namespace tavorin {

namespace {

std::optional<std::size_t> indexOf(const std::vector<MixerScene>& list, const Uuid& id) {
  auto it = std::find_if(list.begin(), list.end(), [&](const MixerScene& s) { return s.id == id; });
  if (it == list.end()) return std::nullopt;
  return static_cast<std::size_t>(it - list.begin());
}

}  // namespace

LayoutStore::LayoutStore(ShowFolder folder, std::string_view fileName)
    : folder_(std::move(folder)), fileURL_(folder_.file(fileName)) {
  folder_.ensureRoot();
  load();
}

void LayoutStore::load() {
  auto list = readJsonFile<std::vector<MixerScene>>(fileURL_).value_or(std::vector<MixerScene>{});
  // Two layouts with one id would make every operation by id ambiguous.
  std::unordered_set<Uuid> seen;
  bool repaired = false;
  for (auto& scene : list) {
    while (!seen.insert(scene.id).second) {
      scene.id = Uuid::make();
      repaired = true;
    }
  }
  layouts.set(std::move(list));
  if (repaired) save();
}

void LayoutStore::save() const { writeJsonFile(fileURL_, layouts.get()); }

template <class Fn>
void LayoutStore::change(const Uuid& id, Fn&& fn) {
  const auto index = indexOf(layouts.get(), id);
  if (!index) return;
  layouts.modify([&](std::vector<MixerScene>& list) { fn(list[*index]); });
  save();
}

Uuid LayoutStore::add(const MixerScene& scene, const std::string& name) {
  MixerScene copy = scene;
  copy.id = Uuid::make();
  copy.name = name.empty() ? "Scene " + std::to_string(layouts->size() + 1) : name;
  const Uuid id = copy.id;
  layouts.modify([&](std::vector<MixerScene>& list) { list.push_back(std::move(copy)); });
  save();
  return id;
}

void LayoutStore::replace(const Uuid& id, const MixerScene& scene) {
  change(id, [&](MixerScene& stored) {
    MixerScene next = scene;
    next.id = stored.id;
    next.name = std::move(stored.name);
    next.transition = std::move(stored.transition);
    next.verticalLayers = std::move(stored.verticalLayers);
    next.verticalGroups = std::move(stored.verticalGroups);
    stored = std::move(next);
  });
}

void LayoutStore::setVertical(const Uuid& id, const MixerScene& scene) {
  change(id, [&](MixerScene& stored) {
    stored.verticalLayers = scene.layers;
    stored.verticalGroups = scene.groups;
  });
}

void LayoutStore::clearVertical(const Uuid& id) {
  change(id, [](MixerScene& stored) {
    stored.verticalLayers.reset();
    stored.verticalGroups.reset();
  });
}

void LayoutStore::rename(const Uuid& id, const std::string& name) {
  if (name.empty()) return;
  change(id, [&](MixerScene& stored) { stored.name = name; });
}

void LayoutStore::setTransition(const Uuid& id, std::optional<SceneTransition> transition) {
  change(id, [&](MixerScene& stored) { stored.transition = std::move(transition); });
}

std::optional<Uuid> LayoutStore::duplicate(const Uuid& id) {
  const auto index = indexOf(layouts.get(), id);
  if (!index) return std::nullopt;
  MixerScene copy = layouts.get()[*index];
  copy.id = Uuid::make();
  copy.name += " copy";
  const Uuid copyID = copy.id;
  layouts.modify([&](std::vector<MixerScene>& current) {
    current.insert(current.begin() + static_cast<std::ptrdiff_t>(*index) + 1, std::move(copy));
  });
  save();
  return copyID;
}

void LayoutStore::switchFile(std::string_view fileName) {
  auto path = folder_.file(fileName);
  if (path == fileURL_) return;
  fileURL_ = std::move(path);
  folder_.ensureRoot();
  load();
}

}  // namespace tavorin
