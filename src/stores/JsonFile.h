#pragma once

#include <exception>
#include <filesystem>
#include <optional>
#include <system_error>

#include "base/AtomicFile.h"
#include "model/Json.h"
#include "model/JsonDecoding.h"
#include "stores/UnreadableFiles.h"

// The one way every store reads and writes its file. Stores report no errors:
// a failed write waits for the next change, and a file that cannot be read or
// decoded reads as nothing and stays on disk until the next write, which first
// keeps it beside itself under a time-stamped name (UnreadableFiles.h).
namespace tavorin {

// Encodes `value` as compact JSON, keys in the record's order, and writes it
// atomically; false on any failure.
template <class T>
bool writeJsonFile(const std::filesystem::path& path, const T& value) {
  std::string text;
  try {
    // Invalid UTF-8 in one name becomes U+FFFD rather than blocking every later save.
    text = Json(value).dump(-1, ' ', false, Json::error_handler_t::replace);
  } catch (const std::exception&) {
    return false;
  }
  if (!keepUnreadableBeforeWrite(path)) return false;
  return writeFileAtomically(path, text);
}

// Reads and decodes a whole file; nothing when it is missing, unreadable, not
// JSON, or does not decode as a T. A file that is there but gives nothing is
// marked, so that the next write keeps it.
template <class T>
std::optional<T> readJsonFile(const std::filesystem::path& path) {
  auto text = readWholeFile(path);
  if (!text) {
    std::error_code ec;
    if (std::filesystem::exists(std::filesystem::symlink_status(path, ec))) {
      markUnreadable(path);
    } else {
      markReadable(path);
    }
    return std::nullopt;
  }
  try {
    const auto document = Json::parse(*text);
    T value{};
    json_decoding::decode(document, value);
    markReadable(path);
    return value;
  } catch (const std::exception&) {
    markUnreadable(path);
    return std::nullopt;
  }
}

}  // namespace tavorin
