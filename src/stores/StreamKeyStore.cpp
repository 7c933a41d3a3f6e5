#include "stores/StreamKeyStore.h"

namespace tavorin {

StreamKeyStore::StreamKeyStore(SecretStore& secrets) : secrets_(secrets) {}

std::optional<std::string> StreamKeyStore::key(const Uuid& id) const { return secrets_.password(service, id.toString()); }

void StreamKeyStore::setKey(const std::string& key, const Uuid& id) {
  if (key.empty()) {
    secrets_.removePassword(service, id.toString());
    return;
  }
  // A failure has been logged by the secret store; the destination then has no key and says so when started.
  secrets_.setPassword(service, id.toString(), key);
}

}  // namespace tavorin
