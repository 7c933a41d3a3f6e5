#include <gtest/gtest.h>

#include "app/AppModel.h"
#include "model/ShapeConfigJson.h"
#include "model/TextConfigJson.h"
#include "sources/ShapeSource.h"
#include "sources/TextSource.h"
#include "support/ManualMainQueue.h"
#include "support/PrivateFonts.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

// Before any test sets text in this binary.
const auto* const kFonts = ::testing::AddGlobalTestEnvironment(new testing::PrivateFonts);

const SavedSource* storedEntry(const AppModel& model, const std::string& id) {
  for (const auto& entry : model.sourcesStore.saved.get()) {
    if (entry.id == id) return &entry;
  }
  return nullptr;
}

std::string textJson(std::string text) {
  TextConfig config;
  config.text = std::move(text);
  return Json(config).dump();
}

TEST(AppModelTextShapeTest, StoredTitlesAndShapesReturnNamedAfterTheirText) {
  testing::TempDir show;
  testing::ManualMainQueue queue;
  testing::writeFile(show / "sources.json", R"([
      {"id": "text:long", "kind": "text", "name": "Text", "textConfig": )" +
                                                textJson("  \n Ünïcödé lower third with a name that runs past forty  ") + R"(},
      {"id": "text:blank", "kind": "text", "name": "Text", "textConfig": )" + textJson(" \t ") + R"(},
      {"id": "text:bare", "kind": "text", "name": "Bare"},
      {"id": "text:bad", "kind": "text", "name": "Bad", "textConfig": {"text": "missing keys"}},
      {"id": "shape:bare", "kind": "shape", "name": "Rectangle"}])");

  AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
  model.start();
  queue.runUntilIdle();
  ASSERT_EQ(model.sources->size(), 5u);
  for (const auto& source : model.sources.get()) {
    EXPECT_TRUE(source->latestFrame()) << source->id();
    EXPECT_FALSE(model.isParked(source->id())) << source->id();
  }
  const std::map<std::string, std::string> names{{"text:long", "Ünïcödé lower third with a name that run"},
                                                  {"text:bare", "Text"},
                                                  {"text:bad", "Text"}};
  EXPECT_EQ(model.mediaNames.get(), names) << "a blank title leaves mediaNames alone";
  auto* bad = dynamic_cast<TextSource*>(model.sourceLifecycle.find("text:bad").get());
  ASSERT_TRUE(bad);
  EXPECT_EQ(bad->config.get(), TextConfig{}) << "a record with keys missing gives the defaults";
  auto* shape = dynamic_cast<ShapeSource*>(model.sourceLifecycle.find("shape:bare").get());
  ASSERT_TRUE(shape);
  EXPECT_EQ(shape->config.get(), ShapeConfig{});
  EXPECT_EQ(model.displayName("shape:bare"), "Rectangle");

  // A restored title saves its edits too.
  TextConfig edited;
  edited.text = "Edited";
  EXPECT_TRUE(model.setTextConfig("text:bare", edited));
  EXPECT_EQ(storedEntry(model, "text:bare")->textConfig, Json(edited));
}

TEST(AppModelTextShapeTest, OperatorAddsTitlesAndShapesAndTheirEditsAreKept) {
  testing::TempDir show;
  testing::ManualMainQueue queue;
  std::string textID, starID;
  TextConfig title;
  title.text = "Anna Berg — Producer";
  title.backgroundEnabled = true;
  ShapeConfig star;
  {
    AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
    model.start();
    queue.runUntilIdle();
    textID = model.addTextSource();
    starID = model.addShapeSource(ShapeType::star, {1, 0.5f, 0, 1});
    EXPECT_EQ(textID.rfind("text:", 0), 0u);
    EXPECT_EQ(starID.rfind("shape:", 0), 0u);
    EXPECT_EQ(model.displayName(textID), "Text");
    EXPECT_EQ(model.displayName(starID), "Star");
    const FrameRef firstTitle = model.sourceLifecycle.find(textID)->latestFrame();
    ASSERT_TRUE(firstTitle);

    EXPECT_TRUE(model.setTextConfig(textID, title));
    star = shapeConfigOrDefaults(storedEntry(model, starID)->shapeConfig);
    EXPECT_EQ(star.fill.color1, (RGBAColor{1, 0.5f, 0, 1}));
    EXPECT_EQ(star.fill.color2, star.fill.color1);
    star.fill.style = ShapeFill::Style::linear;
    EXPECT_TRUE(model.setShapeConfig(starID, star));
    EXPECT_FALSE(model.setShapeConfig(textID, star)) << "a title is no shape";
    EXPECT_FALSE(model.setTextConfig("text:gone", title));

    auto* text = dynamic_cast<TextSource*>(model.sourceLifecycle.find(textID).get());
    ASSERT_TRUE(text);
    text->waitUntilDrawn();
    EXPECT_NE(text->latestFrame(), firstTitle) << "drawn again for the edit";
  }
  AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
  model.start();
  queue.runUntilIdle();
  auto* text = dynamic_cast<TextSource*>(model.sourceLifecycle.find(textID).get());
  auto* shape = dynamic_cast<ShapeSource*>(model.sourceLifecycle.find(starID).get());
  ASSERT_TRUE(text && shape);
  EXPECT_EQ(text->config.get(), title);
  EXPECT_EQ(shape->config.get(), star);
  EXPECT_EQ(model.displayName(textID), "Anna Berg — Producer");
}

}  // namespace
}  // namespace tavorin
