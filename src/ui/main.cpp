#include <cstdio>
#include <string>
#include <vector>

#include "app/HeadlessRunner.h"
#include "app/LaunchOptions.h"
#include "ui/WindowRunner.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  auto parsed = tavorin::parseLaunchOptions(args);
  if (!parsed.options) {
    std::fprintf(stderr, "tavorin: %s\n%s", parsed.error.c_str(), tavorin::usageText().c_str());
    return 2;
  }
  if (parsed.options->help) {
    std::fputs(tavorin::usageText().c_str(), stdout);
    return 0;
  }
  if (parsed.options->headless) return tavorin::runHeadless(*parsed.options);
  return tavorin::runWindow(*parsed.options, argc, argv);
}
