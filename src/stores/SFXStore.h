#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/MainQueue.h"
#include "base/Published.h"
#include "base/Uuid.h"
#include "model/SFXItem.h"
#include "stores/ShowFolder.h"

namespace tavorin {

// The show's sound effects: the built-in sounds, generated into the "SFX"
// library folder at start, and the files the operator imports beside them,
// listed in its "index.json". Main thread only; the built-ins are rendered on
// a thread of the store's own and their items arrive through the main queue.
class SFXStore {
 public:
  using Log = std::function<void(const std::string&)>;

  // Reads the index (missing or undecodable: empty) and renders the built-in
  // sounds it lacks or whose files are gone. `log` gets a line per sound that
  // could not be written; that sound is tried again at the next start.
  SFXStore(ShowFolder folder, MainQueue& queue, Log log = {});
  // Waits for a render under way to finish its current sound.
  ~SFXStore();
  SFXStore(const SFXStore&) = delete;
  SFXStore& operator=(const SFXStore&) = delete;

  // Built-ins first in preset order, then the others by name in the user's
  // language, ignoring case.
  Published<std::vector<SFXItem>> sounds;
  // True once the built-in sounds that could be rendered are listed.
  Published<bool> seeded{false};

  const std::filesystem::path& dir() const { return dir_; }
  const std::filesystem::path& indexURL() const { return indexURL_; }
  std::filesystem::path fileURL(const SFXItem& item) const { return dir_ / item.fileName; }
  std::optional<SFXItem> find(const Uuid& id) const;

  // Copies `source` into the library as a new sound named after the file;
  // nothing when the copy fails. Importing one file twice gives two sounds.
  std::optional<SFXItem> importFile(const std::filesystem::path& source);
  // importFile in two steps, so that a big file is copied off the main thread:
  // the copy into the library folder `dir`, on any thread, then the listing.
  static std::optional<SFXItem> copyIn(const std::filesystem::path& dir, const std::filesystem::path& source);
  void addImported(const SFXItem& item);
  // A name that is blank once trimmed is refused; any other is kept as typed.
  void rename(const Uuid& id, const std::string& name);
  // Built-in sounds stay. The file goes with the item; failing to delete it is ignored.
  void remove(const SFXItem& item);

  // "builtin-" + the name in lower case with blanks as "-" + ".wav".
  static std::string builtinFileName(std::string_view presetName);

 private:
  void seed();
  void addRendered(const std::vector<std::string>& names, const std::vector<std::string>& failures);
  // Sorts `list`, publishes it and writes the index.
  void commit(std::vector<SFXItem> list);

  MainQueue& queue_;
  Log log_;
  std::filesystem::path dir_;
  std::filesystem::path indexURL_;
  std::atomic<bool> stopping_{false};
  std::thread renderer_;
  // Answers from the renderer find the store only while it lives.
  std::shared_ptr<SFXStore*> self_ = std::make_shared<SFXStore*>(this);
};

}  // namespace tavorin
