#pragma once

#include <string>

namespace tavorin {

class AppModel;

// The health of the show in one line, for a terminal when there is no
// window: the frame rate, the process's CPU since the last line, free disk,
// the frames each output lost, and how long it has been recording and live.
class StatusLine {
 public:
  explicit StatusLine(const AppModel& model);

  // The line for the time since the previous one (or since construction).
  std::string next();

 private:
  const AppModel& model_;
  double lastWall_ = 0;
  double lastCpu_ = 0;
};

}  // namespace tavorin
