#pragma once

#include <string>
#include <vector>

#include "platform/media/VideoEncoding.h"

namespace tavorin {

// Which hardware video encoders open on this machine, found once at start by
// opening each for real: a driver that is installed but refuses (no device,
// no session left) counts as absent.
struct HardwareEncoders {
  // The DRM render node VAAPI runs on; empty when there is none.
  std::string renderNode;
  bool vaapiH264 = false;
  bool vaapiHevc = false;
  bool nvencH264 = false;
  bool nvencHevc = false;

  // FFmpeg encoder names for `codec` in the order to try them: hardware first
  // when preferred and present, then software where there is one.
  std::vector<std::string> candidates(VideoCodecKind codec, bool preferHardware) const;
};

// `renderNode` is the node the GL context draws on when known; empty takes
// the first /dev/dri/renderD* there is.
HardwareEncoders probeHardwareEncoders(const std::string& renderNode = {});

}  // namespace tavorin
