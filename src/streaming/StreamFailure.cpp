#include "streaming/StreamFailure.h"

#include <algorithm>
#include <cmath>

namespace tavorin::stream_failure {

namespace {

bool contains(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

}  // namespace

bool isFatal(const std::string& errorText) {
  return contains(errorText, "BadName") || contains(errorText, "unsupportedCommand");
}

std::string friendlyText(const std::string& errorText) {
  if (contains(errorText, "NetStream.Publish.BadName")) return "Stream key rejected — check the key";
  if (contains(errorText, "requestTimedOut")) return "Server didn't respond — check the URL";
  if (contains(errorText, "unsupportedCommand")) return "Invalid server URL";
  if (contains(errorText, "ECONNREFUSED") || contains(errorText, "refused")) {
    return "Connection refused — check the URL/port";
  }
  // Whole UTF-8 sequences only, so the cut never leaves half a character.
  std::size_t cut = 0;
  int characters = 0;
  while (cut < errorText.size() && characters < 120) {
    ++cut;
    while (cut < errorText.size() && (static_cast<unsigned char>(errorText[cut]) & 0xC0) == 0x80) ++cut;
    ++characters;
  }
  return "Failed: " + errorText.substr(0, cut);
}

double backOff(int attempt) { return std::min(std::pow(2.0, std::max(attempt, 0)), 30.0); }

}  // namespace tavorin::stream_failure
