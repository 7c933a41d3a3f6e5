#include "stores/StreamDestinationStore.h"

#include <algorithm>

#include "model/StreamDestinationJson.h"
#include "stores/JsonFile.h"

namespace tavorin {

StreamDestinationStore::StreamDestinationStore(ShowFolder folder, StreamKeyStore& keys)
    : fileURL_(folder.file("streamDestinations.json")), keys_(keys) {
  folder.ensureRoot();
  destinations.set(readJsonFile<std::vector<StreamDestination>>(fileURL_).value_or(std::vector<StreamDestination>{}));
}

void StreamDestinationStore::add(const StreamDestination& destination) {
  destinations.modify([&](std::vector<StreamDestination>& list) { list.push_back(applyLimits(destination)); });
  save();
}

void StreamDestinationStore::update(const StreamDestination& destination) {
  const auto& list = destinations.get();
  auto found = std::find_if(list.begin(), list.end(),
                            [&](const StreamDestination& d) { return d.id == destination.id; });
  if (found == list.end()) return;
  const auto index = static_cast<std::size_t>(found - list.begin());
  destinations.modify([&](std::vector<StreamDestination>& all) { all[index] = applyLimits(destination); });
  save();
}

void StreamDestinationStore::remove(const Uuid& id) {
  destinations.modify([&](std::vector<StreamDestination>& list) {
    std::erase_if(list, [&](const StreamDestination& d) { return d.id == id; });
  });
  keys_.setKey("", id);
  save();
}

void StreamDestinationStore::save() const { writeJsonFile(fileURL_, destinations.get()); }

}  // namespace tavorin
