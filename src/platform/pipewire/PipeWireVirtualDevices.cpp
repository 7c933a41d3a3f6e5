#include "platform/pipewire/PipeWireVirtualDevices.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <thread>

#include "base/AtomicFile.h"

namespace tavorin {
namespace {

// A double-quoted string in PipeWire's relaxed JSON.
std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

}  // namespace

PipeWireVirtualDevices::PipeWireVirtualDevices(PipeWireLoop& loop, PipeWireRegistry& registry,
                                               std::vector<NullAudioNodeSetup> devices)
    : loop_(loop), registry_(registry), devices_(std::move(devices)) {}

std::filesystem::path PipeWireVirtualDevices::fragmentPath() {
  std::filesystem::path config;
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg) {
    config = xdg;
  } else if (const char* home = std::getenv("HOME"); home && *home) {
    config = std::filesystem::path(home) / ".config";
  }
  return config / "pipewire" / "pipewire.conf.d" / "tavorin-devices.conf";
}

std::string PipeWireVirtualDevices::fragmentText(const std::vector<NullAudioNodeSetup>& devices) {
  std::string text =
      "# Tavorin's virtual audio devices, made by PipeWire at each start.\n"
      "# Tavorin writes and deletes this file when its devices are installed or uninstalled.\n"
      "context.objects = [\n";
  for (const NullAudioNodeSetup& device : devices) {
    text += "    { factory = adapter\n"
            "        args = {\n"
            "            factory.name     = support.null-audio-sink\n"
            "            node.name        = " + quoted(device.name) + "\n"
            "            node.description = " + quoted(device.description) + "\n"
            "            media.class      = " + quoted(device.mediaClass) + "\n"
            "            audio.position   = [ FL FR ]\n"
            "        }\n"
            // A device that cannot be made must not keep the daemon, and everyone's sound, from starting.
            "        flags = [ nofail ]\n"
            "    }\n";
  }
  return text + "]\n";
}

bool PipeWireVirtualDevices::present() const {
  return std::all_of(devices_.begin(), devices_.end(),
                     [&](const NullAudioNodeSetup& device) { return registry_.nodeNamed(device.name).has_value(); });
}

bool PipeWireVirtualDevices::install(std::string* error) {
  const auto path = fragmentPath();
  std::error_code ignored;
  std::filesystem::create_directories(path.parent_path(), ignored);
  if (!writeFileAtomically(path, fragmentText(devices_))) {
    if (error) *error = "cannot write " + path.string() + ": " + std::strerror(errno);
    return false;
  }
  // An install replaces all devices, so a half-installed set comes back whole.
  for (const NullAudioNodeSetup& device : devices_) registry_.destroyNodesNamed(device.name);
  if (!awaitListed(false)) {
    if (error) *error = "the old virtual devices did not go away";
    return false;
  }
  for (NullAudioNodeSetup device : devices_) {
    device.lingers = true;
    PipeWireNullAudioNode node(loop_, std::move(device));
    if (!node.create(error)) return false;
  }
  if (awaitListed(true)) return true;
  if (error) *error = "the virtual devices did not appear in PipeWire";
  return false;
}

bool PipeWireVirtualDevices::uninstall(std::string* error) {
  const auto path = fragmentPath();
  std::error_code failure;
  std::filesystem::remove(path, failure);
  if (failure) {
    if (error) *error = "cannot delete " + path.string() + ": " + failure.message();
    return false;
  }
  for (const NullAudioNodeSetup& device : devices_) registry_.destroyNodesNamed(device.name);
  if (awaitListed(false)) return true;
  if (error) *error = "the virtual devices did not go away";
  return false;
}

bool PipeWireVirtualDevices::awaitListed(bool listed) {
  // Listed means usable: the session manager has also given the node its
  // ports, without which it would not make it a default.
  auto settled = [&] {
    const AudioGraph graph = registry_.graph();
    return std::all_of(devices_.begin(), devices_.end(), [&](const NullAudioNodeSetup& device) {
      const auto id = graph.nodeIDNamed(device.name);
      return listed ? id && !graph.portsOf(*id, false).empty() : !id;
    });
  };
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!settled()) {
    if (std::chrono::steady_clock::now() > deadline || !loop_.roundTrip()) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

}  // namespace tavorin
