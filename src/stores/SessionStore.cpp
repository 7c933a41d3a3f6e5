#include "stores/SessionStore.h"

#include "stores/JsonFile.h"

namespace tavorin {

SessionStore::SessionStore(const ShowFolder& folder) : path_(folder.file("session.json")) { folder.ensureRoot(); }

void SessionStore::save(const SessionState& state) const { writeJsonFile(path_, state); }

std::optional<SessionState> SessionStore::load() const { return readJsonFile<SessionState>(path_); }

}  // namespace tavorin
