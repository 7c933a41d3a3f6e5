#pragma once

#include <QAbstractListModel>
#include <QTimer>
#include <QVariantList>
#include <QVariantMap>
#include <vector>

#include "app/TileLook.h"
#include "base/Published.h"
#include "model/Deck.h"
#include "model/DeckPlacement.h"

namespace tavorin {

class AppModel;

// The active deck as placed tiles for the window: each with its look, tally,
// cell rectangle, key and fader value; the decks themselves (switch, add,
// rename, delete); the drag rules of edit mode; and the tile editor's lists
// and key capture. The tally is looked at five times a second.
class DeckBridge : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ rowCount NOTIFY layoutChanged)
  Q_PROPERTY(int columns READ columns NOTIFY layoutChanged)
  Q_PROPERTY(int rows READ rows NOTIFY layoutChanged)
  Q_PROPERTY(double unit READ unit CONSTANT)
  Q_PROPERTY(double gap READ gap CONSTANT)
  Q_PROPERTY(QVariantList decks READ decks NOTIFY decksChanged)
  Q_PROPERTY(QString activeDeckID READ activeDeckID NOTIFY decksChanged)
  Q_PROPERTY(QString deckName READ deckName NOTIFY decksChanged)
  // Non-empty while keys work only with the window focused: why, in words.
  Q_PROPERTY(QString hotkeyNotice READ hotkeyNotice NOTIFY hotkeyNoticeChanged)

 public:
  enum Role {
    tileIDRole = Qt::UserRole + 1,
    titleRole,
    colorRole,
    glyphRole,
    onRole,
    existsRole,
    hideLabelRole,
    cellXRole,
    cellYRole,
    cellWRole,
    cellHRole,
    faderRole,
    valueRole,
    hotkeyRole,
    hotkeyRefusedRole,
  };

  explicit DeckBridge(AppModel& model, QObject* parent = nullptr);
  ~DeckBridge() override;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  int columns() const { return columns_; }
  int rows() const;
  double unit() const { return kUnit; }
  double gap() const { return kGap; }
  QVariantList decks() const;
  QString activeDeckID() const;
  QString deckName() const;
  QString hotkeyNotice() const;

  // The grid's width in pixels, which decides its columns.
  Q_INVOKABLE void setWidth(double width);
  Q_INVOKABLE void press(const QString& tileID);
  Q_INVOKABLE void setValue(const QString& tileID, double value);
  // Edit mode: a drag by (tx, ty) pixels. False when it would overlap another
  // tile, and nothing is stored: the tile springs back.
  Q_INVOKABLE bool moveBy(const QString& tileID, double tx, double ty);
  Q_INVOKABLE bool resizeBy(const QString& tileID, double tx, double ty);
  Q_INVOKABLE void removeTile(const QString& tileID);

  Q_INVOKABLE void switchDeck(const QString& deckID);
  Q_INVOKABLE void addDeck(const QString& name);
  Q_INVOKABLE void renameDeck(const QString& deckID, const QString& name);
  Q_INVOKABLE void removeDeck(const QString& deckID);

  // The tile editor. Every action kind as {kind, label, target} where target
  // says which list it picks from ("", "scene", "stream", "channel", "route",
  // "sound", "graphic", "transition", "output").
  Q_INVOKABLE QVariantList actionKinds() const;
  // The choices for a target list, as {id, name}.
  Q_INVOKABLE QVariantList targets(const QString& target) const;
  Q_INVOKABLE QVariantList symbols() const;
  // A tile's fields as the editor shows them; a fresh tile's for an empty id.
  Q_INVOKABLE QVariantMap tile(const QString& tileID) const;
  // Stores the editor's fields: a new tile when "id" is empty. Its id.
  Q_INVOKABLE QString saveTile(const QVariantMap& fields);
  // A key pressed in the key field (X keycode, Qt modifiers, typed text), as
  // {ok, display, keyCode, modifiers} or {ok: false, message}.
  Q_INVOKABLE QVariantMap captureKey(int nativeScanCode, int qtModifiers, const QString& text) const;

  // The glyph the window draws for a symbol name; a square for names it does not know.
  static QString glyphFor(const std::string& symbol);

  // Installed on the window: key presses go on to the deck's keys (which act
  // on them only while keys are not global), except while the operator types.
  bool eventFilter(QObject* watched, QEvent* event) override;

 Q_SIGNALS:
  // The compact window's fixed key was pressed.
  void toggleMiniMode();
  void layoutChanged();
  void decksChanged();
  void hotkeyNoticeChanged();

 private:
  struct Row {
    DeckTile tile;
    TileLook look;
    PlacedTile placed;
    std::optional<double> value;
    bool refused = false;
  };
  static constexpr double kUnit = 58;
  static constexpr double kGap = 6;

  void rebuild();
  void refreshLooks();
  Row rowFor(const DeckTile& tile, const PlacedTile& placed) const;
  const Row* find(const QString& tileID) const;
  std::vector<PlacedTile> placedNow() const;

  AppModel& model_;
  std::vector<Row> rows_;
  int columns_ = 4;
  QTimer tally_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin
