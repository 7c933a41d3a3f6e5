#include "stores/UnreadableFiles.h"

#include <algorithm>
#include <mutex>
#include <set>
#include <system_error>

#include "stores/TimeStamp.h"

namespace tavorin {

namespace {

struct Registry {
  std::mutex lock;
  std::set<std::filesystem::path> unreadable;
  std::vector<const UnreadableFileReport*> reports;
};

Registry& registry() {
  static Registry instance;
  return instance;
}

std::filesystem::path key(const std::filesystem::path& file) { return file.lexically_normal(); }

// A name beside `file` that is not taken: two bad reads in one second must not
// overwrite the first kept copy.
std::filesystem::path keptName(const std::filesystem::path& file) {
  const std::string base = file.stem().string() + ".unreadable-" + fileTimeStamp();
  const std::string extension = file.extension().string();
  std::error_code ec;
  auto candidate = file.parent_path() / (base + extension);
  for (int n = 2; std::filesystem::exists(candidate, ec); ++n) {
    candidate = file.parent_path() / (base + "-" + std::to_string(n) + extension);
  }
  return candidate;
}

}  // namespace

void markUnreadable(const std::filesystem::path& file) {
  auto& r = registry();
  std::lock_guard guard(r.lock);
  r.unreadable.insert(key(file));
}

void markReadable(const std::filesystem::path& file) {
  auto& r = registry();
  std::lock_guard guard(r.lock);
  r.unreadable.erase(key(file));
}

bool keepUnreadableBeforeWrite(const std::filesystem::path& file) {
  auto& r = registry();
  {
    std::lock_guard guard(r.lock);
    if (!r.unreadable.contains(key(file))) return true;
  }
  std::error_code ec;
  const bool there = std::filesystem::exists(std::filesystem::symlink_status(file, ec));
  std::filesystem::path kept;
  if (there) {
    kept = keptName(file);
    std::filesystem::rename(file, kept, ec);
    if (ec) return false;
  }
  UnreadableFileReport::Report report;
  {
    std::lock_guard guard(r.lock);
    r.unreadable.erase(key(file));
    if (!there) return true;
    auto found = std::find_if(r.reports.rbegin(), r.reports.rend(),
                              [&](const UnreadableFileReport* each) { return each->covers(file); });
    if (found != r.reports.rend()) report = (*found)->report();
  }
  // Told outside the lock: the line may well lead to another store's write.
  if (report) report("Could not read " + file.filename().string() + "; the old file is kept as " + kept.string());
  return true;
}

UnreadableFileReport::UnreadableFileReport(std::vector<std::filesystem::path> folders, Report report)
    : folders_(std::move(folders)), report_(std::move(report)) {
  for (auto& folder : folders_) {
    folder = key(folder);
    // "show/" and "show" are one folder.
    if (folder.filename().empty()) folder = folder.parent_path();
  }
  auto& r = registry();
  std::lock_guard guard(r.lock);
  r.reports.push_back(this);
}

UnreadableFileReport::~UnreadableFileReport() {
  auto& r = registry();
  std::lock_guard guard(r.lock);
  std::erase(r.reports, this);
}

bool UnreadableFileReport::covers(const std::filesystem::path& file) const {
  const auto normal = key(file);
  return std::any_of(folders_.begin(), folders_.end(), [&](const std::filesystem::path& folder) {
    const auto relative = normal.lexically_relative(folder);
    return !relative.empty() && *relative.begin() != "..";
  });
}

}  // namespace tavorin
