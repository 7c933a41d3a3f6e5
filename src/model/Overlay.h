#pragma once

#include <string>

#include "base/Uuid.h"

namespace tavorin {

// One document of the overlay library; its file lies in the library's folder.
struct OverlayItem {
  Uuid id = Uuid::make();
  std::string name;
  std::string fileName;  // the id's text and ".html"
  friend bool operator==(const OverlayItem&, const OverlayItem&) = default;
};

// One editable value an overlay document declares in its manifest. Values are
// kept as text whatever their type; the type says how the page receives them.
struct OverlayParam {
  std::string key;
  std::string label;
  std::string type;          // "text", "number", "color" or "bool"
  std::string defaultValue;  // "0" or "1" for a bool
  friend bool operator==(const OverlayParam&, const OverlayParam&) = default;
};

}  // namespace tavorin
