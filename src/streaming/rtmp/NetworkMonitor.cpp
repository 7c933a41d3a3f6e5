#include "streaming/rtmp/NetworkMonitor.h"

#include "streaming/rtmp/RTMPSocket.h"

namespace tavorin {

NetworkMonitor::NetworkMonitor(boost::asio::io_context& context, std::weak_ptr<RTMPSocket> reporter)
    : timer_(context), reporter_(std::move(reporter)) {}

NetworkMonitor::~NetworkMonitor() { stopRunning(); }

void NetworkMonitor::startRunning(std::function<void(const NetworkMonitorEvent&)> onEvent) {
  if (isRunning_) return;
  isRunning_ = true;
  onEvent_ = std::move(onEvent);
  alive_ = std::make_shared<bool>(true);
  schedule();
}

void NetworkMonitor::stopRunning() {
  if (!isRunning_) return;
  isRunning_ = false;
  *alive_ = false;
  timer_.cancel();
  onEvent_ = nullptr;
}

void NetworkMonitor::schedule() {
  timer_.expires_after(std::chrono::seconds(1));
  timer_.async_wait([this, alive = alive_](const boost::system::error_code& error) {
    if (error || !*alive) return;
    tick();
    if (*alive) schedule();
  });
}

void NetworkMonitor::tick() {
  auto socket = reporter_.lock();
  if (!socket || !onEvent_) return;
  NetworkMonitorReport report;
  report.totalBytesIn = socket->totalBytesIn();
  report.totalBytesOut = socket->totalBytesOut();
  report.currentQueueBytesOut = socket->queueBytesOut();
  report.currentBytesInPerSecond = report.totalBytesIn - previousBytesIn_;
  report.currentBytesOutPerSecond = report.totalBytesOut - previousBytesOut_;
  previousBytesIn_ = report.totalBytesIn;
  previousBytesOut_ = report.totalBytesOut;
  queueSizes_.push_back(report.currentQueueBytesOut);
  NetworkMonitorEvent event{NetworkMonitorEvent::Kind::status, report};
  if (queueSizes_.size() == measureInterval) {
    bool growing = true;
    for (std::size_t i = 1; i < queueSizes_.size(); ++i) growing = growing && queueSizes_[i] > queueSizes_.front();
    if (growing) event.kind = NetworkMonitorEvent::Kind::publishInsufficientBWOccured;
    queueSizes_.pop_front();
  }
  onEvent_(event);
}

}  // namespace tavorin
