#include "ui/QrCode.h"

#include <qrencode.h>

#include <QBuffer>
#include <QPainter>
#include <memory>

namespace tavorin {

namespace {

constexpr int kQuietZone = 4;

struct QRcodeFree {
  void operator()(QRcode* code) const { QRcode_free(code); }
};

}  // namespace

QImage qrCodeImage(const QString& text, int moduleSize) {
  const QByteArray bytes = text.toUtf8();
  // Medium error correction: a phone reads it off a monitor at an angle.
  std::unique_ptr<QRcode, QRcodeFree> code(QRcode_encodeString(bytes.constData(), 0, QR_ECLEVEL_M, QR_MODE_8, 1));
  if (!code || moduleSize < 1) return {};
  const int side = (code->width + 2 * kQuietZone) * moduleSize;
  QImage image(side, side, QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter painter(&image);
  for (int y = 0; y < code->width; ++y) {
    for (int x = 0; x < code->width; ++x) {
      // The lowest bit of each module says black.
      if (code->data[y * code->width + x] & 1) {
        painter.fillRect((x + kQuietZone) * moduleSize, (y + kQuietZone) * moduleSize, moduleSize, moduleSize, Qt::black);
      }
    }
  }
  return image;
}

QString qrCodeDataURL(const QString& text, int moduleSize) {
  const QImage image = qrCodeImage(text, moduleSize);
  if (image.isNull()) return {};
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "PNG");
  return QStringLiteral("data:image/png;base64,") + QString::fromLatin1(png.toBase64());
}

}  // namespace tavorin
