#pragma once

#include <X11/Xlib.h>

#include <memory>

namespace tavorin {

struct X11DisplayCloser {
  void operator()(Display* display) const;
};

// A connection to the X server of its own: each capture and each enumeration
// opens one, so no two threads ever share a display's request queue.
using X11Connection = std::unique_ptr<Display, X11DisplayCloser>;

// Opens $DISPLAY (or `name`); null when there is no X server to reach. X
// errors on it are recorded for takeX11Error instead of ending the process.
X11Connection openX11Connection(const char* name = nullptr);

// The first X error code recorded on `display` since the last call, 0 when
// none. Call after XSync so every request's answer has come in.
int takeX11Error(Display* display);

// True once the connection to the server broke; the display is unusable then.
bool x11ConnectionLost(Display* display);

}  // namespace tavorin
