#include "app/RemoteControl.h"

#include <algorithm>
#include <random>

#include "app/AppModel.h"
#include "model/DeckPlacement.h"
#include "platform/desktop/NetworkInterfaces.h"
#include "stores/PreferenceKeys.h"

namespace tavorin {

namespace {

constexpr int kDefaultColumns = 8;

const DeckTile* tileWithID(const AppModel& model, const std::string& text) {
  const auto id = Uuid::parse(text);
  return id ? model.deckStore.findTile(*id) : nullptr;
}

}  // namespace

std::string makeRemoteToken() {
  // random_device reads the kernel's random source; uniform_int_distribution
  // rejects the draws that would favour some letters.
  std::random_device source;
  const std::string_view alphabet = RemoteControl::kTokenAlphabet;
  std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
  std::string token;
  for (std::size_t i = 0; i < RemoteControl::kTokenLength; ++i) token += alphabet[pick(source)];
  return token;
}

RemoteControl::RemoteControl(AppModel& model, MainQueue& queue, Preferences& preferences, RemotePorts ports)
    : enabled(preferences.boolOr(prefkey::remoteEnabled, false)),
      model_(model),
      preferences_(preferences),
      ports_(ports),
      server_([&queue](std::function<void()> task) { queue.post(std::move(task)); }, ports) {}

void RemoteControl::setEnabled(bool on) {
  preferences_.setBool(prefkey::remoteEnabled, on);
  enabled = on;
  apply();
}

void RemoteControl::apply() {
  if (!enabled.get()) {
    server_.stop();
    return;
  }
  // The callbacks run on the main thread while the model stands: the server
  // is the model's and stops before it goes.
  server_.stateProvider = [this] { return deckState(); };
  server_.fire = [this](const std::string& id) {
    if (const DeckTile* tile = tileWithID(model_, id)) model_.runTile(DeckTile(*tile));
  };
  server_.setValue = [this](const std::string& id, double value) {
    if (const DeckTile* tile = tileWithID(model_, id)) model_.setTileValue(*tile, value);
  };
  server_.start(token());
}

const std::string& RemoteControl::token() {
  if (token_.empty()) {
    const auto stored = preferences_.getString(prefkey::remoteToken);
    const bool usable = stored && stored->size() == kTokenLength &&
                        stored->find_first_not_of(kTokenAlphabet) == std::string::npos;
    token_ = usable ? *stored : makeRemoteToken();
    if (!usable) preferences_.setString(prefkey::remoteToken, token_);
  }
  return token_;
}

std::string RemoteControl::link() {
  const auto address = lanAddress(networkAddresses()).value_or("localhost");
  return "http://" + address + ":" + std::to_string(ports_.http) + "/?k=" + token();
}

Json RemoteControl::deckState() const {
  Json state = Json::object();
  const Deck* deck = model_.deckStore.activeDeck();
  state["deck"] = deck ? deck->name : "Tavorin";
  state["tiles"] = Json::array();
  if (!deck) {
    state["cols"] = kDefaultColumns;
    return state;
  }
  int columns = kDefaultColumns;
  if (!deck->tiles.empty()) {
    int widest = 0;
    for (const DeckTile& tile : deck->tiles) widest = std::max(widest, tile.gridX.value_or(0) + tileSpan(tile).w);
    columns = std::clamp(widest, 6, 16);
  }
  state["cols"] = columns;
  for (const PlacedTile& placed : placeTiles(deck->tiles, columns)) {
    const DeckTile& tile = *placed.tile;
    const TileLook look = model_.tileLook(tile);
    const bool fader = isFaderTile(tile.action.kind);
    Json object = {{"id", tile.id.toString()}, {"label", look.title}, {"on", look.on},
                   {"color", look.color},      {"kind", fader ? "fader" : "button"},
                   {"x", placed.x},            {"y", placed.y},
                   {"w", placed.w},            {"h", placed.h}};
    if (fader) object["value"] = std::min(model_.tileValue(tile).value_or(0.5), 1.0);
    state["tiles"].push_back(std::move(object));
  }
  return state;
}

}  // namespace tavorin
