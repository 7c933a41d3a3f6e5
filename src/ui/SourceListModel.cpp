#include "ui/SourceListModel.h"

#include "app/AppModel.h"
#include "sources/ShapeSource.h"
#include "sources/TextSource.h"

namespace tavorin {

namespace {

QString kindName(SourceKind kind) {
  switch (kind) {
    case SourceKind::camera: return "Camera";
    case SourceKind::display: return "Screen";
    case SourceKind::window: return "Window";
    case SourceKind::application: return "Application";
    case SourceKind::still: return "Image";
    case SourceKind::clip: return "Media";
    case SourceKind::ndi: return "NDI";
    case SourceKind::rtsp: return "RTSP";
    case SourceKind::overlay: return "Overlay";
    case SourceKind::browser: return "Web page";
    case SourceKind::syncTest: return "Sync test";
  }
  return {};
}

}  // namespace

SourceListModel::SourceListModel(AppModel& model, QObject* parent) : QAbstractListModel(parent), model_(model) {
  sources_ = model.sources.get();
  subscriptions_.push_back(model.sources.subscribe([this](const auto&) { reload(); }));
  subscriptions_.push_back(model.mediaNames.subscribe([this](const auto&) {
    if (!sources_.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1), {nameRole});
  }));
  stateTimer_.setInterval(1000);
  connect(&stateTimer_, &QTimer::timeout, this, [this] {
    if (!sources_.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1), {stateRole});
  });
  stateTimer_.start();
}

int SourceListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(sources_.size());
}

QVariant SourceListModel::data(const QModelIndex& index, int role) const {
  if (index.row() < 0 || index.row() >= rowCount()) return {};
  const BaseSource& source = *sources_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case idRole: return QString::fromStdString(source.id());
    case Qt::DisplayRole:
    case nameRole: return QString::fromStdString(model_.displayName(source.id()));
    case kindRole:
      // Titles and shapes are stills to the show; the operator knows them by what they are.
      if (dynamic_cast<const TextSource*>(&source)) return "Title";
      if (dynamic_cast<const ShapeSource*>(&source)) return "Shape";
      return kindName(source.kind());
    case stateRole:
      if (model_.sourceLifecycle.startingIDs.contains(source.id())) return "starting";
      if (model_.isParked(source.id())) return "parked";
      return source.isRunning() ? "running" : "failed";
  }
  return {};
}

QHash<int, QByteArray> SourceListModel::roleNames() const {
  return {{idRole, "sourceID"}, {nameRole, "name"}, {kindRole, "kind"}, {stateRole, "state"}};
}

void SourceListModel::reload() {
  beginResetModel();
  sources_ = model_.sources.get();
  endResetModel();
  Q_EMIT countChanged();
}

bool SourceListModel::addImage(const QString& pathOrURL) {
  const QUrl url(pathOrURL);
  const QString path = url.isLocalFile() ? url.toLocalFile() : pathOrURL;
  return model_.addImageSource(path.toStdString()).has_value();
}

void SourceListModel::addBlack() { model_.addBlackSource(); }

bool SourceListModel::addRTSP(const QString& url, const QString& name, const QString& user, const QString& password) {
  return model_.addRTSPSource(url.toStdString(), name.toStdString(), user.toStdString(), password.toStdString())
      .has_value();
}

void SourceListModel::rename(int row, const QString& name) {
  if (row < 0 || row >= rowCount()) return;
  model_.renameSource(sources_[static_cast<std::size_t>(row)]->id(), name.trimmed().toStdString());
}

void SourceListModel::restart(int row) {
  if (row >= 0 && row < rowCount()) model_.restartSource(sources_[static_cast<std::size_t>(row)]->id());
}

void SourceListModel::remove(int row) {
  if (row < 0 || row >= rowCount()) return;
  model_.removeSource(sources_[static_cast<std::size_t>(row)]->id());
}

QString SourceListModel::nameOf(const QString& sourceID) const {
  return QString::fromStdString(model_.displayName(sourceID.toStdString()));
}

}  // namespace tavorin
