#include "stores/LayoutMigrations.h"

#include <filesystem>
#include <string>
#include <system_error>
#include <unordered_set>

#include "stores/JsonFile.h"
#include "stores/PreferenceKeys.h"

namespace tavorin {

namespace {

std::string deckFileName(const char* stem, const Uuid& deckID) { return std::string(stem) + "-" + deckID.toString() + ".json"; }

void copyIfMissing(const std::filesystem::path& from, const std::filesystem::path& to) {
  std::error_code ec;
  if (!std::filesystem::exists(from, ec) || std::filesystem::exists(to, ec) || ec) return;
  // Through the atomic writer, so a crash never leaves a half-copied library
  // that would then stop the copy from being made again.
  if (auto contents = readWholeFile(from)) writeFileAtomically(to, *contents);
}

// A scene that exists only on the vertical canvas: its design is the old vertical layout's.
MixerScene verticalOnly(const MixerScene& vertical) {
  MixerScene scene;
  scene.id = vertical.id;
  scene.name = vertical.name;
  scene.transition = vertical.transition;
  scene.verticalLayers = vertical.layers;
  scene.verticalGroups = vertical.groups;
  return scene;
}

void embedVerticalLibrary(const ShowFolder& folder, const Uuid& deckID) {
  const auto verticalPath = folder.file(deckFileName("verticalLayouts", deckID));
  const auto verticals = readJsonFile<std::vector<MixerScene>>(verticalPath);
  if (!verticals || verticals->empty()) return;

  const auto layoutsPath = folder.file(deckFileName("layouts", deckID));
  auto layouts = readJsonFile<std::vector<MixerScene>>(layoutsPath).value_or(std::vector<MixerScene>{});

  std::unordered_set<Uuid> used;
  for (auto& layout : layouts) {
    if (layout.companionLayoutID) {
      for (const auto& vertical : *verticals) {
        if (vertical.id != *layout.companionLayoutID) continue;
        layout.verticalLayers = vertical.layers;
        layout.verticalGroups = vertical.groups;
        used.insert(vertical.id);
        break;
      }
    }
    // The link meant "the other library's layout"; with one library it means nothing.
    layout.companionLayoutID.reset();
  }
  for (const auto& vertical : *verticals) {
    if (!used.contains(vertical.id)) layouts.push_back(verticalOnly(vertical));
  }

  writeJsonFile(layoutsPath, layouts);
  std::error_code ec;
  std::filesystem::rename(verticalPath, verticalPath.string() + ".bak", ec);
}

}  // namespace

void migrateDeckLayouts(const ShowFolder& folder, const std::vector<Uuid>& deckIDs, Preferences& preferences) {
  if (preferences.boolOr(prefkey::deckLayoutsMigrated, false)) return;
  for (const auto& deckID : deckIDs) {
    copyIfMissing(folder.file("layouts.json"), folder.file(deckFileName("layouts", deckID)));
    copyIfMissing(folder.file("verticalLayouts.json"), folder.file(deckFileName("verticalLayouts", deckID)));
  }
  preferences.setBool(prefkey::deckLayoutsMigrated, true);
}

void migrateEmbeddedVertical(const ShowFolder& folder, const std::vector<Uuid>& deckIDs, Preferences& preferences) {
  if (preferences.boolOr(prefkey::embeddedVerticalMigrated, false)) return;
  for (const auto& deckID : deckIDs) embedVerticalLibrary(folder, deckID);
  preferences.setBool(prefkey::embeddedVerticalMigrated, true);
}

void runLayoutMigrations(const ShowFolder& folder, const std::vector<Uuid>& deckIDs, Preferences& preferences) {
  migrateDeckLayouts(folder, deckIDs, preferences);
  migrateEmbeddedVertical(folder, deckIDs, preferences);
}

}  // namespace tavorin
