#pragma once

#include <optional>
#include <vector>

#include "base/Debouncer.h"
#include "base/MainQueue.h"
#include "base/Published.h"
#include "base/Uuid.h"
#include "model/MixerScene.h"

namespace tavorin {

class LayoutStore;
class SwitcherEngine;

// Writes a switcher's Preview edits back into the layout it loaded: at once
// when layers come or go, 0.2 s after the last change otherwise, and at once
// when the layout is left. The vertical switcher writes a layout's vertical
// design. Main thread only.
class LayoutWriteBack {
 public:
  enum class Design { horizontal, vertical };

  LayoutWriteBack(MainQueue& queue, SwitcherEngine& switcher, LayoutStore& layouts, Design design);
  ~LayoutWriteBack();
  LayoutWriteBack(const LayoutWriteBack&) = delete;
  LayoutWriteBack& operator=(const LayoutWriteBack&) = delete;

  // Writes an edit still waiting for its quiet moment; the quit path calls it.
  void flush() { debounce_.flush(); }

 private:
  void store(const Uuid& layoutID, const MixerScene& scene);
  void previewChanged(const MixerScene& scene);
  void storeWaitingEdit();

  SwitcherEngine& switcher_;
  LayoutStore& store_;
  const Design design_;
  Debouncer debounce_;
  std::optional<Uuid> waitingLayoutID_;
  // The layer ids last written, in order: a change of them is written at once.
  std::vector<Uuid> lastStructure_;
  Subscription subscription_;
};

}  // namespace tavorin
