#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Published.h"
#include "model/SavedSource.h"
#include "stores/ShowFolder.h"

namespace tavorin {

// "sources.json": the show's sources, rebuilt from here at each start. Every
// change writes the whole file; operations on an unknown id do nothing.
class SourcesStore {
 public:
  explicit SourcesStore(const ShowFolder& folder);

  Published<std::vector<SavedSource>> saved;

  const std::filesystem::path& path() const { return path_; }

  // Replaces the entry with the same id, or appends.
  void upsert(const SavedSource& source);
  // An empty name is ignored.
  void rename(const std::string& id, const std::string& name);
  void setOverlayConfig(const std::string& id, std::map<std::string, std::string> config);
  // A title's or a shape's design, as its JSON.
  void setTextConfig(const std::string& id, Json config);
  void setShapeConfig(const std::string& id, Json config);
  // A start at or before 0 is stored as no start; an absent end clears it.
  void setTrim(const std::string& id, double start, std::optional<double> end);
  // Drops every entry with the id.
  void remove(const std::string& id);

 private:
  void save() const;
  template <class Fn>
  void change(const std::string& id, Fn&& fn);

  std::filesystem::path path_;
};

}  // namespace tavorin
