#pragma once

#include <filesystem>
#include <optional>

#include "model/SessionState.h"
#include "stores/ShowFolder.h"

namespace tavorin {

// "session.json": what was on the main switcher at quit.
class SessionStore {
 public:
  explicit SessionStore(const ShowFolder& folder);

  void save(const SessionState& state) const;
  // Nothing when the file is missing or does not decode.
  std::optional<SessionState> load() const;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace tavorin
