#pragma once

#include <X11/Xlib.h>

#include <optional>
#include <string>
#include <vector>

namespace tavorin {

// Reading window properties without Xlib's out-parameters and frees.

Atom x11Atom(Display* display, const char* name);

// A property of 32-bit items (CARDINAL, WINDOW, ATOM), which Xlib hands out
// as longs; empty when it is absent or of another type.
std::vector<unsigned long> x11ListProperty(Display* display, Window window, Atom property, Atom type);

// A string property of `type` (UTF8_STRING, STRING) as its bytes; nothing when absent.
std::optional<std::string> x11StringProperty(Display* display, Window window, Atom property, Atom type);

bool x11HasProperty(Display* display, Window window, Atom property);

// The window's title: _NET_WM_NAME, else WM_NAME converted to UTF-8; empty when it has none.
std::string x11WindowTitle(Display* display, Window window);

// WM_CLASS's class part ("Firefox"); empty when unset.
std::string x11WindowClass(Display* display, Window window);

}  // namespace tavorin
