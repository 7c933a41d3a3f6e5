#pragma once

#include <stdexcept>
#include <string>

namespace tavorin {

// Raised while reading AMF: `deserialize` for bytes that are no valid value
// (unknown marker, misplaced object end, nesting too deep), `outOfIndex`
// for a value that runs past the end of the data.
class AMFSerializerError : public std::runtime_error {
 public:
  enum class Kind { deserialize, outOfIndex };

  AMFSerializerError(Kind kind, const std::string& what)
      : std::runtime_error((kind == Kind::deserialize ? "deserialize: " : "outOfIndex: ") + what), kind_(kind) {}

  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace tavorin
