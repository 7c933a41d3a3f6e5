#include <cstdio>
#include <string>
#include <vector>

#include "app/HeadlessRunner.h"
#include "app/LaunchOptions.h"

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
  return tavorin::runHeadless(*parsed.options);
}
