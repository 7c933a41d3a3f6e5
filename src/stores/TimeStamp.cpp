#include "stores/TimeStamp.h"

#include <time.h>

namespace tavorin {

std::string fileTimeStamp(std::chrono::system_clock::time_point time) {
  const time_t seconds = std::chrono::system_clock::to_time_t(time);
  tm local{};
  localtime_r(&seconds, &local);
  char buffer[32];
  const auto length = strftime(buffer, sizeof buffer, "%Y-%m-%d-%H%M%S", &local);
  return std::string(buffer, length);
}

std::string fileTimeOfDay(std::chrono::system_clock::time_point time) {
  const time_t seconds = std::chrono::system_clock::to_time_t(time);
  tm local{};
  localtime_r(&seconds, &local);
  char buffer[64];
  std::string text(buffer, strftime(buffer, sizeof buffer, "%X", &local));
  for (char& c : text) {
    if (c == ':' || c == '/') c = '.';
  }
  return text;
}

}  // namespace tavorin
