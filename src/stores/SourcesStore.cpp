#include "stores/SourcesStore.h"

#include <algorithm>

#include "model/SavedSourceJson.h"
#include "stores/JsonFile.h"

namespace tavorin {

namespace {

std::optional<std::size_t> indexOf(const std::vector<SavedSource>& list, const std::string& id) {
  auto it = std::find_if(list.begin(), list.end(), [&](const SavedSource& s) { return s.id == id; });
  if (it == list.end()) return std::nullopt;
  return static_cast<std::size_t>(it - list.begin());
}

}  // namespace

SourcesStore::SourcesStore(const ShowFolder& folder) : path_(folder.file("sources.json")) {
  folder.ensureRoot();
  saved.set(readJsonFile<std::vector<SavedSource>>(path_).value_or(std::vector<SavedSource>{}));
}

void SourcesStore::save() const { writeJsonFile(path_, saved.get()); }

template <class Fn>
void SourcesStore::change(const std::string& id, Fn&& fn) {
  const auto index = indexOf(saved.get(), id);
  if (!index) return;
  saved.modify([&](std::vector<SavedSource>& list) { fn(list[*index]); });
  save();
}

void SourcesStore::upsert(const SavedSource& source) {
  const auto index = indexOf(saved.get(), source.id);
  saved.modify([&](std::vector<SavedSource>& list) {
    if (index) {
      list[*index] = source;
    } else {
      list.push_back(source);
    }
  });
  save();
}

void SourcesStore::rename(const std::string& id, const std::string& name) {
  if (name.empty()) return;
  change(id, [&](SavedSource& s) { s.name = name; });
}

void SourcesStore::setOverlayConfig(const std::string& id, std::map<std::string, std::string> config) {
  change(id, [&](SavedSource& s) { s.overlayConfig = std::move(config); });
}

void SourcesStore::setTextConfig(const std::string& id, Json config) {
  change(id, [&](SavedSource& s) { s.textConfig = std::move(config); });
}

void SourcesStore::setShapeConfig(const std::string& id, Json config) {
  change(id, [&](SavedSource& s) { s.shapeConfig = std::move(config); });
}

void SourcesStore::setTrim(const std::string& id, double start, std::optional<double> end) {
  change(id, [&](SavedSource& s) {
    s.trimStart = start > 0 ? std::optional<double>(start) : std::nullopt;
    s.trimEnd = end;
  });
}

// A hand-edited or older file may hold an id twice: every entry goes, so the source can't come back.
void SourcesStore::remove(const std::string& id) {
  if (!indexOf(saved.get(), id)) return;
  saved.modify([&](std::vector<SavedSource>& list) { std::erase_if(list, [&](const SavedSource& s) { return s.id == id; }); });
  save();
}

}  // namespace tavorin
