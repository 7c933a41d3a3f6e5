#pragma once

#include <map>
#include <string>

namespace tavorin {

// The meters the mixer publishes 15 times a second.
struct AudioMeters {
  std::map<std::string, float> inputs;  // fast-decay level per channel
  std::map<std::string, float> peaks;   // slow-decay peak per channel
  float program = 0;
  std::map<std::string, float> monitors;  // per bus
  friend bool operator==(const AudioMeters&, const AudioMeters&) = default;
};

// How well one channel's feeds keep up, refreshed once a second.
struct AudioChannelHealth {
  std::string id;
  std::string name;
  int bufferMS = 0;
  long long underruns = 0;
  long long trims = 0;
  long long overflows = 0;
  friend bool operator==(const AudioChannelHealth&, const AudioChannelHealth&) = default;
};

}  // namespace tavorin
