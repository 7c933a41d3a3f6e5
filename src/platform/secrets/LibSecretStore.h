#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/secrets/SecretStore.h"

namespace tavorin {

// Secrets as items of the Secret Service's default collection (libsecret's
// synchronous calls), with the attributes "service" and "account". Errors go to
// the log handler; nothing throws.
class LibSecretStore final : public SecretStore {
 public:
  explicit LibSecretStore(std::function<void(const std::string&)> log);

  std::optional<std::string> password(const std::string& service, const std::string& account) override;
  bool setPassword(const std::string& service, const std::string& account, const std::string& value) override;
  void removePassword(const std::string& service, const std::string& account) override;

 private:
  void report(const std::string& line) const;

  std::function<void(const std::string&)> log_;
};

}  // namespace tavorin
