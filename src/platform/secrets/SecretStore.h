#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tavorin {

// Generic passwords by (service, account). Main thread only.
class SecretStore {
 public:
  virtual ~SecretStore() = default;
  virtual std::optional<std::string> password(const std::string& service, const std::string& account) = 0;
  // False when it could not be stored; the reason goes to the log handler given at construction.
  virtual bool setPassword(const std::string& service, const std::string& account, const std::string& value) = 0;
  virtual void removePassword(const std::string& service, const std::string& account) = 0;
};

// The desktop's Secret Service when one answers on the session bus, else a
// FileSecretStore at `fallbackFile`; the fallback is stated once through `log`.
// Waits at most about 1.5 s for the bus, so a missing or hung one cannot stall start-up.
std::unique_ptr<SecretStore> makeSecretStore(const std::filesystem::path& fallbackFile,
                                             std::function<void(const std::string&)> log);

}  // namespace tavorin
