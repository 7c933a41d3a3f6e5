#pragma once

#include <optional>
#include <string>
#include <utility>

#include "sources/BaseSource.h"

namespace tavorin::testing {

// A source whose start can fail or wait, and that counts what the lifecycle asks of it.
class FakeSource : public BaseSource {
 public:
  explicit FakeSource(std::string id, bool screenLike = false)
      : BaseSource(std::move(id), "Cam", SourceKind::camera), screenLike_(screenLike) {}

  std::optional<std::string> failWith;
  bool holdStart = false;
  int starts = 0, stops = 0, parks = 0, resumes = 0, restarts = 0, replays = 0;
  bool turnsIn3D = false;
  std::optional<std::pair<double, double>> pose;  // yaw, pitch

  void start(StartDone done) override {
    ++starts;
    pending_ = std::move(done);
    if (!holdStart) finishStart();
  }
  void finishStart() {
    if (!failWith) setRunning(true);
    std::exchange(pending_, nullptr)(failWith);
  }
  void stop() override {
    ++stops;
    setRunning(false);
  }
  void park() override { ++parks; }
  void resume() override { ++resumes; }
  bool superviseStalls() const override { return screenLike_; }
  bool restartsItself() const override { return screenLike_; }
  void restartCapture() override { ++restarts; }
  void replayFromStart() override { ++replays; }
  bool takesTextPose() const override { return turnsIn3D; }
  void setTextPose(double yawDeg, double pitchDeg) override { pose = {yawDeg, pitchDeg}; }
  void markRunning() { setRunning(true); }

 private:
  bool screenLike_;
  StartDone pending_;
};

}  // namespace tavorin::testing
