#pragma once

#include <stdexcept>

#include "model/AudioFilterConfig.h"
#include "model/Json.h"

// JSON coding of a filter stage: {"id", "kind", "enabled", "params"}. Reading
// is strict: a missing key, a value of the wrong type or an unknown kind throws
// AudioFilterDecodeError, and the caller drops the whole list.
namespace tavorin {

struct AudioFilterDecodeError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void to_json(Json& j, const AudioFilterConfig& v);
void from_json(const Json& j, AudioFilterConfig& v);

}  // namespace tavorin
