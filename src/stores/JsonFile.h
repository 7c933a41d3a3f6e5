#pragma once

#include <exception>
#include <filesystem>
#include <optional>

#include <nlohmann/json.hpp>

#include "base/AtomicFile.h"
#include "model/JsonDecoding.h"

// The one way every store reads and writes its file. Stores report no errors:
// a failed write waits for the next change, and a file that cannot be read or
// decoded reads as nothing and stays on disk until the next write replaces it.
namespace tavorin {

// Encodes `value` as compact JSON and writes it atomically; false on any failure.
template <class T>
bool writeJsonFile(const std::filesystem::path& path, const T& value) {
  std::string text;
  try {
    // Invalid UTF-8 in one name becomes U+FFFD rather than blocking every later save.
    text = nlohmann::json(value).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  } catch (const std::exception&) {
    return false;
  }
  return writeFileAtomically(path, text);
}

// Reads and decodes a whole file; nothing when it is missing, unreadable, not
// JSON, or does not decode as a T.
template <class T>
std::optional<T> readJsonFile(const std::filesystem::path& path) {
  auto text = readWholeFile(path);
  if (!text) return std::nullopt;
  try {
    const auto document = nlohmann::json::parse(*text);
    T value{};
    json_decoding::decode(document, value);
    return value;
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

}  // namespace tavorin
