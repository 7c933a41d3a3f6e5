#pragma once

#include <functional>
#include <string>
#include <utility>

#include "platform/media/EncoderError.h"

namespace tavorin {

// An encoder's failures as the operator reads them: one plain line when it
// starts losing media and one when it works again, however many frames or
// blocks fail in between. Used on the encoder's own thread only.
class EncoderFailureReport {
 public:
  using LogHandler = std::function<void(const std::string&)>;

  EncoderFailureReport(std::string who, LogHandler log) : who_(std::move(who)), log_(std::move(log)) {}

  void failed(EncoderError error) {
    if (lost_++ == 0 && log_) log_(who_ + " is losing media: " + std::string(describe(error)));
  }
  void succeeded() {
    if (lost_ == 0) return;
    if (log_) log_(who_ + " works again after losing " + std::to_string(lost_) + (lost_ == 1 ? " item" : " items"));
    lost_ = 0;
  }

 private:
  const std::string who_;
  LogHandler log_;
  long lost_ = 0;
};

}  // namespace tavorin
