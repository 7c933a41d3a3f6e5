#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "base/MainQueue.h"
#include "base/PixelBuffer.h"

namespace tavorin {

// Writes Program screenshots as PNG files, one after another, on a thread of
// its own: a request while one is being written only queues, so the main
// thread never waits on an encoding. Frames are held by reference until written.
class ScreenshotWriter {
 public:
  // On the main queue: the file written, or why it was not.
  using Done = std::function<void(const std::filesystem::path& file, bool written, const std::string& error)>;

  explicit ScreenshotWriter(MainQueue& queue);
  // Writes what is still queued, then goes; its answers then go nowhere.
  ~ScreenshotWriter();
  ScreenshotWriter(const ScreenshotWriter&) = delete;
  ScreenshotWriter& operator=(const ScreenshotWriter&) = delete;

  // Main thread. Queues `frame` for `file`, or for "<name>-2.png" and so on
  // when that name is on disk or queued already (two shots in one second).
  void write(FrameRef frame, std::filesystem::path file, Done done);
  // The same with the picture taken on the writer's thread, which may wait
  // for it to be drawn; nothing from it writes no file and answers an empty error.
  using FrameSource = std::function<FrameRef()>;
  void write(FrameSource source, std::filesystem::path file, Done done);

 private:
  struct Job {
    FrameSource frame;
    std::filesystem::path file;
    Done done;
  };

  void run();

  MainQueue& queue_;
  std::set<std::filesystem::path> queuedNames_;  // main thread
  std::mutex lock_;
  std::condition_variable wake_;
  std::deque<Job> jobs_;
  bool stopping_ = false;
  std::thread worker_;
  std::shared_ptr<ScreenshotWriter*> self_ = std::make_shared<ScreenshotWriter*>(this);
};

}  // namespace tavorin
