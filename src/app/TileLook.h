#pragma once

#include <string>

namespace tavorin {

// What a deck tile shows: its title (the operator's alias, else the generated
// one), the generated title, its symbol and colour, its tally, and whether its
// target is still there.
struct TileLook {
  std::string title;
  std::string realTitle;
  std::string symbol;
  std::string color;
  bool on = false;
  bool exists = true;

  friend bool operator==(const TileLook&, const TileLook&) = default;
};

}  // namespace tavorin
