#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavorin {

// What the command line asked for.
struct LaunchOptions {
  bool headless = false;
  std::optional<std::filesystem::path> showDir;  // replaces the show folder and the preferences file
  std::optional<double> seconds;                 // quit cleanly after this long
  bool demo = false;                             // build the demo show and take through it
  double takeEvery = 4.0;                        // seconds between the demo's takes
  // A media file looping on Program with its sound on air (a show's intro loop, or a sync check of clips).
  std::optional<std::filesystem::path> clip;
  bool syncTest = false;  // the sync-test picture and beep on Program, to line up a chain and measure A/V sync
  std::optional<std::filesystem::path> snapshot;  // PNG of the newest Program frame, written on quit
  bool record = false;                            // record Program from launch to quit
  std::optional<std::filesystem::path> recordingsDir;  // replaces the recordings folder
  std::vector<std::string> streamURLs;  // go live to each rtmp(s)://host/app/key from launch to quit
  bool status = false;                  // a line on the show's health to standard error every 10 s
  bool help = false;
};

struct LaunchOptionsResult {
  std::optional<LaunchOptions> options;
  std::string error;  // why parsing failed, when it did
};

LaunchOptionsResult parseLaunchOptions(const std::vector<std::string>& args);
std::string usageText();

}  // namespace tavorin
