#pragma once

#include <functional>

#include "base/MainQueue.h"

typedef struct _GMainContext GMainContext;
typedef struct _GMainLoop GMainLoop;

namespace tavorin {

// The main queue on GLib's default main context: the loop that Qt, WebKit,
// GDBus and libsecret also run on, so the desktop UI and the headless runner
// share one main thread.
class GLibMainQueue final : public MainQueue {
 public:
  GLibMainQueue();
  ~GLibMainQueue() override;
  GLibMainQueue(const GLibMainQueue&) = delete;
  GLibMainQueue& operator=(const GLibMainQueue&) = delete;

  void post(std::function<void()> task) override;
  TimerHandle after(double seconds, std::function<void()> task) override;
  TimerHandle every(double seconds, std::function<void()> task) override;
  double now() const override;

  // Serves events and timers until `quit`.
  void run();
  void quit();
  // Calls `handler` on the main thread when `signal` (SIGINT, SIGTERM, SIGHUP) arrives.
  void onSignal(int signal, std::function<void()> handler);

 private:
  TimerHandle addTimeout(double seconds, bool repeat, std::function<void()> task);

  GMainContext* context_;
  GMainLoop* loop_;
};

}  // namespace tavorin
