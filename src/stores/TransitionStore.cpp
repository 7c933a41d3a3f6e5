#include "stores/TransitionStore.h"

#include <algorithm>

#include "model/CustomTransitionJson.h"
#include "stores/JsonFile.h"

namespace tavorin {

TransitionStore::TransitionStore(ShowFolder folder) : fileURL_(folder.file("transitions.json")) {
  folder.ensureRoot();
  transitions.set(readJsonFile<std::vector<CustomTransition>>(fileURL_).value_or(std::vector<CustomTransition>{}));
}

void TransitionStore::upsert(const CustomTransition& custom) {
  transitions.modify([&](std::vector<CustomTransition>& list) {
    auto it = std::find_if(list.begin(), list.end(), [&](const CustomTransition& c) { return c.id == custom.id; });
    if (it == list.end()) {
      list.push_back(custom);
    } else {
      *it = custom;
    }
  });
  save();
}

std::optional<CustomTransition> TransitionStore::find(const Uuid& id) const {
  for (const CustomTransition& custom : transitions.get()) {
    if (custom.id == id) return custom;
  }
  return std::nullopt;
}

void TransitionStore::save() const { writeJsonFile(fileURL_, transitions.get()); }

}  // namespace tavorin
