// Sound against picture over a long show: the sync-test show recorded and
// streamed to the tests' own nginx for MINUTES, then in both files each
// flash is paired with the nearest beep onset. Prints the offset (picture
// minus sound, ms; positive: the sound leads) per minute as min/median/max
// for the recording and the stream, and the drift per hour: the slope of the
// offsets over the whole run.
//
//   AVSyncHarness [MINUTES]
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

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2 && std::string(argv[1]) == "--file") {
    report(argv[2], testing::flashBeepOffsets(argv[2]));
    return 0;
  }
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
  std::filesystem::path movie;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(recordings)) {
    if (entry.path().filename() == "program.mov") movie = entry.path();
  }
  std::printf("sync test for %.1f min; offset = flash - beep onset in ms (EBU R37: -60 .. +40)\n", minutes);
  report("recording", testing::flashBeepOffsets(movie));
  report("stream", testing::flashBeepOffsets(nginx.recording("live", "sync")));
  return 0;
}
