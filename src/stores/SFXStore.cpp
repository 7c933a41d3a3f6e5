#include "stores/SFXStore.h"

#include <unicode/coll.h>
#include <unicode/locid.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>
#include <system_error>

#include "base/Text.h"
#include "base/ThreadName.h"
#include "model/SFXItemJson.h"
#include "stores/JsonFile.h"
#include "stores/SFXSynth.h"

namespace tavorin {

namespace {

// Names compare as the user's language orders them, ignoring case. Under the
// C or POSIX locale ICU picks en_US_POSIX, whose collation is byte order;
// there the root collation stands in.
std::unique_ptr<icu::Collator> nameCollator() {
  icu::Locale locale = icu::Locale::getDefault();
  if (std::strcmp(locale.getVariant(), "POSIX") == 0) locale = icu::Locale::getRoot();
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(locale, status));
  if (U_FAILURE(status)) return nullptr;
  collator->setStrength(icu::Collator::SECONDARY);
  return collator;
}

// A built-in's place among the presets; a name that is none of them counts as the first.
std::size_t presetRank(const std::string& name) {
  const auto& presets = SFXSynth::presets();
  for (std::size_t i = 0; i < presets.size(); ++i) {
    if (presets[i].name == name) return i;
  }
  return 0;
}

std::vector<SFXItem> sorted(std::vector<SFXItem> list) {
  const auto collator = nameCollator();
  std::stable_sort(list.begin(), list.end(), [&](const SFXItem& a, const SFXItem& b) {
    if (a.builtin != b.builtin) return a.builtin;
    if (a.builtin) return presetRank(a.name) < presetRank(b.name);
    if (!collator) return a.name < b.name;
    UErrorCode status = U_ZERO_ERROR;
    return collator->compareUTF8(a.name, b.name, status) == UCOL_LESS;
  });
  return list;
}

}  // namespace

SFXStore::SFXStore(ShowFolder folder, MainQueue& queue, Log log)
    : queue_(queue),
      log_(std::move(log)),
      dir_(folder.library(ShowFolder::Library::sfx)),
      indexURL_(dir_ / "index.json") {
  sounds.set(readJsonFile<std::vector<SFXItem>>(indexURL_).value_or(std::vector<SFXItem>{}));
  seed();
}

SFXStore::~SFXStore() {
  self_.reset();
  stopping_ = true;
  if (renderer_.joinable()) renderer_.join();
}

std::string SFXStore::builtinFileName(std::string_view presetName) {
  std::string name = "builtin-";
  for (char c : presetName) name += c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return name + ".wav";
}

std::optional<SFXItem> SFXStore::find(const Uuid& id) const {
  for (const SFXItem& item : sounds.get()) {
    if (item.id == id) return item;
  }
  return std::nullopt;
}

void SFXStore::seed() {
  std::set<std::string> listed, gone;
  for (const SFXItem& item : sounds.get()) {
    if (!item.builtin) continue;
    listed.insert(item.name);
    std::error_code ec;
    if (!std::filesystem::exists(fileURL(item), ec)) gone.insert(item.name);
  }
  std::vector<SFXSynth::Preset> due;
  for (const SFXSynth::Preset& preset : SFXSynth::presets()) {
    if (!listed.count(preset.name) || gone.count(preset.name)) due.push_back(preset);
  }
  if (due.empty()) {
    seeded = true;
    return;
  }
  std::weak_ptr<SFXStore*> weakSelf = self_;
  renderer_ = std::thread([this, due = std::move(due), dir = dir_, weakSelf] {
    nameThisThread("Tavorin.SFX");
    std::vector<std::string> rendered, failures;
    for (const SFXSynth::Preset& preset : due) {
      if (stopping_) return;
      std::string error;
      if (SFXSynth::renderPreset(preset.name, preset.make, dir / builtinFileName(preset.name), &error)) {
        rendered.push_back(preset.name);
      } else {
        failures.push_back(std::move(error));
      }
    }
    queue_.post([weakSelf, rendered = std::move(rendered), failures = std::move(failures)] {
      if (auto self = weakSelf.lock()) (*self)->addRendered(rendered, failures);
    });
  });
}

void SFXStore::addRendered(const std::vector<std::string>& names, const std::vector<std::string>& failures) {
  if (log_) {
    for (const std::string& line : failures) log_(line);
  }
  std::vector<SFXItem> list = sounds.get();
  for (const std::string& name : names) {
    const bool listed =
        std::any_of(list.begin(), list.end(), [&](const SFXItem& item) { return item.builtin && item.name == name; });
    // A re-rendered file keeps its item, and with it the id that pads and transitions refer to.
    if (!listed) list.push_back(SFXItem{Uuid::make(), name, builtinFileName(name), true, SFXCategory::effect});
  }
  commit(std::move(list));
  seeded = true;
}

void SFXStore::commit(std::vector<SFXItem> list) {
  sounds.set(sorted(std::move(list)));
  writeJsonFile(indexURL_, sounds.get());
}

std::optional<SFXItem> SFXStore::importFile(const std::filesystem::path& source) {
  auto item = copyIn(dir_, source);
  if (item) addImported(*item);
  return item;
}

std::optional<SFXItem> SFXStore::copyIn(const std::filesystem::path& dir, const std::filesystem::path& source) {
  const Uuid id = Uuid::make();
  const std::string extension = source.extension().string();
  SFXItem item{id, source.stem().string(),
               "user-" + id.toString() + "." + (extension.empty() ? "wav" : extension.substr(1)), false,
               SFXCategory::effect};
  std::error_code ec;
  if (!std::filesystem::copy_file(source, dir / item.fileName, ec) || ec) return std::nullopt;
  return item;
}

void SFXStore::addImported(const SFXItem& item) {
  std::vector<SFXItem> list = sounds.get();
  list.push_back(item);
  commit(std::move(list));
}

void SFXStore::rename(const Uuid& id, const std::string& name) {
  if (trimmed(name).empty()) return;
  std::vector<SFXItem> list = sounds.get();
  auto it = std::find_if(list.begin(), list.end(), [&](const SFXItem& item) { return item.id == id; });
  if (it == list.end()) return;
  it->name = name;
  commit(std::move(list));
}

void SFXStore::remove(const SFXItem& item) {
  std::vector<SFXItem> list = sounds.get();
  auto it = std::find_if(list.begin(), list.end(), [&](const SFXItem& listed) { return listed.id == item.id; });
  if (it == list.end() || it->builtin) return;
  std::error_code ignored;
  std::filesystem::remove(fileURL(*it), ignored);
  list.erase(it);
  commit(std::move(list));
}

}  // namespace tavorin
