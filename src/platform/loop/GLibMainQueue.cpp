#include "platform/loop/GLibMainQueue.h"

#include <glib-unix.h>
#include <glib.h>

#include <cmath>

#include "base/HostTime.h"

namespace tavorin {

namespace {

struct Task {
  std::function<void()> fn;
  bool repeat = false;
};

gboolean runTask(gpointer data) {
  auto* task = static_cast<Task*>(data);
  task->fn();
  return task->repeat ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void deleteTask(gpointer data) { delete static_cast<Task*>(data); }

}  // namespace

GLibMainQueue::GLibMainQueue()
    : context_(g_main_context_ref(g_main_context_default())), loop_(g_main_loop_new(context_, FALSE)) {}

GLibMainQueue::~GLibMainQueue() {
  g_main_loop_unref(loop_);
  g_main_context_unref(context_);
}

void GLibMainQueue::post(std::function<void()> task) {
  // An idle source at default priority: attaching is thread-safe and keeps
  // posted tasks in order, behind what is already queued.
  GSource* source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  g_source_set_callback(source, runTask, new Task{std::move(task), false}, deleteTask);
  g_source_attach(source, context_);
  g_source_unref(source);
}

TimerHandle GLibMainQueue::after(double seconds, std::function<void()> task) {
  return addTimeout(seconds, false, std::move(task));
}

TimerHandle GLibMainQueue::every(double seconds, std::function<void()> task) {
  return addTimeout(seconds, true, std::move(task));
}

TimerHandle GLibMainQueue::addTimeout(double seconds, bool repeat, std::function<void()> task) {
  auto ms = static_cast<guint>(std::max(0.0, std::round(seconds * 1000.0)));
  GSource* source = g_timeout_source_new(ms);
  g_source_set_callback(source, runTask, new Task{std::move(task), repeat}, deleteTask);
  g_source_attach(source, context_);
  // The handle keeps its own reference so cancelling after the timer fired is safe.
  return TimerHandle([source] {
    if (!g_source_is_destroyed(source)) g_source_destroy(source);
    g_source_unref(source);
  });
}

double GLibMainQueue::now() const { return hostTimeNow(); }

void GLibMainQueue::run() { g_main_loop_run(loop_); }

void GLibMainQueue::quit() { g_main_loop_quit(loop_); }

void GLibMainQueue::onSignal(int signal, std::function<void()> handler) {
  auto* task = new Task{std::move(handler), true};
  g_unix_signal_add_full(G_PRIORITY_DEFAULT, signal, runTask, task, deleteTask);
}

}  // namespace tavorin
