#include "stores/OverlayStore.h"

#include <algorithm>

#include "base/AtomicFile.h"
#include "base/Text.h"
#include "model/OverlayJson.h"
#include "stores/JsonFile.h"

namespace tavorin {

OverlayStore::OverlayStore(const ShowFolder& folder)
    : dir_(folder.library(ShowFolder::Library::overlays)), indexURL_(dir_ / "index.json") {
  overlays.set(readJsonFile<std::vector<OverlayItem>>(indexURL_).value_or(std::vector<OverlayItem>{}));
}

std::optional<OverlayItem> OverlayStore::find(const Uuid& id) const {
  const auto& list = overlays.get();
  auto found = std::find_if(list.begin(), list.end(), [&](const OverlayItem& item) { return item.id == id; });
  if (found == list.end()) return std::nullopt;
  return *found;
}

std::optional<OverlayItem> OverlayStore::add(const std::string& name, const std::string& html) {
  OverlayItem item;
  item.name = name;
  item.fileName = item.id.toString() + ".html";
  if (!writeFileAtomically(fileURL(item), html)) return std::nullopt;
  auto list = overlays.get();
  list.push_back(item);
  overlays.set(std::move(list));
  save();
  return item;
}

std::optional<OverlayItem> OverlayStore::duplicate(const Uuid& id) {
  auto item = find(id);
  if (!item) return std::nullopt;
  auto html = readWholeFile(fileURL(*item));
  if (!html) return std::nullopt;
  return add(item->name + " copy", *html);
}

std::optional<OverlayItem> OverlayStore::importFile(const std::filesystem::path& source) {
  auto html = readWholeFile(source);
  if (!html) return std::nullopt;
  return add(source.stem().string(), *html);
}

void OverlayStore::rename(const Uuid& id, const std::string& name) {
  if (trimmed(name).empty()) return;
  auto list = overlays.get();
  for (auto& item : list) {
    if (item.id == id) item.name = name;
  }
  overlays.set(std::move(list));
  save();
}

void OverlayStore::remove(const Uuid& id) {
  auto list = overlays.get();
  auto found = std::find_if(list.begin(), list.end(), [&](const OverlayItem& item) { return item.id == id; });
  if (found == list.end()) return;
  std::error_code ignored;
  std::filesystem::remove(fileURL(*found), ignored);
  list.erase(found);
  overlays.set(std::move(list));
  save();
}

void OverlayStore::save() const { writeJsonFile(indexURL_, overlays.get()); }

}  // namespace tavorin
