#pragma once

#include <stdexcept>

namespace tavorin {

// PipeWire could not be reached or refused to set something up.
struct PipeWireFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace tavorin
