#pragma once

#include <X11/Xlib.h>

#include <vector>

namespace tavorin {

// An application window and the child of the root that holds it: the window
// manager's frame, or the window itself when nothing reparented it.
struct X11TopLevel {
  Window frame = None;
  Window client = None;
};

// The application windows, bottom to top: the window manager's
// _NET_CLIENT_LIST_STACKING, else the root's children that are or hold a
// window with WM_STATE (no window manager, or one that keeps no list).
std::vector<X11TopLevel> x11StackedTopLevels(Display* display);

// The client inside `frame` (the first window with WM_STATE, depth first);
// None when there is none.
Window x11ClientOf(Display* display, Window frame);

// The child of the root that holds `window`.
Window x11FrameOf(Display* display, Window window);

}  // namespace tavorin
