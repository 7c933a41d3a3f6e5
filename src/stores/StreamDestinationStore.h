#pragma once

#include <filesystem>
#include <vector>

#include "base/Published.h"
#include "base/Uuid.h"
#include "model/StreamDestination.h"
#include "stores/ShowFolder.h"
#include "stores/StreamKeyStore.h"

namespace tavorin {

// The operator's destinations, kept in "streamDestinations.json"; their keys
// stay in the secret store. A missing or undecodable file leaves the list
// empty. Main thread only.
class StreamDestinationStore {
 public:
  StreamDestinationStore(ShowFolder folder, StreamKeyStore& keys);

  Published<std::vector<StreamDestination>> destinations;

  const std::filesystem::path& fileURL() const { return fileURL_; }

  // Appends a copy with the platform's limits applied, then saves.
  void add(const StreamDestination& destination);
  // Replaces the destination with the same id by a limited copy, then saves;
  // an unknown id does nothing.
  void update(const StreamDestination& destination);
  // Drops the destination and its key, then saves. The engine's state for it
  // is the caller's to remove.
  void remove(const Uuid& id);
  // Write errors are dropped: the next change tries again.
  void save() const;

 private:
  std::filesystem::path fileURL_;
  StreamKeyStore& keys_;
};

}  // namespace tavorin
