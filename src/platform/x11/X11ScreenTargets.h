#pragma once

#include <X11/Xlib.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/capture/ScreenTargets.h"

namespace tavorin {

// The monitors RandR reports, else the whole root as one display.
std::vector<DisplayTarget> x11Displays(Display* display);

// `client` as the operator would list it; nothing when it is not on screen,
// is a dock or the desktop, or is hidden. Its title may be empty.
std::optional<WindowTarget> x11DescribeWindow(Display* display, Window client);

// Displays, the listable windows bottom to top, and their applications.
ScreenTargets x11ScreenTargets(Display* display);

// The applications of `windows`, one per app id, in the order they first appear.
std::vector<ApplicationTarget> applicationsOf(const std::vector<WindowTarget>& windows);

}  // namespace tavorin
