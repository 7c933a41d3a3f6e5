#pragma once

#include <filesystem>
#include <mutex>
#include <string>

namespace tavorin {

// The mixer's diagnostic log, "audio.log" in the show folder: one line per
// message, stamped with the date. Any thread but a real-time one; failures to
// write are ignored.
class AudioLog {
 public:
  explicit AudioLog(std::filesystem::path file) : file_(std::move(file)) {}
  void append(const std::string& message);
  const std::filesystem::path& path() const { return file_; }

 private:
  std::filesystem::path file_;
  std::mutex lock_;
};

}  // namespace tavorin
