// X11 display capture of a 1920x1080 screen under a private Xvfb, a window
// redrawn before every frame so each one carries damage. Figures per frame:
// "capture_us" is the CPU time of the capture's thread (waiting on the server,
// the pointer queries, converting BGRX into the frame, publishing);
// "convert_us" the conversion alone; "server_us" the CPU time Xvfb spends
// (damage, XShmGetImage's copy into shared memory); "memcpy_us" a plain copy of
// a 1920x1080x4 frame measured in the same run, and "x_memcpy" capture_us over it.
#include <X11/Xlib.h>
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ProcessCPU.h"
#include "platform/x11/ImageView.h"
#include "platform/x11/X11ScreenBackend.h"

namespace tavorin {
namespace {

constexpr int kWidth = 1920, kHeight = 1080;

// A private Xvfb; $DISPLAY points at it while it lives.
class BenchXServer {
 public:
  BenchXServer() {
    int fds[2];
    if (pipe(fds) != 0) throw std::runtime_error("pipe");
    pid_ = fork();
    if (pid_ == 0) {
      dup2(fds[1], 3);
      const std::string screen = std::to_string(kWidth) + "x" + std::to_string(kHeight) + "x24";
      execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", screen.c_str(), "-noreset", "-nolisten", "tcp", nullptr);
      _exit(127);
    }
    close(fds[1]);
    std::string number;
    char c = 0;
    while (read(fds[0], &c, 1) == 1 && c != '\n') number.push_back(c);
    close(fds[0]);
    if (number.empty()) throw std::runtime_error("Xvfb did not start (apt-get install xvfb)");
    setenv("DISPLAY", (":" + number).c_str(), 1);
  }
  ~BenchXServer() {
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
  }
  // User and system CPU seconds of the server so far.
  double cpuSeconds() const {
    std::ifstream stat("/proc/" + std::to_string(pid_) + "/stat");
    std::string field;
    unsigned long long utime = 0, stime = 0;
    // The command name has no spaces here ("(Xvfb)"): fields 14 and 15 are the times.
    for (int i = 1; i <= 15 && stat >> field; ++i) {
      if (i == 14) utime = std::stoull(field);
      if (i == 15) stime = std::stoull(field);
    }
    return static_cast<double>(utime + stime) / static_cast<double>(sysconf(_SC_CLK_TCK));
  }

 private:
  pid_t pid_ = -1;
};

void BM_DisplayFrame1080p(benchmark::State& state) {
  BenchXServer server;
  Display* display = XOpenDisplay(nullptr);
  const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 400, 300, 0, 0, 0);
  XMapWindow(display, window);
  XSync(display, False);

  std::mutex mutex;
  int frames = 0;
  double captureCPU = 0;  // the capture thread's CPU clock at its latest frame
  X11ScreenBackend backend;
  auto targets = std::get<ScreenTargets>(backend.enumerate());
  ScreenTarget target;
  target.display = targets.displays.front();
  auto capture = backend.makeCapture();
  capture->start(target, {kWidth, kHeight},
                 [&](PixelBufferRef) {
                   std::lock_guard lock(mutex);
                   ++frames;
                   captureCPU = threadCPUSeconds();
                 },
                 [](const std::string&) {});
  // Polled: the capture's callback stays as light as a real consumer's.
  const auto waitFor = [&](int count) {
    for (int i = 0; i < 25000; ++i) {
      {
        std::lock_guard lock(mutex);
        if (frames >= count) return;
      }
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  };
  waitFor(1);

  std::vector<std::uint8_t> source(kWidth * kHeight * 4), target1(kWidth * kHeight * 4);
  double memcpySeconds = 0;
  int copies = 0;
  double startCapture = 0, startServer = server.cpuSeconds();
  int startFrames = 0;
  {
    std::lock_guard lock(mutex);
    startCapture = captureCPU;
    startFrames = frames;
  }
  unsigned long colour = 0x102030;
  for (auto _ : state) {
    colour ^= 0xffffff;
    XSetWindowBackground(display, window, colour);
    XClearWindow(display, window);
    XFlush(display);
    int expected = 0;
    {
      std::lock_guard lock(mutex);
      expected = frames + 1;
    }
    waitFor(expected);
    state.PauseTiming();
    const double began = threadCPUSeconds();
    std::memcpy(target1.data(), source.data(), source.size());
    benchmark::ClobberMemory();
    memcpySeconds += threadCPUSeconds() - began;
    ++copies;
    source[copies % source.size()] ^= 1;
    state.ResumeTiming();
  }
  double captureSeconds = 0;
  int captured = 0;
  {
    std::lock_guard lock(mutex);
    captureSeconds = captureCPU - startCapture;
    captured = frames - startFrames;
  }
  const double serverSeconds = server.cpuSeconds() - startServer;
  capture->stop();

  // The conversion alone, BGRX into a pooled frame's rows, as the capture does it.
  auto frame = PixelBuffer::make(kWidth, kHeight);
  const ImageView in{source.data(), kWidth, kHeight, static_cast<std::size_t>(kWidth) * 4};
  const double convertBegan = threadCPUSeconds();
  for (int i = 0; i < 50; ++i) {
    copyPixels(in, AlphaMode::ignored, ImageView::of(*frame));
    benchmark::ClobberMemory();
  }
  const double convertSeconds = (threadCPUSeconds() - convertBegan) / 50;

  XDestroyWindow(display, window);
  XCloseDisplay(display);
  const double perFrame = captured > 0 ? captureSeconds / captured : 0;
  const double memcpyPerFrame = copies > 0 ? memcpySeconds / copies : 0;
  state.counters["capture_us"] = perFrame * 1e6;
  state.counters["convert_us"] = convertSeconds * 1e6;
  state.counters["server_us"] = captured > 0 ? serverSeconds / captured * 1e6 : 0;
  state.counters["memcpy_us"] = memcpyPerFrame * 1e6;
  state.counters["x_memcpy"] = memcpyPerFrame > 0 ? perFrame / memcpyPerFrame : 0;
  state.counters["frames"] = captured;
}
BENCHMARK(BM_DisplayFrame1080p)->Unit(benchmark::kMillisecond)->Iterations(300);

}  // namespace
}  // namespace tavorin
