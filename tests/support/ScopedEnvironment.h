#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavorin::testing {

// Sets or clears environment variables and puts every one back, in reverse order, when it goes.
class ScopedEnvironment {
 public:
  ScopedEnvironment() = default;
  ~ScopedEnvironment() {
    for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) apply(it->first, it->second);
  }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

  // Nothing clears the variable.
  void set(const std::string& name, const std::optional<std::string>& value) {
    const char* previous = std::getenv(name.c_str());
    saved_.emplace_back(name, previous ? std::optional<std::string>(previous) : std::nullopt);
    apply(name, value);
  }

 private:
  static void apply(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
      setenv(name.c_str(), value->c_str(), 1);
    } else {
      unsetenv(name.c_str());
    }
  }

  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

}  // namespace tavorin::testing
