#include "platform/x11/X11TopLevels.h"

#include <X11/Xatom.h>

#include "platform/x11/X11Properties.h"

namespace tavorin {
namespace {

std::vector<Window> childrenOf(Display* display, Window window) {
  Window root = None, parent = None;
  Window* children = nullptr;
  unsigned count = 0;
  if (XQueryTree(display, window, &root, &parent, &children, &count) == 0) return {};
  std::vector<Window> result(children, children + count);
  if (children != nullptr) XFree(children);
  return result;
}

Window clientBelow(Display* display, Window window, Atom wmState, int depth) {
  if (x11HasProperty(display, window, wmState)) return window;
  // Frames nest a few levels at most; deeper trees are an application's own.
  if (depth == 0) return None;
  for (const Window child : childrenOf(display, window)) {
    if (const Window client = clientBelow(display, child, wmState, depth - 1); client != None) return client;
  }
  return None;
}

}  // namespace

Window x11ClientOf(Display* display, Window frame) {
  return clientBelow(display, frame, x11Atom(display, "WM_STATE"), 3);
}

Window x11FrameOf(Display* display, Window window) {
  const Window rootWindow = DefaultRootWindow(display);
  for (;;) {
    Window root = None, parent = None;
    Window* children = nullptr;
    unsigned count = 0;
    if (XQueryTree(display, window, &root, &parent, &children, &count) == 0) return window;
    if (children != nullptr) XFree(children);
    if (parent == rootWindow || parent == None) return window;
    window = parent;
  }
}

std::vector<X11TopLevel> x11StackedTopLevels(Display* display) {
  const Window root = DefaultRootWindow(display);
  std::vector<X11TopLevel> result;
  const auto stacking =
      x11ListProperty(display, root, x11Atom(display, "_NET_CLIENT_LIST_STACKING"), XA_WINDOW);
  if (!stacking.empty()) {
    for (const unsigned long client : stacking) result.push_back({x11FrameOf(display, client), client});
    return result;
  }
  for (const Window frame : childrenOf(display, root)) {
    if (const Window client = x11ClientOf(display, frame); client != None) result.push_back({frame, client});
  }
  return result;
}

}  // namespace tavorin
