#include "platform/x11/X11Properties.h"

#include <X11/Xutil.h>

namespace tavorin {
namespace {

struct Property {
  Atom type = None;
  int format = 0;
  unsigned long count = 0;
  unsigned char* data = nullptr;
  ~Property() {
    if (data != nullptr) XFree(data);
  }
};

// Long enough for any title or window list we read.
constexpr long kMaxLongs = 1 << 20;

bool readProperty(Display* display, Window window, Atom property, Atom type, Property& out) {
  unsigned long remaining = 0;
  return XGetWindowProperty(display, window, property, 0, kMaxLongs, False, type, &out.type, &out.format,
                            &out.count, &remaining, &out.data) == Success &&
         out.data != nullptr && (type == AnyPropertyType || out.type == type);
}

}  // namespace

Atom x11Atom(Display* display, const char* name) { return XInternAtom(display, name, False); }

std::vector<unsigned long> x11ListProperty(Display* display, Window window, Atom property, Atom type) {
  Property p;
  if (!readProperty(display, window, property, type, p) || p.format != 32) return {};
  const auto* items = reinterpret_cast<const unsigned long*>(p.data);
  return {items, items + p.count};
}

std::optional<std::string> x11StringProperty(Display* display, Window window, Atom property, Atom type) {
  Property p;
  if (!readProperty(display, window, property, type, p) || p.format != 8) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(p.data), p.count);
}

bool x11HasProperty(Display* display, Window window, Atom property) {
  Property p;
  return readProperty(display, window, property, AnyPropertyType, p);
}

std::string x11WindowTitle(Display* display, Window window) {
  if (auto name = x11StringProperty(display, window, x11Atom(display, "_NET_WM_NAME"), x11Atom(display, "UTF8_STRING"))) {
    return *name;
  }
  XTextProperty text{};
  if (XGetWMName(display, window, &text) == 0 || text.value == nullptr) return {};
  std::string title;
  char** list = nullptr;
  int count = 0;
  if (Xutf8TextPropertyToTextList(display, &text, &list, &count) >= Success && list != nullptr) {
    if (count > 0) title = list[0];
    XFreeStringList(list);
  }
  XFree(text.value);
  return title;
}

std::string x11WindowClass(Display* display, Window window) {
  XClassHint hint{};
  if (XGetClassHint(display, window, &hint) == 0) return {};
  std::string result = hint.res_class != nullptr ? hint.res_class : "";
  if (hint.res_name != nullptr) XFree(hint.res_name);
  if (hint.res_class != nullptr) XFree(hint.res_class);
  return result;
}

}  // namespace tavorin
