#pragma once

#include <nlohmann/json.hpp>

namespace tavorin {

// The JSON of the show's files and preferences. Objects keep their keys in the
// order they were put in, so a written record lists its fields as the record
// declares them, and an operator reading a file finds `id` and `name` first.
using Json = nlohmann::ordered_json;

}  // namespace tavorin
