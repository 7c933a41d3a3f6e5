#pragma once

#include <QQmlApplicationEngine>
#include <memory>

#include "ui/AudioDevicesBridge.h"
#include "ui/AudioFilterBridge.h"
#include "ui/CaptureBridge.h"
#include "ui/ClipBridge.h"
#include "ui/DeckBridge.h"
#include "ui/GraphicsBridge.h"
#include "ui/LayerFilterStack.h"
#include "ui/ReplayBridge.h"
#include "ui/WebBridge.h"
#include "ui/LayerInspector.h"
#include "ui/LayerListModel.h"
#include "ui/LayerShapeEditor.h"
#include "ui/MixerBridge.h"
#include "ui/RecordingBridge.h"
#include "ui/SceneListModel.h"
#include "ui/SettingsBridge.h"
#include "ui/SoundEffectsBridge.h"
#include "ui/SourceListModel.h"
#include "ui/StreamingBridge.h"
#include "ui/StatusBridge.h"
#include "ui/TitleBridge.h"
#include "ui/SwitcherBridge.h"
#include "ui/TransitionBuilderBridge.h"

class QQuickWindow;

namespace tavorin {

class AppModel;

// The operator's main window over a started model: the views' bridges, the
// monitors' feed and the QML scene; it remembers its place and size. Main thread only.
class ShowWindow {
 public:
  explicit ShowWindow(AppModel& model);
  ~ShowWindow();
  ShowWindow(const ShowWindow&) = delete;
  ShowWindow& operator=(const ShowWindow&) = delete;

  // Null when the window's scene did not load (the reasons go to standard error).
  QQuickWindow* window() const;

  SwitcherBridge& switcher() { return switcher_; }
  SceneListModel& scenes() { return scenes_; }
  SourceListModel& sources() { return sources_; }
  LayerListModel& layers() { return layers_; }
  LayerInspector& inspector() { return inspector_; }
  LayerShapeEditor& shapes() { return shapes_; }
  MixerBridge& mixer() { return mixer_; }
  AudioFilterBridge& audioFilters() { return audioFilters_; }
  RecordingBridge& recorder() { return recorder_; }
  StreamingBridge& streams() { return streams_; }
  SettingsBridge& settings() { return settings_; }
  TransitionBuilderBridge& builder() { return builder_; }
  CaptureBridge& capture() { return capture_; }
  ClipBridge& clips() { return clips_; }
  TitleBridge& titles() { return titles_; }
  StatusBridge& status() { return status_; }
  SoundEffectsBridge& soundEffects() { return soundEffects_; }
  AudioDevicesBridge& audioDevices() { return audioDevices_; }
  DeckBridge& deck() { return deck_; }

 private:
  // The window comes back where the operator left it (in the preferences).
  void restoreGeometry();
  void saveGeometry();

  AppModel& model_;
  SwitcherBridge switcher_;
  SceneListModel scenes_;
  SourceListModel sources_;
  LayerListModel layers_;
  LayerInspector inspector_;
  LayerShapeEditor shapes_;
  MixerBridge mixer_;
  AudioFilterBridge audioFilters_;
  RecordingBridge recorder_;
  StreamingBridge streams_;
  SettingsBridge settings_;
  TransitionBuilderBridge builder_;
  CaptureBridge capture_;
  ClipBridge clips_;
  TitleBridge titles_;
  StatusBridge status_;
  SoundEffectsBridge soundEffects_;
  AudioDevicesBridge audioDevices_;
  DeckBridge deck_;
  WebBridge web_;
  GraphicsBridge graphics_;
  ReplayBridge replay_;
  LayerFilterStack filters_;
  std::unique_ptr<QQmlApplicationEngine> engine_;
};

}  // namespace tavorin
