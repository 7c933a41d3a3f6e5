#include "platform/x11/X11ScreenTargets.h"

#include <X11/Xatom.h>
#include <X11/extensions/Xrandr.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "platform/x11/X11Properties.h"
#include "platform/x11/X11TopLevels.h"

namespace tavorin {
namespace {

// Smaller windows are toolbars, splash screens and the like, not worth a source.
constexpr int kMinimumListedSide = 80;

bool isDockOrDesktop(Display* display, Window window) {
  const Atom dock = x11Atom(display, "_NET_WM_WINDOW_TYPE_DOCK");
  const Atom desktop = x11Atom(display, "_NET_WM_WINDOW_TYPE_DESKTOP");
  for (const unsigned long type : x11ListProperty(display, window, x11Atom(display, "_NET_WM_WINDOW_TYPE"), XA_ATOM)) {
    if (type == dock || type == desktop) return true;
  }
  return false;
}

bool isHidden(Display* display, Window window) {
  const Atom hidden = x11Atom(display, "_NET_WM_STATE_HIDDEN");
  const auto states = x11ListProperty(display, window, x11Atom(display, "_NET_WM_STATE"), XA_ATOM);
  return std::find(states.begin(), states.end(), hidden) != states.end();
}

std::string executableName(Display* display, Window window) {
  const auto pid = x11ListProperty(display, window, x11Atom(display, "_NET_WM_PID"), XA_CARDINAL);
  if (pid.empty()) return {};
  std::error_code error;
  const auto exe = std::filesystem::read_symlink("/proc/" + std::to_string(pid.front()) + "/exe", error);
  return error ? std::string() : exe.filename().string();
}

}  // namespace

std::vector<DisplayTarget> x11Displays(Display* display) {
  const Window root = DefaultRootWindow(display);
  std::vector<DisplayTarget> result;
  int eventBase = 0, errorBase = 0;
  if (XRRQueryExtension(display, &eventBase, &errorBase)) {
    int count = 0;
    if (XRRMonitorInfo* monitors = XRRGetMonitors(display, root, True, &count)) {
      for (int i = 0; i < count; ++i) {
        char* name = XGetAtomName(display, monitors[i].name);
        DisplayTarget target;
        target.outputName = name != nullptr ? name : "screen";
        if (name != nullptr) XFree(name);
        target.id = displayIDFor(target.outputName);
        target.x = monitors[i].x;
        target.y = monitors[i].y;
        target.width = monitors[i].width;
        target.height = monitors[i].height;
        result.push_back(std::move(target));
      }
      XRRFreeMonitors(monitors);
    }
  }
  if (result.empty()) {
    DisplayTarget whole;
    whole.outputName = "screen";
    whole.id = displayIDFor(whole.outputName);
    whole.width = DisplayWidth(display, DefaultScreen(display));
    whole.height = DisplayHeight(display, DefaultScreen(display));
    result.push_back(std::move(whole));
  }
  return result;
}

std::optional<WindowTarget> x11DescribeWindow(Display* display, Window client) {
  XWindowAttributes attributes{};
  if (XGetWindowAttributes(display, client, &attributes) == 0 || attributes.map_state != IsViewable) {
    return std::nullopt;
  }
  if (isDockOrDesktop(display, client) || isHidden(display, client)) return std::nullopt;
  WindowTarget window;
  window.id = static_cast<std::uint32_t>(client);
  window.title = x11WindowTitle(display, client);
  window.width = attributes.width;
  window.height = attributes.height;
  const std::string windowClass = x11WindowClass(display, client);
  const std::string executable = executableName(display, client);
  if (auto gtkID = x11StringProperty(display, client, x11Atom(display, "_GTK_APPLICATION_ID"),
                                     x11Atom(display, "UTF8_STRING"));
      gtkID && !gtkID->empty()) {
    window.appID = *gtkID;
  } else {
    window.appID = !executable.empty() ? executable : windowClass;
  }
  window.appName = !windowClass.empty() ? windowClass : executable;
  return window;
}

std::vector<ApplicationTarget> applicationsOf(const std::vector<WindowTarget>& windows) {
  std::vector<ApplicationTarget> result;
  for (const auto& window : windows) {
    if (window.appID.empty()) continue;
    const bool known = std::any_of(result.begin(), result.end(), [&](const auto& a) { return a.appID == window.appID; });
    if (!known) result.push_back({window.appID, window.appName.empty() ? window.appID : window.appName});
  }
  return result;
}

ScreenTargets x11ScreenTargets(Display* display) {
  ScreenTargets targets;
  targets.displays = x11Displays(display);
  for (const auto& topLevel : x11StackedTopLevels(display)) {
    auto window = x11DescribeWindow(display, topLevel.client);
    if (!window || window->title.empty()) continue;
    if (window->width <= kMinimumListedSide || window->height <= kMinimumListedSide) continue;
    targets.windows.push_back(std::move(*window));
  }
  targets.applications = applicationsOf(targets.windows);
  return targets;
}

}  // namespace tavorin
