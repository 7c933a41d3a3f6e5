#include "app/EncoderConsumers.h"

#include <iterator>
#include <string>
#include <tuple>
#include <utility>

#include "model/StreamDestination.h"

namespace tavorin {

namespace {

constexpr std::pair<StreamCanvas, Canvas> kEncodedCanvases[] = {{StreamCanvas::main, Canvas::program},
                                                                 {StreamCanvas::vertical, Canvas::vertical}};

}  // namespace

EncoderConsumers::EncoderConsumers(SharedEncoders& encoders, CompositorEngine& engine, MainQueue& queue)
    : encoders_(encoders), engine_(engine) {
  std::weak_ptr<EncoderConsumers*> weakSelf = self_;
  encoders_.setOnVideoChanged([weakSelf, &queue] {
    queue.post([weakSelf] {
      if (auto self = weakSelf.lock()) (*self)->update();
    });
  });
  update();
}

EncoderConsumers::~EncoderConsumers() {
  encoders_.setOnVideoChanged({});
  for (Need& need : needs_) {
    if (need.id) engine_.removeConsumer(*need.id);
  }
}

void EncoderConsumers::update() {
  // The rates are read here, on the main queue, not carried by the change:
  // the last update then always sees the last change.
  const auto rates = encoders_.videoRates();
  static_assert(std::size(kEncodedCanvases) == std::tuple_size_v<decltype(needs_)>);
  for (std::size_t i = 0; i < needs_.size(); ++i) {
    const auto [streamCanvas, canvas] = kEncodedCanvases[i];
    const auto found = rates.find(std::string(enumName(streamCanvas)));
    const double rate = found == rates.end() ? 0 : found->second;
    Need& need = needs_[i];
    if (rate == need.rate) continue;
    // The new need comes before the old one goes, so the canvas is never dropped in between.
    const std::optional<CompositorEngine::ConsumerID> next =
        rate > 0 ? std::optional(engine_.addConsumer(canvas, rate)) : std::nullopt;
    if (need.id) engine_.removeConsumer(*need.id);
    need = {rate, next};
  }
}

}  // namespace tavorin
