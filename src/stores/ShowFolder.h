#pragma once

#include <filesystem>
#include <string_view>
#include <utility>

#include "base/EnumNames.h"

namespace tavorin {

// The folder the show lives in: one JSON file per store and the media
// libraries. The app passes the user's data folder, or the folder given on the
// command line.
class ShowFolder {
 public:
  // Folders for media that the show keeps, made on first use.
  enum class Library { sfx, overlays, clips, images, generated, snapshots, replays };

  explicit ShowFolder(std::filesystem::path root) : root_(std::move(root)) {}

  // "Tavorin" in the user's data folder ($XDG_DATA_HOME, else ~/.local/share).
  static std::filesystem::path defaultRoot();

  const std::filesystem::path& root() const { return root_; }
  // A store's file directly under the root.
  std::filesystem::path file(std::string_view name) const { return root_ / name; }

  // Makes the root with its parents. A failure is ignored: the store's own
  // read or write then fails, and stores report nothing.
  void ensureRoot() const;
  // The library's folder, made (with the root) when missing; failures ignored likewise.
  std::filesystem::path library(Library which) const;

 private:
  std::filesystem::path root_;
};

template <>
struct EnumNames<ShowFolder::Library> {
  using L = ShowFolder::Library;
  static constexpr std::pair<L, std::string_view> table[] = {
      {L::sfx, "SFX"},           {L::overlays, "Overlays"},   {L::clips, "Clips"},     {L::images, "Images"},
      {L::generated, "Generated"}, {L::snapshots, "Snapshots"}, {L::replays, "Replays"}};
};

}  // namespace tavorin
