#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/FrameSlotMap.h"
#include "base/MainQueue.h"
#include "base/Published.h"
#include "base/SerialQueue.h"
#include "model/CaptureQuality.h"
#include "platform/capture/CameraCapture.h"
#include "platform/capture/ScreenCapture.h"
#include "sources/SourceFactory.h"
#include "sources/SourceLifecycle.h"
#include "stores/Preferences.h"
#include "stores/SourcesStore.h"

namespace tavorin {

// The machine's cameras and screens as the show sees them: the lists the
// operator picks from, the sources made of them and rebuilt from
// "sources.json", their capture quality, and cameras that come and go.
// Main thread only.
class CaptureDevices {
 public:
  static constexpr std::string_view kCameraDenied =
      "Camera access denied — add yourself to the 'video' group or check /dev/video* permissions.";

  struct Wiring {
    MainQueue& queue;
    SourceLifecycle& lifecycle;
    SourcesStore& store;
    FrameSlotMap& frameSlots;
    Preferences& preferences;
    std::function<void(std::string)> log;
    // Rebuilds stored sources whose device, display or window is back.
    std::function<void()> restoreSources;
  };

  // Either may be null: a machine (or a test) without cameras or screens to capture.
  CaptureDevices(Wiring wiring, CameraDirectory* cameras, ScreenCaptureBackend* screens);
  ~CaptureDevices();
  CaptureDevices(const CaptureDevices&) = delete;
  CaptureDevices& operator=(const CaptureDevices&) = delete;

  // Teaches the factory to rebuild cameras, displays, windows and applications.
  void registerKinds(SourceFactory& factory);
  // Reads the cameras now and the screens on a worker; the stored sources are
  // rebuilt once the screens are known. Follows camera hot-plug from then on.
  void refresh();

  Published<std::vector<CameraDevice>> cameras;
  Published<ScreenTargets> screenTargets;
  // Nothing while screens can be captured; else why not, in words.
  Published<std::optional<std::string>> screenCaptureProblem;

  // Operator commands: the source is made, started and stored; its id, or
  // nothing when the device or target is not (or no longer) there.
  std::optional<std::string> addCamera(const std::string& uniqueID);
  std::optional<std::string> addDisplay(std::uint32_t displayID);
  std::optional<std::string> addWindow(std::uint32_t windowID);
  std::optional<std::string> addApplication(const std::string& appID);

  // A look at a camera or screen before it is added: captured under
  // kPreviewID, which monitors show as any source, until stopPreview or the
  // next preview. Something already in the show is shown as it is: the
  // returned id is then its own. Nothing when it is not there.
  static constexpr std::string_view kPreviewID = "preview:capture";
  std::optional<std::string> previewCamera(const std::string& uniqueID);
  std::optional<std::string> previewScreen(const ScreenTarget& target);
  void stopPreview();
  // The screen target of a display, window or application now listed.
  std::optional<ScreenTarget> displayTarget(std::uint32_t displayID) const;
  std::optional<ScreenTarget> windowTarget(std::uint32_t windowID) const;
  std::optional<ScreenTarget> applicationTarget(const std::string& appID) const;

  // Kept in "Tavorin.captureQualities"; a running source takes it at once.
  void setCaptureQuality(const std::string& sourceID, CaptureQuality quality);
  CaptureQuality captureQuality(const std::string& sourceID) const;
  // Windows every display capture leaves out (the presenter's own panels).
  void setExcludedWindows(std::set<std::uint32_t> windowIDs);

  // Lines for the window: screen sources that cannot capture, cameras refused to us.
  std::vector<std::string> permissionWarnings() const;

 private:
  std::shared_ptr<BaseSource> makeCamera(const SavedSource& saved);
  std::shared_ptr<BaseSource> makeScreen(const SavedSource& saved);
  std::shared_ptr<BaseSource> screenSource(const ScreenTarget& target, const std::string& id);
  std::optional<std::string> addScreen(const ScreenTarget& target, SavedSource saved);
  std::optional<std::string> showPreview(std::shared_ptr<BaseSource> source);
  // Cameras that came back are started again; new ones may rebuild stored sources.
  void camerasChanged();
  void enumerateScreens();

  Wiring wiring_;
  CameraDirectory* directory_;
  ScreenCaptureBackend* screens_;
  std::map<std::string, CaptureQuality> qualities_;
  std::set<std::uint32_t> excluded_;
  std::shared_ptr<BaseSource> preview_;
  std::shared_ptr<CaptureDevices*> self_ = std::make_shared<CaptureDevices*>(this);
  // Last: enumerations still running finish before the fields above go.
  SerialQueue work_{"Tavorin.Screens"};
};

}  // namespace tavorin
