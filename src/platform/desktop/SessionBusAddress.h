#pragma once

#include <string>

namespace tavorin {

// The session bus as GLib would find it, except that GLib's last resort,
// autolaunching a bus through X11, counts as no bus. Empty when there is none.
std::string sessionBusAddress();

}  // namespace tavorin
