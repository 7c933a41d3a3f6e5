#pragma once

#include <memory>
#include <string>

#include "base/MainQueue.h"
#include "base/Published.h"
#include "control/RemoteServer.h"
#include "model/Json.h"
#include "stores/Preferences.h"

namespace tavorin {

class AppModel;

// The phone remote as the show runs it: whether it listens (kept in
// "Tavorin.remoteEnabled"), the token a phone must bring (made once, kept in
// "Tavorin.remoteToken"), the link to give the phone, and the deck as the
// phone sees it. The server listens only while enabled. Main thread.
class RemoteControl {
 public:
  static constexpr const char* kTokenAlphabet = "abcdefghjkmnpqrstuvwxyz23456789";
  static constexpr std::size_t kTokenLength = 6;

  RemoteControl(AppModel& model, MainQueue& queue, Preferences& preferences,
                RemotePorts ports = RemotePorts{});
  RemoteControl(const RemoteControl&) = delete;
  RemoteControl& operator=(const RemoteControl&) = delete;

  Published<bool> enabled;

  // Stores the choice, then starts or stops the server.
  void setEnabled(bool on);
  // Starts the server when enabled, stops it otherwise; the start of the show runs it.
  void apply();
  const std::string& token();
  // "http://<this machine on the network>:13377/?k=<token>".
  std::string link();
  // {"deck", "tiles", "cols"} of the active deck, as the phone's page draws it.
  Json deckState() const;
  const RemoteServer& server() const { return server_; }

 private:
  AppModel& model_;
  Preferences& preferences_;
  RemotePorts ports_;
  std::string token_;
  RemoteServer server_;
};

// Six letters and digits from kTokenAlphabet, drawn uniformly from the system's random source.
std::string makeRemoteToken();

}  // namespace tavorin
