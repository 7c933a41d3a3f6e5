#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/Json.h"

namespace tavorin {

// The per-user key-value settings, kept in one JSON object on disk (keys in
// PreferenceKeys.h). Read once when built; every change rewrites the file
// atomically. A missing or bad file reads as empty; a bad one is kept beside
// it before the next change writes (UnreadableFiles.h). A getter gives nothing
// when the key is unset or holds another type.
// Main thread only.
class Preferences {
 public:
  explicit Preferences(std::filesystem::path file);

  // $XDG_CONFIG_HOME/Tavorin/preferences.json (else ~/.config/...).
  static std::filesystem::path defaultPath();

  const std::filesystem::path& path() const { return path_; }

  bool has(std::string_view key) const;
  void remove(std::string_view key);

  std::optional<bool> getBool(std::string_view key) const;
  // The presence rule: a stored Boolean wins, anything else gives `fallback`.
  // With a fallback of true, only a stored false reads as false.
  bool boolOr(std::string_view key, bool fallback) const { return getBool(key).value_or(fallback); }
  std::optional<std::int64_t> getInt(std::string_view key) const;
  std::optional<double> getDouble(std::string_view key) const;  // any stored number
  std::optional<std::string> getString(std::string_view key) const;
  std::optional<std::vector<std::string>> getStringList(std::string_view key) const;
  // A structured value stored as it is (for maps such as the capture qualities).
  std::optional<Json> getJSON(std::string_view key) const;

  void setBool(std::string_view key, bool value);
  void setInt(std::string_view key, std::int64_t value);
  void setDouble(std::string_view key, double value);
  void setString(std::string_view key, std::string value);
  void setStringList(std::string_view key, std::vector<std::string> value);
  void setJSON(std::string_view key, Json value);

 private:
  const Json* find(std::string_view key) const;
  void store(std::string_view key, Json value);
  void write() const;

  std::filesystem::path path_;
  Json values_ = Json::object();
};

}  // namespace tavorin
