#include "model/OverlayManifest.h"

#include <gtest/gtest.h>

namespace tavorin {
namespace {

std::string manifestDocument(const std::string& json) {
  return "<html><head><script id=\"tv-params\" type=\"application/json\">" + json + "</script></head></html>";
}

TEST(OverlayManifest, ParsesOnlyAWholeWellFormedManifest) {
  const std::string one = R"([{"key":"title","label":"A > B","type":"text","default":"Hi"}])";
  EXPECT_EQ(parseOverlayParams(manifestDocument(one)),
            (std::vector<OverlayParam>{{"title", "A > B", "text", "Hi"}}));
  for (const std::string& bad :
       {std::string("<html>no manifest</html>"), manifestDocument(R"([{"key":"a","label":"</script>","type":"text","default":""}])"),
        manifestDocument(R"([{"key":"a","label":"A","type":"text"}])"), manifestDocument("{not json"),
        std::string("<script id=\"tv-params\" type=\"application/json\">[]")}) {
    EXPECT_TRUE(parseOverlayParams(bad).empty()) << bad;
  }
}

TEST(OverlayManifest, StoredValuesWinOverDefaultsAndUnknownKeysStay) {
  std::vector<OverlayParam> params{{"a", "A", "text", "1"}, {"b", "B", "text", "2"}, {"a", "A", "text", "3"}};
  EXPECT_EQ(effectiveOverlayConfig(params, {{"b", "x"}, {"gone", "y"}}),
            (OverlayConfig{{"a", "3"}, {"b", "x"}, {"gone", "y"}}));
}

TEST(OverlayManifest, ConfigScriptTypesEveryValue) {
  std::vector<OverlayParam> params{{"n", "", "number", "5"},  {"bad", "", "number", "0"}, {"px", "", "number", "0"},
                                   {"on", "", "bool", "0"},   {"off", "", "bool", "1"},   {"t", "", "text", ""},
                                   {"c", "", "color", "#fff"}};
  OverlayConfig config{{"bad", "abc"}, {"px", "12px"}, {"on", "TRUE"}, {"off", "yes"}, {"t", "say \"hi\" \\ there"}};
  EXPECT_EQ(*overlayConfigScript(params, config),
            R"(window.applyTavorinConfig && window.applyTavorinConfig({"n":5.0,"bad":0.0,"px":0.0,"on":true,"off":false,)"
            R"("t":"say \"hi\" \\ there","c":"#fff"});)");
  EXPECT_EQ(overlayConfigScript({}, config), std::nullopt);
  EXPECT_TRUE(overlayBoolValue("1") && overlayBoolValue("tRuE"));
  EXPECT_FALSE(overlayBoolValue("yes") || overlayBoolValue("0") || overlayBoolValue(""));
}

TEST(OverlayManifest, PageSizeRoundsFloorsAndIgnoresOnePoint) {
  struct Case {
    double width, height;
    OverlayPageSize current;
    std::optional<OverlayPageSize> expected;
  };
  for (const auto& c : {Case{100.4, 50, {1920, 1080}, OverlayPageSize{100, 64}},
                        Case{1920.5, 1081, {1920, 1080}, std::nullopt},
                        Case{1922, 1080, {1920, 1080}, OverlayPageSize{1922, 1080}},
                        Case{0.5, -3, {64, 64}, std::nullopt}}) {
    EXPECT_EQ(overlayPageSizeFor(c.width, c.height, c.current), c.expected) << c.width << "x" << c.height;
  }
}

TEST(OverlayManifest, AddressesGetASchemeWhenTheyNameNone) {
  EXPECT_EQ(normalizeWebAddress("  example.com/a \n"), "https://example.com/a");
  EXPECT_EQ(normalizeWebAddress("http://127.0.0.1:8000/"), "http://127.0.0.1:8000/");
  EXPECT_EQ(normalizeWebAddress(" \t"), std::nullopt);
}

}  // namespace
}  // namespace tavorin
