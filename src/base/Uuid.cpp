#include "base/Uuid.h"

#include <uuid/uuid.h>

#include <algorithm>

namespace tavorin {

Uuid Uuid::make() {
  Uuid id;
  uuid_generate_random(id.bytes.data());
  return id;
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  char buffer[37];
  std::copy(text.begin(), text.end(), buffer);
  buffer[36] = '\0';
  Uuid id;
  if (uuid_parse(buffer, id.bytes.data()) != 0) return std::nullopt;
  return id;
}

std::string Uuid::toString() const {
  char buffer[37];
  uuid_unparse_upper(bytes.data(), buffer);
  return buffer;
}

bool Uuid::isNil() const {
  return std::all_of(bytes.begin(), bytes.end(), [](auto b) { return b == 0; });
}

}  // namespace tavorin
