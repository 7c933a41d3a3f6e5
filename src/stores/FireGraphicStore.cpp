#include "stores/FireGraphicStore.h"

#include <algorithm>

#include "model/FireGraphicJson.h"
#include "stores/JsonFile.h"

namespace tavorin {

FireGraphicStore::FireGraphicStore(ShowFolder folder) : fileURL_(folder.file("fireGraphics.json")) {
  folder.ensureRoot();
  graphics.set(readJsonFile<std::vector<FireGraphic>>(fileURL_).value_or(std::vector<FireGraphic>{}));
}

void FireGraphicStore::upsert(const FireGraphic& graphic) {
  graphics.modify([&](std::vector<FireGraphic>& list) {
    auto it = std::find_if(list.begin(), list.end(), [&](const FireGraphic& g) { return g.id == graphic.id; });
    if (it == list.end()) {
      list.push_back(graphic);
    } else {
      *it = graphic;
    }
  });
  save();
}

void FireGraphicStore::remove(const std::vector<std::size_t>& offsets) {
  std::vector<std::size_t> sorted = offsets;
  std::erase_if(sorted, [&](std::size_t at) { return at >= graphics->size(); });
  if (sorted.empty()) return;
  std::sort(sorted.rbegin(), sorted.rend());
  sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
  graphics.modify([&](std::vector<FireGraphic>& list) {
    for (std::size_t at : sorted) list.erase(list.begin() + static_cast<std::ptrdiff_t>(at));
  });
  save();
}

std::optional<FireGraphic> FireGraphicStore::find(const Uuid& id) const {
  for (const FireGraphic& graphic : graphics.get()) {
    if (graphic.id == id) return graphic;
  }
  return std::nullopt;
}

void FireGraphicStore::save() const { writeJsonFile(fileURL_, graphics.get()); }

}  // namespace tavorin
