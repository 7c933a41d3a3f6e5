#include "stores/Preferences.h"

#include <glib.h>

#include <cmath>
#include <system_error>

#include "stores/JsonFile.h"
#include "stores/UnreadableFiles.h"

namespace tavorin {

Preferences::Preferences(std::filesystem::path file) : path_(std::move(file)) {
  auto document = readJsonFile<Json>(path_);
  if (!document) return;
  if (document->is_object()) {
    values_ = std::move(*document);
  } else {
    // JSON, but not the object of keys this file holds.
    markUnreadable(path_);
  }
}

std::filesystem::path Preferences::defaultPath() {
  return std::filesystem::path(g_get_user_config_dir()) / "Tavorin" / "preferences.json";
}

const Json* Preferences::find(std::string_view key) const {
  auto it = values_.find(key);
  return it == values_.end() ? nullptr : &*it;
}

bool Preferences::has(std::string_view key) const { return find(key) != nullptr; }

void Preferences::remove(std::string_view key) {
  auto it = values_.find(key);
  if (it == values_.end()) return;
  values_.erase(it);
  write();
}

std::optional<bool> Preferences::getBool(std::string_view key) const {
  const Json* value = find(key);
  if (!value || !value->is_boolean()) return std::nullopt;
  return value->get<bool>();
}

std::optional<std::int64_t> Preferences::getInt(std::string_view key) const {
  const Json* value = find(key);
  if (!value) return std::nullopt;
  long long result = 0;
  try {
    json_decoding::decode(*value, result);
  } catch (const std::exception&) {
    return std::nullopt;
  }
  return result;
}

std::optional<double> Preferences::getDouble(std::string_view key) const {
  const Json* value = find(key);
  if (!value || !value->is_number()) return std::nullopt;
  return value->get<double>();
}

std::optional<std::string> Preferences::getString(std::string_view key) const {
  const Json* value = find(key);
  if (!value || !value->is_string()) return std::nullopt;
  return value->get<std::string>();
}

std::optional<std::vector<std::string>> Preferences::getStringList(std::string_view key) const {
  const Json* value = find(key);
  if (!value || !value->is_array()) return std::nullopt;
  std::vector<std::string> list;
  for (const auto& item : *value) {
    if (!item.is_string()) return std::nullopt;
    list.push_back(item.get<std::string>());
  }
  return list;
}

std::optional<Json> Preferences::getJSON(std::string_view key) const {
  const Json* value = find(key);
  if (!value) return std::nullopt;
  return *value;
}

void Preferences::setBool(std::string_view key, bool value) { store(key, value); }
void Preferences::setInt(std::string_view key, std::int64_t value) { store(key, value); }
void Preferences::setDouble(std::string_view key, double value) {
  // JSON has no NaN or infinity; such a value would be written as null.
  if (!std::isfinite(value)) return;
  store(key, value);
}
void Preferences::setString(std::string_view key, std::string value) { store(key, std::move(value)); }
void Preferences::setStringList(std::string_view key, std::vector<std::string> value) { store(key, std::move(value)); }
void Preferences::setJSON(std::string_view key, Json value) { store(key, std::move(value)); }

void Preferences::store(std::string_view key, Json value) {
  values_[std::string(key)] = std::move(value);
  write();
}

void Preferences::write() const {
  std::error_code ec;
  std::filesystem::create_directories(path_.parent_path(), ec);
  writeJsonFile(path_, values_);
}

}  // namespace tavorin
