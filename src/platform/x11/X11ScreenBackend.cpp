#include "platform/x11/X11ScreenBackend.h"

#include "platform/x11/X11Connection.h"
#include "platform/x11/X11ScreenCapture.h"
#include "platform/x11/X11ScreenTargets.h"

namespace tavorin {

std::variant<ScreenTargets, std::string> X11ScreenBackend::enumerate() {
  const X11Connection connection = openX11Connection();
  if (!connection) return std::string(kNoX11Display);
  ScreenTargets targets = x11ScreenTargets(connection.get());
  // Windows that vanished while we read them leave errors behind; they are simply not listed.
  XSync(connection.get(), False);
  takeX11Error(connection.get());
  return targets;
}

std::unique_ptr<ScreenCapture> X11ScreenBackend::makeCapture() { return std::make_unique<X11ScreenCapture>(); }

}  // namespace tavorin
