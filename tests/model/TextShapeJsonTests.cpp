#include <gtest/gtest.h>

#include "model/ShapeConfigJson.h"
#include "model/TextConfigJson.h"

namespace tavorin {
namespace {

TEST(TextShapeJsonTest, DesignsAreWrittenWithEveryKeyAndReadBack) {
  EXPECT_EQ(Json(ShapeConfig{}).dump(),
            R"({"shape":"rectangle","fill":{"style":"solid","color1":{"r":0.3,"g":0.55,"b":1.0,"a":1.0},)"
            R"("color2":{"r":0.85,"g":0.3,"b":0.75,"a":1.0},"angle":0.0,"opacity":1.0}})");
  EXPECT_EQ(Json(TextConfig{}).dump(),
            R"({"text":"Text","fontName":"Helvetica Neue","fontSize":160.0,"bold":false,"italic":false,)"
            R"("color":{"r":1.0,"g":1.0,"b":1.0,"a":1.0},"alignment":"center","backgroundEnabled":false,)"
            R"("background":)" + Json(ShapeFill{}).dump() + R"(,"cornerRadius":0.35,"padding":0.3})");

  TextConfig title;
  title.text = "Breaking — نص";
  title.fontName = "DejaVu Serif";
  title.fontSize = 72.5;
  title.bold = title.italic = title.backgroundEnabled = true;
  title.alignment = TextConfig::Align::right;
  title.background.style = ShapeFill::Style::angular;
  title.background.angle = 45;
  title.background.opacity = 0.25f;
  title.cornerRadius = 1;
  title.padding = 0;
  EXPECT_EQ(textConfigOrDefaults(Json(title)), title);
  ShapeConfig heart;
  heart.shape = ShapeType::heart;
  heart.fill.style = ShapeFill::Style::radial;
  EXPECT_EQ(shapeConfigOrDefaults(Json(heart)), heart);
}

TEST(TextShapeJsonTest, ADesignThatDoesNotDecodeGivesTheDefaults) {
  auto withText = [](const char* key, Json value) {
    TextConfig title;
    title.text = "Kept?";
    Json j = Json(title);
    j[key] = std::move(value);
    return j;
  };
  const std::optional<Json> texts[] = {
      std::nullopt,
      Json::array(),
      Json{{"text", "Only the text"}},
      withText("alignment", "justified"),
      withText("fontSize", "big"),
      withText("color", Json{{"r", 1}}),
      withText("background", Json{{"style", "solid"}}),
  };
  for (const auto& saved : texts) EXPECT_EQ(textConfigOrDefaults(saved), TextConfig{}) << (saved ? saved->dump() : "none");

  Json shape = Json(ShapeConfig{});
  shape["shape"] = "triangle";
  EXPECT_EQ(shapeConfigOrDefaults(shape), ShapeConfig{});
  EXPECT_EQ(shapeConfigOrDefaults(Json{{"shape", "star"}}), ShapeConfig{}) << "the fill is required";
}

}  // namespace
}  // namespace tavorin
