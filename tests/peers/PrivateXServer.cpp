#include "peers/PrivateXServer.h"

#include <cstdlib>
#include <stdexcept>

#include "support/WaitFor.h"

namespace tavorin::testing {

PrivateXServer::PrivateXServer(int width, int height) {
  const auto numberFile = dir_ / "display";
  const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
  // -displayfd: the server picks a free number and writes it to standard output when ready.
  // -noreset: a server resets when its last client leaves and refuses connections meanwhile.
  process_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{findProgram("Xvfb", "xvfb"), "-displayfd", "1", "-screen", "0", screen, "-br", "-noreset",
                               "-nolisten", "tcp"},
      dir_ / "xvfb.log", SpawnOptions{numberFile, false});
  std::string number;
  waitFor([&] {
    number = readFile(numberFile);
    return !number.empty() && number.back() == '\n';
  }, 10);
  if (number.empty()) throw std::runtime_error("Xvfb did not start:\n" + logTail(dir_ / "xvfb.log"));
  name_ = ":" + number.substr(0, number.size() - 1);
  if (const char* display = std::getenv("DISPLAY")) {
    hadDisplay_ = true;
    previousDisplay_ = display;
  }
  setenv("DISPLAY", name_.c_str(), 1);
}

PrivateXServer::~PrivateXServer() {
  if (hadDisplay_) {
    setenv("DISPLAY", previousDisplay_.c_str(), 1);
  } else {
    unsetenv("DISPLAY");
  }
  process_->stop();
}

}  // namespace tavorin::testing
