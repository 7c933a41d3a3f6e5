#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariantList>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;
class WebOverlaySource;
class WebBrowserSource;

// Web pages in the window: the overlay library (starter designs, import,
// duplicate, rename, delete, add to show), adding a browser page, and the
// editor of one web source — an overlay's params with live preview and its
// replay, or a browser page's address, history and its visible window.
class WebBridge : public QObject {
  Q_OBJECT
  Q_PROPERTY(QVariantList overlays READ overlays NOTIFY overlaysChanged)
  Q_PROPERTY(QStringList starters READ starters CONSTANT)
  // The web source being edited; empty for none.
  Q_PROPERTY(QString editing READ editing WRITE setEditing NOTIFY editingChanged)
  // "overlay", "browser" or empty.
  Q_PROPERTY(QString editingKind READ editingKind NOTIFY editingChanged)
  Q_PROPERTY(QString editingName READ editingName NOTIFY editingChanged)
  // The overlay's params: key, label, type and the value shown.
  Q_PROPERTY(QVariantList params READ params NOTIFY paramsChanged)
  // The browser page's stored address.
  Q_PROPERTY(QString address READ address NOTIFY paramsChanged)
  Q_PROPERTY(bool interactive READ interactive NOTIFY interactiveChanged)

 public:
  explicit WebBridge(AppModel& model, QObject* parent = nullptr);

  QVariantList overlays() const;
  QStringList starters() const;
  QString editing() const { return editing_; }
  void setEditing(const QString& sourceID);
  QString editingKind() const;
  QString editingName() const;
  QVariantList params() const;
  QString address() const;
  bool interactive() const;

  // Each returns the new source's id, or empty when nothing was added.
  Q_INVOKABLE QString addStarter(int index);
  Q_INVOKABLE QString addOverlay(const QString& itemID);
  Q_INVOKABLE QString addBrowser(const QString& address);
  // An HTML file (a local path or file:// URL) into the library; false when it cannot be read.
  Q_INVOKABLE bool importOverlay(const QString& pathOrURL);
  Q_INVOKABLE void duplicateOverlay(const QString& itemID);
  Q_INVOKABLE void renameOverlay(const QString& itemID, const QString& name);
  Q_INVOKABLE void deleteOverlay(const QString& itemID);
  // "overlay", "browser" or empty, for the sources panel's menu.
  Q_INVOKABLE QString webKind(const QString& sourceID) const;

  // On the source being edited.
  Q_INVOKABLE void setParam(const QString& key, const QString& value);
  Q_INVOKABLE void replay();
  Q_INVOKABLE void navigate(const QString& text);
  Q_INVOKABLE void goBack();
  Q_INVOKABLE void goForward();
  Q_INVOKABLE void reload();
  Q_INVOKABLE bool useThisPage();
  Q_INVOKABLE bool showInteractive();
  Q_INVOKABLE void endInteractive();

 Q_SIGNALS:
  void overlaysChanged();
  void editingChanged();
  void paramsChanged();
  void interactiveChanged();

 private:
  WebOverlaySource* overlay() const;
  WebBrowserSource* browser() const;

  AppModel& model_;
  QString editing_;
  std::vector<Subscription> subscriptions_;
  // The window's browser closes by itself when the operator closes it.
  QTimer interactivePoll_;
  bool wasInteractive_ = false;
};

}  // namespace tavorin
