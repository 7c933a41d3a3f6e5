#include "ui/SettingsBridge.h"

#include "app/AppModel.h"
#include "ui/QrCode.h"
#include "ui/QtText.h"

namespace tavorin {

SettingsBridge::SettingsBridge(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  auto changedNow = [this](const auto&) { Q_EMIT changed(); };
  subscriptions_.push_back(model.canvasSize.subscribe(changedNow));
  subscriptions_.push_back(model.frameRate.subscribe(changedNow));
  subscriptions_.push_back(model.showOnboarding.subscribe(changedNow));
  subscriptions_.push_back(model.remote.enabled.subscribe([this](bool) { refreshRemote(); }));
  refreshRemote();
}

bool SettingsBridge::remoteEnabled() const { return model_.remote.enabled.get(); }

void SettingsBridge::setRemoteEnabled(bool on) { model_.remote.setEnabled(on); }

void SettingsBridge::refreshRemote() {
  if (model_.remote.enabled.get()) {
    remoteLink_ = qText(model_.remote.link());
    remoteQRCode_ = qrCodeDataURL(remoteLink_, 5);
  } else {
    remoteLink_.clear();
    remoteQRCode_.clear();
  }
  Q_EMIT remoteChanged();
}

QStringList SettingsBridge::canvasSizes() const {
  QStringList names;
  for (const auto& [size, key] : EnumNames<CanvasSize>::table) {
    const Size pixels = pixelSize(size);
    names << QString("%1 × %2").arg(static_cast<int>(pixels.width)).arg(static_cast<int>(pixels.height));
  }
  return names;
}

int SettingsBridge::canvasSize() const { return static_cast<int>(model_.canvasSize.get()); }

QVariantList SettingsBridge::frameRates() const {
  QVariantList rates;
  for (int fps : kFrameRates) rates << fps;
  return rates;
}

int SettingsBridge::frameRate() const { return model_.frameRate.get(); }

void SettingsBridge::setFrameRate(int fps) { model_.setFrameRate(fps); }

bool SettingsBridge::showOnboarding() const { return model_.showOnboarding.get(); }

void SettingsBridge::setCanvasSize(int index) {
  const auto& table = EnumNames<CanvasSize>::table;
  if (index >= 0 && index < static_cast<int>(std::size(table))) {
    model_.setCanvasSize(table[static_cast<std::size_t>(index)].first);
  }
}

void SettingsBridge::finishOnboarding() { model_.finishOnboarding(); }

}  // namespace tavorin
