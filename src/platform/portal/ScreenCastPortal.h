#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

namespace tavorin {

// A screen share granted by the desktop's ScreenCast portal: the PipeWire
// node to read and a connection to PipeWire that may read it. The share
// lasts as long as this does.
class ScreenCastSession {
 public:
  ~ScreenCastSession();
  ScreenCastSession(const ScreenCastSession&) = delete;
  ScreenCastSession& operator=(const ScreenCastSession&) = delete;

  // A PipeWire connection (for pw_context_connect_fd); taken once, then -1.
  int takePipeWireFd();
  std::uint32_t nodeID() const { return nodeID_; }
  // The picture's size as the portal reported it; 0 when it did not.
  int width() const { return width_; }
  int height() const { return height_; }
  // Given back next time, the portal shares the same screen without asking.
  const std::string& restoreToken() const { return restoreToken_; }

 private:
  friend class ScreenCastPortal;
  ScreenCastSession() = default;

  struct Bus;
  std::unique_ptr<Bus> bus_;
  std::string sessionPath_;
  int pipewireFd_ = -1;
  std::uint32_t nodeID_ = 0;
  int width_ = 0, height_ = 0;
  std::string restoreToken_;
};

// The ScreenCast portal (org.freedesktop.portal.ScreenCast) on the session
// bus: the one way to capture a screen under Wayland.
class ScreenCastPortal {
 public:
  // How long the operator has to choose in the desktop's dialog.
  static constexpr int kChoiceTimeoutSeconds = 300;

  // Asks for one monitor or window, the pointer drawn in, remembered across
  // runs. With the token of an earlier share the desktop may grant the same
  // one without asking. Blocks until it answers: never on the main thread.
  // The reason in words when there is no share ("the operator cancelled the
  // screen-share dialog", "no ScreenCast portal on the session bus", …).
  static std::variant<std::unique_ptr<ScreenCastSession>, std::string> open(const std::string& restoreToken);
  // Whether a ScreenCast portal answers on the session bus.
  static bool available();
};

}  // namespace tavorin
