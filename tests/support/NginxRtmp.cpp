#include "support/NginxRtmp.h"

#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "support/ChildProcess.h"

namespace tavorin::testing {
NginxRtmp::NginxRtmp() : script_(peerScript("nginx-rtmp").string()) { start(); }

NginxRtmp::~NginxRtmp() {
  try {
    stop();
  } catch (const std::exception&) {
    // Stopping is best effort; the temp folder goes anyway.
  }
}

void NginxRtmp::start() {
  const auto exports = dir_ / "exports";
  runScript("start", exports);
  std::istringstream lines(readFile(exports));
  std::string line;
  while (std::getline(lines, line)) {
    const auto equals = line.find('=');
    if (line.rfind("export ", 0) != 0 || equals == std::string::npos) continue;
    const std::string name = line.substr(7, equals - 7);
    const std::string value = line.substr(equals + 1);
    if (name == "NGINX_RTMP_PORT") rtmpPort_ = std::stoi(value);
    if (name == "NGINX_RTMPS_PORT") rtmpsPort_ = std::stoi(value);
    if (name == "NGINX_HTTP_PORT") httpPort_ = std::stoi(value);
  }
  if (rtmpPort_ == 0 || rtmpsPort_ == 0 || httpPort_ == 0) {
    throw std::runtime_error("tests/peers/nginx-rtmp start printed no ports: " + readFile(exports));
  }
}

void NginxRtmp::stop() { runScript("stop"); }

void NginxRtmp::restart() {
  stop();
  start();
}

std::string NginxRtmp::url(const std::string& app) const {
  return "rtmp://127.0.0.1:" + std::to_string(rtmpPort_) + "/" + app;
}

std::string NginxRtmp::rtmpsURL(const std::string& app) const {
  return "rtmps://127.0.0.1:" + std::to_string(rtmpsPort_) + "/" + app;
}

std::filesystem::path NginxRtmp::recording(const std::string& app, const std::string& key) const {
  // The folders the peer script gives each application.
  std::string folder = "rec-" + app;
  if (app == "live") folder = "rec";
  if (app == "live2") folder = "rec2";
  if (app == "live3") folder = "rec3";
  return dir_ / folder / (key + ".flv");
}

void NginxRtmp::runScript(const std::string& command, const std::filesystem::path& output) {
  const auto errors = dir_ / "script-errors";
  const auto code = runProcess({"/bin/sh", "-c", "exec \"$1\" \"$2\" \"$3\" >\"$4\"", "sh", script_, command,
                                dir_.path().string(), output.empty() ? "/dev/null" : output.string()},
                               errors, 20);
  if (code == 0) return;
  std::string message = trimmed(readFile(errors));
  if (message.empty()) message = "tests/peers/nginx-rtmp " + command + " failed";
  throw std::runtime_error(message);
}

bool publishWithFfmpeg(const std::string& url, double seconds, const std::filesystem::path& logFile) {
  const auto code = runProcess({findProgram("ffmpeg", "ffmpeg"), "-hide_banner", "-nostdin", "-loglevel", "error",
                                "-re", "-f", "lavfi", "-i", "testsrc=size=320x240:rate=30", "-f", "lavfi", "-i",
                                "sine", "-t", std::to_string(seconds), "-c:v", "libx264", "-c:a", "aac", "-f", "flv",
                                url},
                               logFile, seconds + 20);
  return code == 0;
}

}  // namespace tavorin::testing
