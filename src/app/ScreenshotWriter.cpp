#include "app/ScreenshotWriter.h"

#include "base/ThreadName.h"
#include "platform/media/PngWriter.h"

namespace tavorin {

ScreenshotWriter::ScreenshotWriter(MainQueue& queue) : queue_(queue) {}

ScreenshotWriter::~ScreenshotWriter() {
  self_.reset();
  {
    std::lock_guard hold(lock_);
    stopping_ = true;
  }
  wake_.notify_one();
  if (worker_.joinable()) worker_.join();
}

void ScreenshotWriter::write(FrameRef frame, std::filesystem::path file, Done done) {
  write([frame = std::move(frame)] { return frame; }, std::move(file), std::move(done));
}

void ScreenshotWriter::write(FrameSource source, std::filesystem::path file, Done done) {
  const std::filesystem::path wanted = file;
  std::error_code ignored;
  for (int n = 2; queuedNames_.count(file) || std::filesystem::exists(file, ignored); ++n) {
    file = wanted.parent_path() / (wanted.stem().string() + "-" + std::to_string(n) + wanted.extension().string());
  }
  queuedNames_.insert(file);
  std::weak_ptr<ScreenshotWriter*> weakSelf = self_;
  MainQueue& queue = queue_;
  Done answer = [weakSelf, &queue, done = std::move(done)](const std::filesystem::path& written, bool ok,
                                                           const std::string& error) {
    queue.post([weakSelf, done, written, ok, error] {
      auto self = weakSelf.lock();
      if (!self) return;
      (*self)->queuedNames_.erase(written);
      if (done) done(written, ok, error);
    });
  };
  {
    std::lock_guard hold(lock_);
    jobs_.push_back({std::move(source), std::move(file), std::move(answer)});
  }
  if (!worker_.joinable()) {
    worker_ = std::thread([this] { run(); });
  }
  wake_.notify_one();
}

void ScreenshotWriter::run() {
  nameThisThread("Tavorin.Shot");
  for (;;) {
    Job job;
    {
      std::unique_lock hold(lock_);
      wake_.wait(hold, [&] { return stopping_ || !jobs_.empty(); });
      if (jobs_.empty()) return;
      job = std::move(jobs_.front());
      jobs_.pop_front();
    }
    std::string error;
    FrameRef frame = job.frame();
    const bool written = frame && writePNG(*frame, job.file, &error);
    // The frame goes back to its pool here, not on the main thread.
    frame.reset();
    job.frame = nullptr;
    job.done(job.file, written, error);
  }
}

}  // namespace tavorin
