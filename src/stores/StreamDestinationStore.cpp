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
  keys_.setKey("", id);
  // An unknown id changes nothing, so a file that did not read stays as it is.
  const auto& list = destinations.get();
  if (std::none_of(list.begin(), list.end(), [&](const StreamDestination& d) { return d.id == id; })) return;
  destinations.modify([&](std::vector<StreamDestination>& all) {
    std::erase_if(all, [&](const StreamDestination& d) { return d.id == id; });
  });
  save();
}

void StreamDestinationStore::save() const { writeJsonFile(fileURL_, destinations.get()); }

}  // namespace tavorin
