#include "platform/desktop/SessionBusAddress.h"

#include <sys/stat.h>

#include <cstdlib>

namespace tavorin {

std::string sessionBusAddress() {
  const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
  if (address && *address) return address;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (!runtime || !*runtime) return {};
  const std::string socket = std::string(runtime) + "/bus";
  struct stat info {};
  if (::stat(socket.c_str(), &info) != 0 || !S_ISSOCK(info.st_mode)) return {};
  return "unix:path=" + socket;
}

}  // namespace tavorin
