#pragma once

#include <string>
#include <utility>

namespace tavorin {

// Where one destination stands. `since` is the wall-clock second it went
// live; `attempt` the try a reconnection is on; `message` why it gave up,
// or why a live stream dropped.
struct StreamState {
  enum class Kind { live, reconnecting, error, idle, connecting };

  Kind kind = Kind::idle;
  double since = 0;
  int attempt = 0;
  std::string message;
  double retryAfter = 0;  // reconnecting: seconds from `since` to the next try

  static StreamState live(double since) { return {Kind::live, since, 0, {}, 0}; }
  // `since` is the wall-clock second of the drop or failure, `retryAfter` the seconds until the next try.
  static StreamState reconnecting(int attempt, std::string why = {}, double since = 0, double retryAfter = 0) {
    return {Kind::reconnecting, since, attempt, std::move(why), retryAfter};
  }
  static StreamState error(std::string message) { return {Kind::error, 0, 0, std::move(message), 0}; }
  static StreamState idle() { return {}; }
  static StreamState connecting() { return {Kind::connecting, 0, 0, {}, 0}; }

  // On air or trying to be: the operator's toggle stops these.
  bool isActive() const { return kind == Kind::live || kind == Kind::reconnecting || kind == Kind::connecting; }
  // What the interface shows for the state.
  std::string label() const;

  bool operator==(const StreamState&) const = default;
};

}  // namespace tavorin
