#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/pipewire/PipeWireLoop.h"
#include "platform/pipewire/PipeWireNullAudioNode.h"
#include "platform/pipewire/PipeWireRegistry.h"

namespace tavorin {

// Devices that other applications see as their own and that outlive us:
// installing makes them now, as lingering nodes, and writes a fragment of
// PipeWire's configuration so that the daemon makes them again at each start.
// No root and no daemon restart, which would cut every application's sound.
class PipeWireVirtualDevices {
 public:
  PipeWireVirtualDevices(PipeWireLoop& loop, PipeWireRegistry& registry, std::vector<NullAudioNodeSetup> devices);

  // pipewire/pipewire.conf.d/tavorin-devices.conf under $XDG_CONFIG_HOME, else ~/.config.
  static std::filesystem::path fragmentPath();
  // The fragment's text: one adapter node in context.objects per device.
  static std::string fragmentText(const std::vector<NullAudioNodeSetup>& devices);

  // Every device's node is in the graph.
  bool present() const;
  // Writes the fragment and makes every device anew, replacing nodes of the
  // same names, and waits until they are listed with their ports. Not from the loop thread.
  bool install(std::string* error);
  // Deletes the fragment and destroys the nodes. Not from the loop thread.
  bool uninstall(std::string* error);

 private:
  // Until every device is listed with its ports (`listed`) or none is; false on time-out.
  bool awaitListed(bool listed);

  PipeWireLoop& loop_;
  PipeWireRegistry& registry_;
  const std::vector<NullAudioNodeSetup> devices_;
};

}  // namespace tavorin
