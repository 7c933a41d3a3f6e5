#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

// A store's file that is there but cannot be read or decoded is never lost:
// before the first write over it, it is renamed beside itself to
// "<stem>.unreadable-<yyyy-MM-dd-HHmmss><extension>", and the owner of that
// folder hears one line naming the copy. readJsonFile and writeJsonFile do this
// for every store. Stores run on the main thread; so does this.
namespace tavorin {

// `file` is there but did not read or decode; a later good read forgets it.
void markUnreadable(const std::filesystem::path& file);
void markReadable(const std::filesystem::path& file);

// Called before `file` is replaced: moves it aside when it was marked
// unreadable. False when it could not be moved; then nothing may replace it.
bool keepUnreadableBeforeWrite(const std::filesystem::path& file);

// While it lives, each file kept in one of `folders` (or below) is told to
// `report` as one line for the operator. The newest report for a folder wins.
class UnreadableFileReport {
 public:
  using Report = std::function<void(const std::string& line)>;

  UnreadableFileReport(std::vector<std::filesystem::path> folders, Report report);
  ~UnreadableFileReport();
  UnreadableFileReport(const UnreadableFileReport&) = delete;
  UnreadableFileReport& operator=(const UnreadableFileReport&) = delete;

  bool covers(const std::filesystem::path& file) const;
  const Report& report() const { return report_; }

 private:
  std::vector<std::filesystem::path> folders_;
  Report report_;
};

}  // namespace tavorin
