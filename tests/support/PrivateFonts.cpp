#include "support/PrivateFonts.h"

#include <cstdlib>

namespace tavorin::testing {

void PrivateFonts::SetUp() {
  const auto config = folder_ / "fonts.conf";
  writeFile(config, R"(<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "urn:fontconfig:fonts.dtd">
<fontconfig>
  <dir>/usr/share/fonts/truetype/dejavu</dir>
  <dir>/usr/share/fonts/truetype/lohit-devanagari</dir>
  <cachedir>)" + (folder_ / "cache").string() + R"(</cachedir>
  <alias><family>sans-serif</family><prefer><family>DejaVu Sans</family></prefer></alias>
</fontconfig>
)");
  setenv("FONTCONFIG_FILE", config.c_str(), 1);
}

}  // namespace tavorin::testing
