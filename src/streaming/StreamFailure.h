#pragma once

#include <string>

namespace tavorin {

// How a session reads a failed attempt: which failures end it, what the
// operator is told, and how long it waits before the next try.
namespace stream_failure {

inline constexpr int kRetriesBeforeGivingUp = 8;

// A rejected key or a bad URL: trying again cannot help.
bool isFatal(const std::string& errorText);
// The operator's words for an error's text.
std::string friendlyText(const std::string& errorText);
// Seconds to wait before attempt `attempt` (1 and up): 2, 4, 8, 16, then 30.
double backOff(int attempt);

}  // namespace stream_failure

}  // namespace tavorin
