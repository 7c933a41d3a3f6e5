#pragma once

#include <spa/utils/hook.h>

#include <atomic>
#include <functional>
#include <string>

#include "platform/pipewire/PipeWireFailure.h"

struct pw_context;
struct pw_core;
struct pw_thread_loop;

namespace tavorin {

// One connection to the session's PipeWire daemon, served by its own loop
// thread ("Tavorin.PipeWire"). Registry and stream objects are created and
// destroyed with the loop locked, their events arrive on the loop thread, and
// they must all be gone before the loop goes.
class PipeWireLoop {
 public:
  // application.id and application.name of our connections and streams, so that filters can leave us out.
  static constexpr const char* applicationID = "Tavorin";

  // Throws PipeWireFailure("PipeWire is not running: …") when no daemon answers.
  // `remoteFd`, when given, is a connection handed to us (the screen-share
  // portal's, which shows only what the operator shared); it is ours to close.
  explicit PipeWireLoop(int remoteFd = -1);
  ~PipeWireLoop();
  PipeWireLoop(const PipeWireLoop&) = delete;
  PipeWireLoop& operator=(const PipeWireLoop&) = delete;

  // Runs `fn` on the calling thread with the loop locked. The lock is
  // recursive, so this also works from the loop thread's own callbacks.
  void locked(const std::function<void()>& fn);
  pw_thread_loop* threadLoop() { return loop_; }
  pw_core* core() { return core_; }
  // False once the daemon went away; objects made on this connection are dead then.
  bool connected() const { return connected_.load(); }
  // Waits until the daemon has answered everything sent before this call, and
  // what it announced in reply has arrived. False on time-out or once the
  // daemon is gone. Not from the loop thread.
  bool roundTrip(double timeoutSeconds = 5.0);

 private:
  // With the loop locked: until the round trip `seq` is answered.
  bool awaitAnswer(int seq, double timeoutSeconds);
  static void onCoreDone(void* data, uint32_t id, int seq);
  static void onCoreError(void* data, uint32_t id, int seq, int res, const char* message);
  void tearDown();

  pw_thread_loop* loop_ = nullptr;
  pw_context* context_ = nullptr;
  pw_core* core_ = nullptr;
  spa_hook coreListener_{};
  std::atomic<bool> connected_{false};
  // Loop thread (or under the loop lock): the latest round trip answered.
  int answeredSeq_ = -1;
  // Why the daemon refused us at start-up.
  std::string handshakeError_;
};

}  // namespace tavorin
