#pragma once

#include <QAbstractListModel>
#include <memory>
#include <vector>

#include "base/Published.h"
#include "base/SerialQueue.h"
#include "model/SFXItem.h"

namespace tavorin {

class AppModel;

// The sound-effects library as rows (built-ins first): each played, renamed
// or removed; files imported with the copy off the main thread; the sound
// heard now and a stop for everything.
class SoundEffectsBridge : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
  // The sound heard now; empty while none plays.
  Q_PROPERTY(QString playingID READ playingID NOTIFY playingChanged)
  Q_PROPERTY(bool playing READ playing NOTIFY playingChanged)
  // Files still being copied into the library.
  Q_PROPERTY(int importing READ importing NOTIFY importingChanged)

 public:
  enum Role { soundIDRole = Qt::UserRole + 1, nameRole, builtinRole, categoryRole };

  explicit SoundEffectsBridge(AppModel& model, QObject* parent = nullptr);
  ~SoundEffectsBridge() override;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  QString playingID() const;
  bool playing() const;
  int importing() const { return importing_; }

  Q_INVOKABLE void play(const QString& id);
  Q_INVOKABLE void stopAll();
  // A file URL or path; the sound is listed once its copy is in the library.
  Q_INVOKABLE void importFile(const QString& pathOrURL);
  // A blank name changes nothing.
  Q_INVOKABLE void rename(const QString& id, const QString& name);
  // Built-in sounds stay.
  Q_INVOKABLE void remove(const QString& id);

 Q_SIGNALS:
  void countChanged();
  void playingChanged();
  void importingChanged();

 private:
  void reload(const std::vector<SFXItem>& sounds);

  AppModel& model_;
  std::vector<SFXItem> sounds_;
  int importing_ = 0;
  std::vector<Subscription> subscriptions_;
  // Finished copies reach the library only while the bridge lives.
  std::shared_ptr<SoundEffectsBridge*> self_ = std::make_shared<SoundEffectsBridge*>(this);
  // Last, so that it goes first: copies under way finish before the rest goes.
  SerialQueue importQueue_{"Tavorin.SFXCopy"};
};

}  // namespace tavorin
