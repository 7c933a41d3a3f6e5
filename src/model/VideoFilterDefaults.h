#pragma once

#include <map>
#include <string>

#include "model/VideoFilterConfig.h"

namespace tavorin {

// The parameters a new filter entry of `kind` starts with; "bw" and "invert"
// have none.
std::map<std::string, double> defaultVideoFilterParams(VideoFilterKind kind);

}  // namespace tavorin
