#include "platform/secrets/FileSecretStore.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>

#include "base/AtomicFile.h"

namespace tavorin {

namespace {

constexpr mode_t privateMode = S_IRUSR | S_IWUSR;

std::string systemError() { return std::strerror(errno); }

}  // namespace

FileSecretStore::FileSecretStore(std::filesystem::path file, std::function<void(const std::string&)> log)
    : file_(std::move(file)), log_(std::move(log)) {
  tightenMode();
}

std::optional<std::string> FileSecretStore::password(const std::string& service, const std::string& account) {
  const Contents contents = load();
  auto byService = contents.find(service);
  if (byService == contents.end()) return std::nullopt;
  auto byAccount = byService->second.find(account);
  if (byAccount == byService->second.end()) return std::nullopt;
  return byAccount->second;
}

bool FileSecretStore::setPassword(const std::string& service, const std::string& account, const std::string& value) {
  Contents contents = load();
  contents[service][account] = value;
  return store(contents);
}

void FileSecretStore::removePassword(const std::string& service, const std::string& account) {
  Contents contents = load();
  auto byService = contents.find(service);
  if (byService == contents.end() || byService->second.erase(account) == 0) return;
  if (byService->second.empty()) contents.erase(byService);
  store(contents);
}

FileSecretStore::Contents FileSecretStore::load() {
  std::error_code error;
  if (!std::filesystem::exists(file_, error)) return {};
  auto text = readWholeFile(file_);
  if (!text) {
    if (!reportedBadFile_) report("Cannot read the secrets file " + file_.string() + "; it reads as empty");
    reportedBadFile_ = true;
    return {};
  }
  try {
    const auto document = nlohmann::json::parse(*text);
    if (!document.is_object()) throw std::runtime_error("not an object");
    Contents contents;
    for (const auto& [service, accounts] : document.items()) {
      if (!accounts.is_object()) throw std::runtime_error("service " + service + " is not an object");
      for (const auto& [account, value] : accounts.items()) {
        if (!value.is_string()) throw std::runtime_error("a secret of " + service + " is not a string");
        contents[service][account] = value.get<std::string>();
      }
    }
    reportedBadFile_ = false;
    return contents;
  } catch (const std::exception& e) {
    if (!reportedBadFile_) {
      report("The secrets file " + file_.string() + " does not decode (" + e.what() +
             "); it reads as empty and the next change replaces it");
    }
    reportedBadFile_ = true;
    return {};
  }
}

bool FileSecretStore::store(const Contents& contents) {
  std::string text;
  try {
    text = nlohmann::json(contents).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  } catch (const std::exception& e) {
    report(std::string("Cannot encode the secrets: ") + e.what());
    return false;
  }
  std::error_code error;
  if (file_.has_parent_path()) std::filesystem::create_directories(file_.parent_path(), error);
  if (writeFileAtomically(file_, text, FileAccess::ownerOnly)) return true;
  report("Cannot write the secrets file " + file_.string() + ": " + systemError());
  return false;
}

void FileSecretStore::tightenMode() {
  struct stat info {};
  if (::stat(file_.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return;
  if ((info.st_mode & (S_IRWXG | S_IRWXO)) == 0) return;
  if (::chmod(file_.c_str(), privateMode) != 0) {
    report("Cannot make the secrets file " + file_.string() + " private: " + systemError());
  }
}

void FileSecretStore::report(const std::string& line) const {
  if (log_) log_(line);
}

}  // namespace tavorin
