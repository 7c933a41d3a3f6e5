#include "platform/x11/X11Connection.h"

#include <mutex>
#include <unordered_map>
#include <utility>

namespace tavorin {
namespace {

struct ConnectionState {
  int firstError = 0;
  bool lost = false;
};

// Xlib's handlers are process-wide and run on whichever thread reads the
// error, so what they record is kept per display behind one lock.
std::mutex stateMutex;
std::unordered_map<Display*, ConnectionState> states;

int recordError(Display* display, XErrorEvent* event) {
  std::lock_guard lock(stateMutex);
  auto& state = states[display];
  if (state.firstError == 0) state.firstError = event->error_code;
  return 0;
}

int recordIOError(Display* display) {
  std::lock_guard lock(stateMutex);
  states[display].lost = true;
  return 0;
}

// Returning lets Xlib mark the display dead instead of calling exit(); the
// capture sees it through x11ConnectionLost and stops.
void keepRunningAfterIOError(Display* display, void*) { recordIOError(display); }

}  // namespace

void X11DisplayCloser::operator()(Display* display) const {
  XCloseDisplay(display);
  std::lock_guard lock(stateMutex);
  states.erase(display);
}

X11Connection openX11Connection(const char* name) {
  static std::once_flag once;
  std::call_once(once, [] {
    XInitThreads();
    XSetErrorHandler(recordError);
    XSetIOErrorHandler(recordIOError);
  });
  Display* display = XOpenDisplay(name);
  if (display == nullptr) return nullptr;
  XSetIOErrorExitHandler(display, keepRunningAfterIOError, nullptr);
  return X11Connection(display);
}

int takeX11Error(Display* display) {
  std::lock_guard lock(stateMutex);
  const auto found = states.find(display);
  if (found == states.end()) return 0;
  return std::exchange(found->second.firstError, 0);
}

bool x11ConnectionLost(Display* display) {
  std::lock_guard lock(stateMutex);
  const auto found = states.find(display);
  return found != states.end() && found->second.lost;
}

}  // namespace tavorin
