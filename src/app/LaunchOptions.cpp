#include "app/LaunchOptions.h"

#include <charconv>
#include <cmath>

#include "streaming/StreamURL.h"

namespace tavorin {

namespace {

std::optional<double> parseSeconds(const std::string& text) {
  double value = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc{} || end != text.data() + text.size() || !std::isfinite(value) || value < 0) return std::nullopt;
  return value;
}

}  // namespace

LaunchOptionsResult parseLaunchOptions(const std::vector<std::string>& args) {
  LaunchOptions options;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    auto needValue = [&](std::string& out) -> bool {
      if (i + 1 >= args.size()) return false;
      out = args[++i];
      return true;
    };
    if (arg == "--headless") {
      options.headless = true;
    } else if (arg == "--help" || arg == "-h") {
      options.help = true;
    } else if (arg == "--show-dir") {
      std::string dir;
      if (!needValue(dir) || dir.empty()) return {std::nullopt, "--show-dir needs a folder"};
      options.showDir = std::filesystem::path(dir);
    } else if (arg == "--seconds") {
      std::string text;
      if (!needValue(text)) return {std::nullopt, "--seconds needs a number"};
      auto seconds = parseSeconds(text);
      if (!seconds) return {std::nullopt, "--seconds needs a number of seconds, not \"" + text + "\""};
      options.seconds = seconds;
    } else if (arg == "--demo") {
      options.demo = true;
    } else if (arg == "--sync-test") {
      options.syncTest = true;
    } else if (arg == "--clip") {
      std::string file;
      if (!needValue(file) || file.empty()) return {std::nullopt, "--clip needs a media file"};
      options.clip = std::filesystem::path(file);
    } else if (arg == "--take-every") {
      std::string text;
      if (!needValue(text)) return {std::nullopt, "--take-every needs a number"};
      auto seconds = parseSeconds(text);
      if (!seconds || *seconds < 0.5) return {std::nullopt, "--take-every needs at least 0.5 seconds, not \"" + text + "\""};
      options.takeEvery = *seconds;
    } else if (arg == "--snapshot") {
      std::string file;
      if (!needValue(file) || file.empty()) return {std::nullopt, "--snapshot needs a file name"};
      options.snapshot = std::filesystem::path(file);
    } else if (arg == "--status") {
      options.status = true;
    } else if (arg == "--record") {
      options.record = true;
    } else if (arg == "--recordings-dir") {
      std::string dir;
      if (!needValue(dir) || dir.empty()) return {std::nullopt, "--recordings-dir needs a folder"};
      options.recordingsDir = std::filesystem::path(dir);
    } else if (arg == "--stream") {
      std::string url;
      if (!needValue(url) || !splitStreamURL(url)) return {std::nullopt, "--stream needs rtmp(s)://host[:port]/app/key"};
      options.streamURLs.push_back(url);
    } else {
      return {std::nullopt, "unknown argument \"" + arg + "\""};
    }
  }
  if (int(options.demo) + int(options.syncTest) + int(options.clip.has_value()) > 1) {
    return {std::nullopt, "--demo, --sync-test and --clip each take over Program; pick one"};
  }
  if (options.status && !options.headless) return {std::nullopt, "--status goes with --headless; the window shows it"};
  return {options, {}};
}

std::string usageText() {
  return "usage: tavorin [--headless] [--show-dir DIR] [--seconds N] [--demo [--take-every S] | --sync-test | --clip FILE]\n"
         "               [--snapshot FILE.png] [--record] [--recordings-dir DIR] [--stream URL]... [--status]\n"
         "  --headless          run the show without a window (without it, the window opens)\n"
         "  --show-dir DIR      use DIR as the show folder (and for preferences.json)\n"
         "  --seconds N         quit cleanly after N seconds\n"
         "  --demo              build a demo show and take through its scenes\n"
         "  --take-every S      seconds between the demo's takes (default 4)\n"
         "  --sync-test         put a flash and a beep on every second on Program, to line up A/V sync\n"
         "  --clip FILE         loop a media file on Program with its sound on air\n"
         "  --snapshot FILE     write the newest Program frame as a PNG on quit\n"
         "  --record            record Program from launch and finish the file on quit\n"
         "  --recordings-dir DIR  record under DIR instead of the recordings folder\n"
         "  --stream URL        go live to rtmp(s)://host[:port]/app/KEY from launch to quit (repeatable)\n"
         "  --status            every 10 s, one line on frame rate, CPU, dropped frames, recording and live times\n"
         "Signals: INT, TERM or HUP quit cleanly; USR1 restarts audio.\n";
}

}  // namespace tavorin
