#pragma once

#include <memory>
#include <string>

#include "audio/AudioBackend.h"
#include "base/MainQueue.h"

namespace tavorin {

// The mixer's devices and streams on the session's PipeWire daemon. Null with
// `error` set when no daemon answers: the show then goes on without sound.
std::unique_ptr<AudioBackend> makePipeWireAudioBackend(MainQueue& queue, std::string* error);

}  // namespace tavorin
