#pragma once

#include <X11/Xlib.h>

#include <cstdint>
#include <string>
#include <vector>

#include "base/PixelBuffer.h"

namespace tavorin::testing {

// What a window made by the test says about itself.
struct TestWindowSpec {
  std::string title{};
  int x = 0, y = 0, width = 200, height = 150;
  std::uint32_t rgb = 0x808080;
  bool netWMName = true;  // else the title goes in WM_NAME only
  std::string appID{};    // _GTK_APPLICATION_ID when not empty
  std::string wmClass = "TavorinTest";
  bool wmState = true;  // as a window manager would set it
  bool framed = false;  // inside a parent window, as a window manager's frame
  std::string type{};   // _NET_WM_WINDOW_TYPE_<type> when not empty
};

// A tiny X client of the test's own: windows filled with one colour, mapped
// without a window manager, and the pointer moved.
class TestClient {
 public:
  TestClient();
  ~TestClient();
  TestClient(const TestClient&) = delete;
  TestClient& operator=(const TestClient&) = delete;

  Display* display() const { return display_; }
  Window create(const TestWindowSpec& spec);
  void fill(Window window, std::uint32_t rgb);
  void resize(Window window, int width, int height);
  void destroy(Window window);
  // Publishes the windows as a window manager's _NET_CLIENT_LIST_STACKING, bottom to top.
  void setStackingList(const std::vector<Window>& windows);
  void movePointer(int x, int y);
  // A visible cursor on the root, which Xvfb leaves empty.
  void showCursor();

 private:
  Display* display_;
};

// A frame's pixel as 0xAARRGGBB.
std::uint32_t pixelAt(const PixelBuffer& frame, int x, int y);

}  // namespace tavorin::testing
