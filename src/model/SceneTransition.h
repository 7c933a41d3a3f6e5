#pragma once

#include <optional>
#include <string>

#include "base/Uuid.h"

namespace tavorin {

// How a scene arrives on Program when it is taken.
struct SceneTransition {
  std::optional<std::string> kind;  // raw name of a TransitionKind
  std::optional<Uuid> customID;     // a custom transition's id
  double duration = 0.5;            // seconds
  friend bool operator==(const SceneTransition&, const SceneTransition&) = default;
};

}  // namespace tavorin
