#pragma once

#include <QImage>
#include <QString>

namespace tavorin {

// `text` as a QR code: black modules on white with the four-module quiet zone
// readers need, each module `moduleSize` pixels. Null when it does not fit.
QImage qrCodeImage(const QString& text, int moduleSize);

// The same as a PNG data URL, for an Image in QML; empty when it does not fit.
QString qrCodeDataURL(const QString& text, int moduleSize);

}  // namespace tavorin
