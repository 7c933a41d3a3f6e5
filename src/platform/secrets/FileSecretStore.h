#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "platform/secrets/SecretStore.h"

namespace tavorin {

// Secrets in one JSON file, {service: {account: value}}, for machines without a
// Secret Service. The file and its temporary copies are mode 0600 from creation;
// a file found with a wider mode is tightened. It is read on every lookup, so
// two stores on the same file see each other's changes.
class FileSecretStore final : public SecretStore {
 public:
  FileSecretStore(std::filesystem::path file, std::function<void(const std::string&)> log);

  std::optional<std::string> password(const std::string& service, const std::string& account) override;
  bool setPassword(const std::string& service, const std::string& account, const std::string& value) override;
  void removePassword(const std::string& service, const std::string& account) override;

  const std::filesystem::path& file() const { return file_; }

 private:
  using Contents = std::map<std::string, std::map<std::string, std::string>>;

  // An unreadable or undecodable file reads as empty; it is logged once until it reads again.
  Contents load();
  bool store(const Contents& contents);
  void tightenMode();
  void report(const std::string& line) const;

  std::filesystem::path file_;
  std::function<void(const std::string&)> log_;
  bool reportedBadFile_ = false;
};

}  // namespace tavorin
