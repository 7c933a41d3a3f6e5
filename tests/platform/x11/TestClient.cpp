#include "platform/x11/TestClient.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/cursorfont.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace tavorin::testing {
namespace {

void setString(Display* display, Window window, const char* property, const char* type, const std::string& value) {
  XChangeProperty(display, window, XInternAtom(display, property, False), XInternAtom(display, type, False), 8,
                  PropModeReplace, reinterpret_cast<const unsigned char*>(value.data()), static_cast<int>(value.size()));
}

void setLongs(Display* display, Window window, const char* property, Atom type, const std::vector<long>& values) {
  XChangeProperty(display, window, XInternAtom(display, property, False), type, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(values.data()), static_cast<int>(values.size()));
}

}  // namespace

TestClient::TestClient() : display_(XOpenDisplay(nullptr)) {
  if (display_ == nullptr) throw std::runtime_error("the test's X server cannot be reached");
}

TestClient::~TestClient() { XCloseDisplay(display_); }

Window TestClient::create(const TestWindowSpec& spec) {
  const Window root = DefaultRootWindow(display_);
  Window parent = root;
  int x = spec.x, y = spec.y;
  if (spec.framed) {
    parent = XCreateSimpleWindow(display_, root, spec.x, spec.y, spec.width, spec.height, 0, 0, 0);
    XMapWindow(display_, parent);
    x = y = 0;
  }
  const Window window = XCreateSimpleWindow(display_, parent, x, y, spec.width, spec.height, 0, 0, spec.rgb);
  if (spec.netWMName) {
    setString(display_, window, "_NET_WM_NAME", "UTF8_STRING", spec.title);
  } else {
    XStoreName(display_, window, spec.title.c_str());
  }
  if (!spec.appID.empty()) setString(display_, window, "_GTK_APPLICATION_ID", "UTF8_STRING", spec.appID);
  std::string wmClass = "tavorin-test";
  wmClass.push_back('\0');
  wmClass += spec.wmClass;
  wmClass.push_back('\0');
  setString(display_, window, "WM_CLASS", "STRING", wmClass);
  setLongs(display_, window, "_NET_WM_PID", XA_CARDINAL, {static_cast<long>(getpid())});
  if (spec.wmState) {
    const Atom wmState = XInternAtom(display_, "WM_STATE", False);
    setLongs(display_, window, "WM_STATE", wmState, {NormalState, None});
  }
  if (!spec.type.empty()) {
    const Atom type = XInternAtom(display_, ("_NET_WM_WINDOW_TYPE_" + spec.type).c_str(), False);
    setLongs(display_, window, "_NET_WM_WINDOW_TYPE", XA_ATOM, {static_cast<long>(type)});
  }
  XMapWindow(display_, window);
  XSync(display_, False);
  return window;
}

void TestClient::fill(Window window, std::uint32_t rgb) {
  XSetWindowBackground(display_, window, rgb);
  XClearWindow(display_, window);
  XSync(display_, False);
}

void TestClient::resize(Window window, int width, int height) {
  XResizeWindow(display_, window, width, height);
  XSync(display_, False);
}

void TestClient::destroy(Window window) {
  XDestroyWindow(display_, window);
  XSync(display_, False);
}

void TestClient::setStackingList(const std::vector<Window>& windows) {
  setLongs(display_, DefaultRootWindow(display_), "_NET_CLIENT_LIST_STACKING", XA_WINDOW,
           std::vector<long>(windows.begin(), windows.end()));
  XSync(display_, False);
}

void TestClient::movePointer(int x, int y) {
  XWarpPointer(display_, None, DefaultRootWindow(display_), 0, 0, 0, 0, x, y);
  XSync(display_, False);
}

void TestClient::showCursor() {
  XDefineCursor(display_, DefaultRootWindow(display_), XCreateFontCursor(display_, XC_box_spiral));
  XSync(display_, False);
}

std::uint32_t pixelAt(const PixelBuffer& frame, int x, int y) {
  std::uint32_t pixel = 0;
  std::memcpy(&pixel, frame.row(y) + 4 * x, 4);
  return pixel;
}

}  // namespace tavorin::testing
