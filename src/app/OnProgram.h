#pragma once

#include <string>

#include "model/MixerScene.h"

namespace tavorin {

class AppModel;
class LayoutStore;

// A scene named `name` that shows `sourceID` full-canvas: the stored one when
// there is one, else made and stored.
MixerScene sceneShowing(LayoutStore& layouts, const std::string& sourceID, const std::string& name);
// Cuts a source full-canvas to Program and makes sure Program's sound is heard
// somewhere; `what` names the source in the log lines.
void takeOverProgram(AppModel& model, const std::string& sourceID, const std::string& what);

}  // namespace tavorin
