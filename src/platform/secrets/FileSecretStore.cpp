#include "platform/secrets/FileSecretStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>

#include "base/AtomicFile.h"
#include "base/Uuid.h"

namespace tavorin {

namespace {

constexpr mode_t privateMode = S_IRUSR | S_IWUSR;

std::string systemError() { return std::strerror(errno); }

bool writeAll(int fd, std::string_view data) {
  while (!data.empty()) {
    const ssize_t n = ::write(fd, data.data(), data.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

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

  // Written beside the target and renamed over it; private from the first byte,
  // since the general atomic writer leaves the mode to the umask.
  const auto temp = file_.parent_path() / ("." + file_.filename().string() + "." + Uuid::make().toString() + ".tmp");
  const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, privateMode);
  if (fd < 0) {
    report("Cannot write the secrets file " + file_.string() + ": " + systemError());
    return false;
  }
  bool ok = ::fchmod(fd, privateMode) == 0 && writeAll(fd, text) && ::fsync(fd) == 0;
  const std::string failure = ok ? std::string() : systemError();
  ok = (::close(fd) == 0) && ok;
  if (ok && ::rename(temp.c_str(), file_.c_str()) == 0) return true;
  report("Cannot write the secrets file " + file_.string() + ": " + (failure.empty() ? systemError() : failure));
  ::unlink(temp.c_str());
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
