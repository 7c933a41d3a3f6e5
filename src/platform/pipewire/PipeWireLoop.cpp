#include "platform/pipewire/PipeWireLoop.h"

#include <unistd.h>

#include <pipewire/pipewire.h>
#include <spa/utils/result.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace tavorin {
namespace {

constexpr int handshakeTimeoutSeconds = 3;

// Where libpipewire looks for the daemon's socket, for a message that says what was tried.
std::string socketDescription() {
  const char* remote = std::getenv("PIPEWIRE_REMOTE");
  std::string name = remote && *remote ? remote : "pipewire-0";
  if (!name.empty() && name.front() == '/') return name;
  for (const char* variable : {"PIPEWIRE_RUNTIME_DIR", "XDG_RUNTIME_DIR"}) {
    const char* dir = std::getenv(variable);
    if (dir && *dir) return std::string(dir) + "/" + name;
  }
  return name + " (XDG_RUNTIME_DIR is not set)";
}

class LoopLock {
 public:
  explicit LoopLock(pw_thread_loop* loop) : loop_(loop) { pw_thread_loop_lock(loop_); }
  ~LoopLock() { pw_thread_loop_unlock(loop_); }
  LoopLock(const LoopLock&) = delete;
  LoopLock& operator=(const LoopLock&) = delete;

 private:
  pw_thread_loop* loop_;
};

}  // namespace

PipeWireLoop::PipeWireLoop(int remoteFd) {
  static std::once_flag initialised;
  std::call_once(initialised, [] { pw_init(nullptr, nullptr); });

  loop_ = pw_thread_loop_new("Tavorin.PWLoop", nullptr);
  if (!loop_) {
    if (remoteFd >= 0) close(remoteFd);
    throw PipeWireFailure("PipeWire is not running: cannot create a loop thread");
  }
  // Named on every connection so that other clients, and our own filters, can tell our streams apart.
  pw_properties* props = pw_properties_new(PW_KEY_APP_ID, applicationID, PW_KEY_APP_NAME, applicationID, nullptr);
  context_ = pw_context_new(pw_thread_loop_get_loop(loop_), props, 0);
  if (!context_) {
    const std::string reason = std::strerror(errno);
    tearDown();
    throw PipeWireFailure("PipeWire is not running: cannot create a context: " + reason);
  }
  if (pw_thread_loop_start(loop_) < 0) {
    tearDown();
    throw PipeWireFailure("PipeWire is not running: cannot start the loop thread");
  }

  std::string failure;
  {
    LoopLock lock(loop_);
    core_ = remoteFd >= 0 ? pw_context_connect_fd(context_, remoteFd, nullptr, 0)
                          : pw_context_connect(context_, nullptr, 0);
    if (!core_) {
      failure = "no daemon answers at " + socketDescription() + " (" + std::strerror(errno) + ")";
    } else {
      static const pw_core_events events = [] {
        pw_core_events e{};
        e.version = PW_VERSION_CORE_EVENTS;
        e.done = &PipeWireLoop::onCoreDone;
        e.error = &PipeWireLoop::onCoreError;
        return e;
      }();
      pw_core_add_listener(core_, &coreListener_, &events, this);
      connected_ = true;
      // A socket can exist without a daemon behind it: only an answer proves one is there.
      if (!awaitAnswer(pw_core_sync(core_, PW_ID_CORE, 0), handshakeTimeoutSeconds)) {
        failure = !handshakeError_.empty() ? handshakeError_
                                           : "no answer from " + socketDescription() + " within " +
                                                 std::to_string(handshakeTimeoutSeconds) + " s";
      }
    }
  }
  if (!failure.empty()) {
    tearDown();
    throw PipeWireFailure("PipeWire is not running: " + failure);
  }
}

PipeWireLoop::~PipeWireLoop() { tearDown(); }

void PipeWireLoop::tearDown() {
  if (loop_) pw_thread_loop_stop(loop_);
  if (core_) {
    spa_hook_remove(&coreListener_);
    pw_core_disconnect(core_);
    core_ = nullptr;
  }
  if (context_) {
    pw_context_destroy(context_);
    context_ = nullptr;
  }
  if (loop_) {
    pw_thread_loop_destroy(loop_);
    loop_ = nullptr;
  }
  connected_ = false;
}

void PipeWireLoop::locked(const std::function<void()>& fn) {
  LoopLock lock(loop_);
  fn();
}

bool PipeWireLoop::roundTrip(double timeoutSeconds) {
  LoopLock lock(loop_);
  if (!connected_) return false;
  return awaitAnswer(pw_core_sync(core_, PW_ID_CORE, 0), timeoutSeconds);
}

bool PipeWireLoop::awaitAnswer(int seq, double timeoutSeconds) {
  // Answers come in the order of the questions, so a later one covers this one too.
  auto answered = [&] {
    return answeredSeq_ >= 0 && SPA_RESULT_ASYNC_SEQ(answeredSeq_) >= SPA_RESULT_ASYNC_SEQ(seq);
  };
  timespec deadline{};
  pw_thread_loop_get_time(loop_, &deadline, static_cast<int64_t>(timeoutSeconds * SPA_NSEC_PER_SEC));
  while (!answered() && connected_) {
    if (pw_thread_loop_timed_wait_full(loop_, &deadline) < 0) break;
  }
  return answered();
}

void PipeWireLoop::onCoreDone(void* data, uint32_t id, int seq) {
  auto* self = static_cast<PipeWireLoop*>(data);
  if (id != PW_ID_CORE) return;
  self->answeredSeq_ = seq;
  pw_thread_loop_signal(self->loop_, false);
}

void PipeWireLoop::onCoreError(void* data, uint32_t id, int /*seq*/, int res, const char* message) {
  auto* self = static_cast<PipeWireLoop*>(data);
  // Errors about single objects go to their owners; EPIPE on the core means the daemon is gone.
  if (id != PW_ID_CORE || res != -EPIPE) return;
  self->connected_ = false;
  if (self->answeredSeq_ < 0) self->handshakeError_ = message ? message : std::strerror(-res);
  pw_thread_loop_signal(self->loop_, false);
}

}  // namespace tavorin
