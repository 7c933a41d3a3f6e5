#pragma once

#include <optional>
#include <string>

#include "base/Uuid.h"
#include "platform/secrets/SecretStore.h"

namespace tavorin {

// Stream keys by destination id, in the secret store under service
// "org.tavorin.Tavorin.StreamKey", account = id text. Main thread only.
class StreamKeyStore {
 public:
  static constexpr const char* service = "org.tavorin.Tavorin.StreamKey";

  explicit StreamKeyStore(SecretStore& secrets);

  std::optional<std::string> key(const Uuid& id) const;
  // An empty key removes the item.
  void setKey(const std::string& key, const Uuid& id);

 private:
  SecretStore& secrets_;
};

}  // namespace tavorin
