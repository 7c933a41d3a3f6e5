// Sound against picture over a long show: the sync-test show recorded and
// streamed to the tests' own nginx for MINUTES, then in both files each
// flash is paired with the nearest beep onset. Prints the offset (picture
// minus sound, ms; positive: the sound leads) per minute as min/median/max
// for the recording and the stream, and the drift per hour: the slope of the
// offsets over the whole run.
//
//   AVSyncHarness [MINUTES]
//   AVSyncHarness --clip [MINUTES]  (a 7 s clip with a flash and a click on each second, looping on Program)
//   AVSyncHarness --file MOVIE    (measures a recording made elsewhere)
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "HarnessFigures.h"
#include "peers/NginxRtmp.h"
#include "support/ChildProcess.h"
#include "support/Ffprobe.h"
#include "support/TempDir.h"

using namespace tavorin;

namespace {

using Pair = testing::FlashBeep;

// Least-squares slope of offset over time, in seconds per second.
double slope(const std::vector<Pair>& list) {
  if (list.size() < 2) return 0;
  double sx = 0, sy = 0, sxx = 0, sxy = 0;
  for (const auto& p : list) {
    sx += p.at;
    sy += p.offset;
    sxx += p.at * p.at;
    sxy += p.at * p.offset;
  }
  const double n = static_cast<double>(list.size());
  const double denominator = n * sxx - sx * sx;
  return denominator == 0 ? 0 : (n * sxy - sx * sy) / denominator;
}

void report(const char* name, const std::vector<Pair>& list) {
  std::map<int, std::vector<double>> byMinute;
  for (const auto& p : list) byMinute[static_cast<int>(p.at / 60)].push_back(p.offset * 1000);
  std::printf("%s: %zu flashes paired\n", name, list.size());
  std::printf("  %-7s %8s %8s %8s %6s\n", "minute", "min", "median", "max", "n");
  for (const auto& [minute, offsets] : byMinute) {
    std::printf("  %-7d %8.1f %8.1f %8.1f %6zu\n", minute + 1, *std::min_element(offsets.begin(), offsets.end()),
                bench::median(offsets), *std::max_element(offsets.begin(), offsets.end()), offsets.size());
  }
  std::printf("  drift: %+.2f ms per hour\n", slope(list) * 3600 * 1000);
}

// The recording's program.mov under `folder`; empty when there is none.
std::filesystem::path programMovie(const std::filesystem::path& folder) {
  std::filesystem::path movie;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.path().filename() == "program.mov") movie = entry.path();
  }
  return movie;
}

// A clip's own sound against its own pictures, through the clip source, the
// mixer and the recorder: 7 s that loop, a white frame and a 1 kHz click on
// every whole second of the file.
int measureClip(double minutes) {
  testing::TempDir show;
  const auto clip = show.path() / "flash-click.mp4";
  const auto log = show.path() / "stderr.txt";
  const auto made = testing::runProcess(
      {testing::findProgram("ffmpeg", "ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
       "color=c=black:s=640x360:r=30:d=7,drawbox=x=0:y=0:w=iw:h=ih:color=white:t=fill:enable='lt(mod(t,1),0.03)'",
       "-f", "lavfi", "-i", "aevalsrc='0.5*sin(2*PI*1000*t)*lt(mod(t,1),0.05)':s=48000:d=7", "-c:v", "libx264",
       "-g", "30", "-pix_fmt", "yuv420p", "-c:a", "aac", "-shortest", clip.string()},
      log);
  if (made != std::optional<int>(0)) {
    std::fprintf(stderr, "the clip could not be made: %s\n", testing::readFile(log).c_str());
    return 1;
  }
  const auto recordings = show.path() / "recordings";
  const auto status = testing::runProcess(
      {TAVORIN_EXECUTABLE, "--headless", "--show-dir", show.path().string(), "--clip", clip.string(), "--seconds",
       std::to_string(minutes * 60), "--record", "--recordings-dir", recordings.string()},
      log, minutes * 60 + 120);
  if (status != std::optional<int>(0)) {
    std::fprintf(stderr, "the show did not run: %s\n", testing::readFile(log).c_str());
    return 1;
  }
  std::printf("a looping clip for %.1f min; offset = flash - click onset in ms (one frame = 33.3 ms)\n", minutes);
  report("recording", testing::flashBeepOffsets(programMovie(recordings)));
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2 && std::string(argv[1]) == "--file") {
    report(argv[2], testing::flashBeepOffsets(argv[2]));
    return 0;
  }
  if (argc > 1 && std::string(argv[1]) == "--clip") return measureClip(argc > 2 ? std::max(0.1, std::atof(argv[2])) : 1);
  const double minutes = argc > 1 ? std::max(0.1, std::atof(argv[1])) : 1;
  testing::NginxRtmp nginx;
  testing::TempDir show;
  const auto recordings = show.path() / "recordings";
  const auto log = show.path() / "stderr.txt";
  const auto status = testing::runProcess(
      {TAVORIN_EXECUTABLE, "--headless", "--show-dir", show.path().string(), "--sync-test", "--seconds",
       std::to_string(minutes * 60), "--record", "--recordings-dir", recordings.string(), "--stream",
       nginx.url("live") + "/sync"},
      log, minutes * 60 + 120);
  if (status != std::optional<int>(0)) {
    std::fprintf(stderr, "the show did not run: %s\n", testing::readFile(log).c_str());
    return 1;
  }
  const std::filesystem::path movie = programMovie(recordings);
  std::printf("sync test for %.1f min; offset = flash - beep onset in ms (EBU R37: -60 .. +40)\n", minutes);
  report("recording", testing::flashBeepOffsets(movie));
  report("stream", testing::flashBeepOffsets(nginx.recording("live", "sync")));
  return 0;
}
