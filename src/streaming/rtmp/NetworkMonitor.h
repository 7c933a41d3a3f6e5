#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

namespace tavorin {

class RTMPSocket;

struct NetworkMonitorReport {
  std::uint64_t totalBytesIn = 0;
  std::uint64_t totalBytesOut = 0;
  std::uint64_t currentQueueBytesOut = 0;
  std::uint64_t currentBytesInPerSecond = 0;
  std::uint64_t currentBytesOutPerSecond = 0;

  bool operator==(const NetworkMonitorReport&) const = default;
};

struct NetworkMonitorEvent {
  enum class Kind { status, publishInsufficientBWOccured, reset };
  Kind kind = Kind::status;
  NetworkMonitorReport report;
};

// The once-a-second look at a socket's byte counts. A send queue that grew
// on every one of the last `measureInterval` ticks says the network cannot
// take the stream.
class NetworkMonitor {
 public:
  static constexpr std::size_t measureInterval = 3;

  NetworkMonitor(boost::asio::io_context& context, std::weak_ptr<RTMPSocket> reporter);
  ~NetworkMonitor();
  NetworkMonitor(const NetworkMonitor&) = delete;
  NetworkMonitor& operator=(const NetworkMonitor&) = delete;

  bool isRunning() const { return isRunning_; }
  // Ticks on the context every second and hands each event to `onEvent`.
  void startRunning(std::function<void(const NetworkMonitorEvent&)> onEvent);
  void stopRunning();
  // One tick, as the timer runs it.
  void tick();

 private:
  void schedule();

  boost::asio::steady_timer timer_;
  std::weak_ptr<RTMPSocket> reporter_;
  std::function<void(const NetworkMonitorEvent&)> onEvent_;
  std::deque<std::uint64_t> queueSizes_;
  std::uint64_t previousBytesIn_ = 0;
  std::uint64_t previousBytesOut_ = 0;
  bool isRunning_ = false;
  // Tells a timer that fires after stopRunning that it belongs to an older run.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace tavorin
