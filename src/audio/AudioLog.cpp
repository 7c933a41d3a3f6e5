#include "audio/AudioLog.h"

#include <cstdio>
#include <ctime>

namespace tavorin {

void AudioLog::append(const std::string& message) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char stamp[64];
  std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S %z", &local);
  std::lock_guard guard(lock_);
  std::error_code ignored;
  std::filesystem::create_directories(file_.parent_path(), ignored);
  if (FILE* f = std::fopen(file_.c_str(), "a")) {
    std::fprintf(f, "%s %s\n", stamp, message.c_str());
    std::fclose(f);
  }
}

}  // namespace tavorin
