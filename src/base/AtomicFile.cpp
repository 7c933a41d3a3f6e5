#include "base/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "base/Uuid.h"

namespace tavorin {

namespace {

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

bool writeFileAtomically(const std::filesystem::path& path, std::string_view contents, FileAccess access) {
  if (!path.has_filename()) {
    errno = EINVAL;
    return false;
  }
  // A unique name beside the target: rename is only atomic within one file system.
  const auto temp = path.parent_path() / ("." + path.filename().string() + "." + Uuid::make().toString() + ".tmp");
  const bool ownerOnly = access == FileAccess::ownerOnly;
  const mode_t mode = ownerOnly ? S_IRUSR | S_IWUSR : 0666;
  const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  if (fd < 0) return false;
  // The umask may only narrow the mode; fchmod makes a private file exactly 0600.
  bool ok = (!ownerOnly || ::fchmod(fd, mode) == 0) && writeAll(fd, contents) && ::fsync(fd) == 0;
  int failure = ok ? 0 : errno;
  if (::close(fd) != 0 && ok) {
    failure = errno;
    ok = false;
  }
  if (ok && ::rename(temp.c_str(), path.c_str()) == 0) return true;
  if (ok) failure = errno;
  ::unlink(temp.c_str());
  errno = failure;
  return false;
}

std::optional<std::string> readWholeFile(const std::filesystem::path& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    return std::nullopt;
  }
  std::string contents;
  contents.reserve(static_cast<std::size_t>(info.st_size));
  char buffer[65536];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      ::close(fd);
      return std::nullopt;
    }
    contents.append(buffer, static_cast<std::size_t>(n));
  }
  ::close(fd);
  return contents;
}

}  // namespace tavorin
