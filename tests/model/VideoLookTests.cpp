#include <gtest/gtest.h>

#include <set>

#include "model/VideoEffectPreset.h"
#include "model/VideoFilterDefaults.h"

namespace tavorin {
namespace {

TEST(VideoLooks, EveryBuiltInLookSetsOnlyItsKindsParametersWithinTheirRanges) {
  const auto looks = builtInLooks();
  ASSERT_EQ(looks.size(), 18u);
  EXPECT_EQ(looks.front().name, "Ghost");
  EXPECT_EQ(looks.back().name, "Pop");
  for (const auto& look : looks) {
    EXPECT_FALSE(look.filters.empty()) << look.name;
    for (const auto& filter : look.filters) {
      const auto specs = videoFilterParamSpecs(filter.kind);
      EXPECT_EQ(filter.params.size(), specs.size()) << look.name << " " << enumName(filter.kind);
      for (const auto& spec : specs) {
        const double value = filter.params.at(std::string(spec.key));
        EXPECT_GE(value, spec.minimum) << look.name << " " << spec.key;
        EXPECT_LE(value, spec.maximum) << look.name << " " << spec.key;
      }
    }
  }
  // Every kind's defaults lie in its own ranges, and every kind has a label.
  for (const auto& [kind, name] : EnumNames<VideoFilterKind>::table) {
    EXPECT_FALSE(videoFilterLabel(kind).empty()) << name;
    for (const auto& spec : videoFilterParamSpecs(kind)) {
      EXPECT_TRUE(spec.defaultValue >= spec.minimum && spec.defaultValue <= spec.maximum) << name << " " << spec.key;
    }
  }
}

TEST(VideoLooks, ALookAppliedTwiceGivesFreshIdsAndEffectiveParamsFillTheGaps) {
  const auto look = builtInLooks().at(1);
  const auto first = stackOfLook(look), second = stackOfLook(look);
  std::set<Uuid> ids;
  for (const auto& stack : {look.filters, first, second}) {
    for (const auto& filter : stack) ids.insert(filter.id);
  }
  EXPECT_EQ(ids.size(), 3 * look.filters.size());

  VideoFilterConfig partial;
  partial.kind = VideoFilterKind::bloom;
  partial.params = {{"radius", 22}, {"unknown", 7}};
  EXPECT_EQ(effectiveParams(partial), (std::map<std::string, double>{{"radius", 22}, {"intensity", 0.8}, {"unknown", 7}}));
}

}  // namespace
}  // namespace tavorin
