#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>

#include "model/VideoFilterConfig.h"

namespace tavorin {

// One slider of a filter in the inspector.
struct VideoFilterParamSpec {
  std::string_view key;
  std::string_view label;
  double minimum = 0;
  double maximum = 1;
  double defaultValue = 0;
  // Shown after the value; "%" shows the value times 100.
  std::string_view unit;
};

// The name the operator reads for a kind ("Black & White", "Blur", …).
std::string_view videoFilterLabel(VideoFilterKind kind);
// The kind's parameters in the inspector's order; none for "bw" and "invert".
std::span<const VideoFilterParamSpec> videoFilterParamSpecs(VideoFilterKind kind);

// The parameters a new filter entry of `kind` starts with.
std::map<std::string, double> defaultVideoFilterParams(VideoFilterKind kind);
// The kind's defaults with the entry's own values over them (keys the kind
// does not know are carried along and ignored by the filter).
std::map<std::string, double> effectiveParams(const VideoFilterConfig& config);

}  // namespace tavorin
