// Plans drawn by the real compositor on its 320 x 180 test canvas, each with
// the pixels that show it right: placement, decoration, keying, masks, corner
// pins, and the built-in and custom transitions at chosen times (their drawing
// lists are tested on their own elsewhere; these catch what only shows in
// pixels: blend order, which side an edge lands on, interpolated boxes).
#include <functional>
#include <numbers>
#include <ostream>

#include "support/CompositorTestSupport.h"
#include "switcher/ActiveTransition.h"
#include "switcher/SwitcherSnapshotStore.h"

namespace tavorin::testing {
namespace {

struct Probe {
  int x, y;
  Rgba expected;
  int tolerance = 3;
};

struct PlanCase {
  const char* name;
  std::vector<RenderLayer> layers;
  std::vector<Probe> probes;
};

void PrintTo(const PlanCase& c, std::ostream* out) { *out << c.name; }

constexpr Rgba kGrey{128, 128, 128, 255};
constexpr Rgba kHalfRed{128, 0, 0, 255};

RenderLayer with(RenderLayer layer, const std::function<void(RenderLayer&)>& edit) {
  edit(layer);
  return layer;
}
RenderLayer filled(const std::string& source, Point center = {0.5, 0.5}, Size size = {1, 1}) {
  return with(layerOf(source, center, size), [](RenderLayer& l) { l.fill = true; });
}
RenderLayer flipped(bool horizontal, bool vertical) {
  return with(filled("quads"), [&](RenderLayer& l) {
    l.flipHorizontal = horizontal;
    l.flipVertical = vertical;
  });
}
RenderLayer masked(MaskMode mode, std::vector<std::vector<Point>> polygons) {
  return with(filled("red"), [&](RenderLayer& l) {
    l.maskMode = mode;
    l.maskPolygons = std::move(polygons);
  });
}

Point toward(Point from, Point to, double t) { return {from.x + (to.x - from.x) * t, from.y + (to.y - from.y) * t}; }
Probe at(Point fraction, Rgba expected) {
  return {static_cast<int>(fraction.x * 320), static_cast<int>(fraction.y * 180), expected};
}

// Each corner of the picture lands on its pin, and the picture's centre where
// the pin's diagonals meet: drawn affinely per triangle it would not.
PlanCase cornerPinCase() {
  const Point tl{0.1, 0.1}, tr{0.6, 0.2}, br{0.7, 0.9}, bl{0.2, 0.7};
  RenderLayer layer = layerOf("quads");
  layer.cornerPin = CornerPin{tl, tr, bl, br};
  layer.borderWidth = 0.2f;  // plays no part when pinned
  layer.borderColor = {1, 1, 0, 1};
  const Point centroid{(tl.x + tr.x + br.x + bl.x) / 4, (tl.y + tr.y + br.y + bl.y) / 4};
  const double ex = br.x - tl.x, ey = br.y - tl.y, fx = bl.x - tr.x, fy = bl.y - tr.y;
  const double t = ((tr.x - tl.x) * fy - (tr.y - tl.y) * fx) / (ex * fy - ey * fx);
  const Point meet{tl.x + t * ex, tl.y + t * ey};
  std::vector<Probe> probes{{288, 18, kBlack}};
  const std::pair<Point, Rgba> corners[] = {{tl, kRed}, {tr, kGreen}, {br, kBlue}, {bl, kWhite}};
  for (const auto& [corner, colour] : corners) {
    probes.push_back(at(toward(corner, centroid, 0.15), colour));
    probes.push_back(at(toward(meet, corner, 0.06), colour));
  }
  return {"CornerPinPutsCornersOnPinsWithPerspective", {layer}, probes};
}

LayerState sceneLayer(const std::string& source, Point center = {0.5, 0.5}, Size size = {1, 1}) {
  LayerState layer = LayerState::make(source);
  layer.center = center;
  layer.size = size;
  return layer;
}

// The layers drawn halfway through a two-second take.
std::vector<RenderLayer> halfway(TransitionKind kind, std::vector<LayerState> from, std::vector<LayerState> to) {
  ActiveTransition t;
  t.kind = kind;
  t.startTime = 10;
  t.duration = 2;
  t.from.layers = std::move(from);
  t.to.layers = std::move(to);
  return t.layers(t.progress(11), 11);
}

// A green plate on the left half that slides from the left edge of the
// picture (t = 0) to the right half (t = 1).
CustomTransition plateSweep() {
  CustomTransition custom;
  custom.duration = 2;
  custom.cutPoint = 0.5;
  TransitionTrack track;
  track.sourceID = "cam";
  LayerState plate = sceneLayer("cam", {0.25, 0.5}, {0.5, 1});
  track.keyframes.push_back({0, plate});
  plate.center.x = 0.75;
  track.keyframes.push_back({1, plate});
  custom.tracks = {track};
  return custom;
}

std::vector<RenderLayer> customTake(float p) {
  ActiveTransition t;
  t.custom = plateSweep();
  t.from.layers = {sceneLayer("old")};
  t.to.layers = {sceneLayer("new")};
  return t.layers(p, 0);
}

// Program with the sweep fired over it, holding halfway from 10 s on, released at 500 s when `released`.
std::vector<RenderLayer> firedOverProgram(double time, bool released) {
  SwitcherSnapshotStore store;
  MixerScene program;
  program.layers = {sceneLayer("old")};
  store.publish(std::make_shared<const MixerScene>(program), std::make_shared<const MixerScene>());
  FiredTransitionRun run;
  run.custom = plateSweep();
  run.startTime = 10;
  run.holdAt = 0.5;
  if (released) run.releaseTime = 500;
  store.setFiredRuns({run});
  return store.programPlan(time).layers;
}

std::vector<PlanCase> planCases() {
  const float quarterTurn = std::numbers::pi_v<float> / 2;
  const std::vector<Point> leftHalf{{0, 0}, {0.5, 0}, {0.5, 1}, {0, 1}};
  return {
      {"EmptyPlanIsOpaqueBlack", {}, {{160, 90, kBlack, 0}, {0, 0, kBlack, 0}}},
      {"BoxLandsAtCenterAndSize",
       {layerOf("red", {0.25, 0.75}, {0.5, 0.5})},
       {{6, 93, kRed}, {153, 176, kRed}, {166, 135, kBlack}, {80, 86, kBlack}}},
      // A square picture in a full 16:9 box is 0.5625 of the width, centred.
      {"FitKeepsTheAspect", {layerOf("square")}, {{64, 90, kBlack}, {73, 90, kRed}, {246, 90, kRed}, {256, 90, kBlack}}},
      {"FillStretches", {filled("square")}, {{3, 90, kRed}, {316, 178, kRed}}},
      {"CropShowsOnlyTheCroppedPart",
       {with(filled("halves"), [](RenderLayer& l) { l.cropRect = {{0, 0}, {0.5, 1}}; })},
       {{16, 90, kRed}, {304, 90, kRed}}},
      // 80 x 45 pixels before turning; turned, 45 wide and 80 high about (160, 90).
      {"QuarterTurnOnAWideCanvasKeepsThePixelShape",
       {with(filled("red", {0.5, 0.5}, {0.25, 0.25}), [&](RenderLayer& l) { l.rotation = quarterTurn; })},
       {{132, 90, kBlack}, {145, 90, kRed}, {160, 54, kRed}, {160, 126, kRed}, {160, 46, kBlack}}},
      {"UnflippedTopLeftIsTheTopLeft", {flipped(false, false)}, {{32, 18, kRed}}},
      {"HorizontalFlipMirrorsLeftAndRight", {flipped(true, false)}, {{32, 18, kGreen}}},
      {"VerticalFlipMirrorsTopAndBottom", {flipped(false, true)}, {{32, 18, kWhite}}},
      {"BothFlipsTurnThePictureAround", {flipped(true, true)}, {{32, 18, kBlue}}},
      {"HalfOpacityBlendsOverBlack",
       {with(layerOf("red"), [](RenderLayer& l) { l.opacity = 0.5f; })},
       {{160, 90, kHalfRed, 2}}},
      {"MissingSourceDrawsNothingWhileOthersDraw",
       {layerOf("red"), with(layerOf("ghost"), [](RenderLayer& l) { l.shadowOpacity = 1; })},
       {{160, 90, kRed}, {6, 3, kRed}}},

      // 90 x 90 pixels; the fourth probe is 40 px from the centre on the
      // diagonal, the last 51 px: inside the box, outside the circle.
      {"HalfRadiusTurnsASquareIntoACircle",
       {with(filled("red", {0.5, 0.5}, {0.28125, 0.5}), [](RenderLayer& l) { l.corners = CornerRadii::uniform(0.5f); })},
       {{160, 90, kRed}, {160, 47, kRed}, {117, 47, kBlack}, {188, 118, kRed}, {196, 126, kBlack}}},
      // 18 pixels of a 180-pixel box.
      {"BorderLiesInsideTheEdge",
       {with(filled("red"), [](RenderLayer& l) { l.borderWidth = 0.1f; })},
       {{4, 90, kWhite}, {160, 14, kWhite}, {26, 90, kRed}, {160, 24, kRed}}},
      // The card spans x 120..200 and y 67.5..112.5; its shadow falls 13.5 pixels right and down.
      {"ShadowFallsInTheOffsetDirection",
       {filled("white"), with(filled("red", {0.5, 0.5}, {0.25, 0.25}),
                              [](RenderLayer& l) {
                                l.shadowOpacity = 1;
                                l.shadowRadius = 0.05f;
                                l.shadowOffset = {0.3, 0.3};
                              })},
       {{207, 120, kBlack, 40}, {150, 122, kBlack, 40}, {115, 75, kWhite, 8}, {150, 62, kWhite, 8}, {160, 90, kRed}}},
      {"ChromaKeyRemovesTheKeyColour",
       {filled("blue"), with(filled("screen"), [](RenderLayer& l) { l.keyMode = KeyMode::chroma; })},
       {{80, 90, kBlue}, {240, 90, kRed}}},
      {"ChromaKeyKeepsAGrey",
       {filled("blue"), with(filled("grey"), [](RenderLayer& l) { l.keyMode = KeyMode::chroma; })},
       {{160, 90, kGrey}}},
      {"ExcludingMaskHidesItsRegion",
       {filled("blue"), masked(MaskMode::exclude, {leftHalf})},
       {{80, 90, kBlue}, {240, 90, kRed}}},
      {"IncludingMaskShowsOnlyItsRegion",
       {filled("blue"), masked(MaskMode::include, {leftHalf})},
       {{80, 90, kRed}, {240, 90, kBlue}}},
      {"RegionOfTwoPointsIsNoMask",
       {filled("blue"), masked(MaskMode::exclude, {{{0, 0}, {1, 1}}})},
       {{80, 90, kRed}, {240, 90, kRed}}},
      cornerPinCase(),

      // Old at 0.5 over black, then new at 0.5 over that: 0.5 new + 0.25 old.
      {"CrossfadeAtHalfTimeLaysHalfTheNewOverHalfTheOld",
       halfway(TransitionKind::crossfade, {sceneLayer("old")}, {sceneLayer("new")}),
       {{160, 90, {64, 0, 128, 255}, 2}, {16, 171, {64, 0, 128, 255}, 2}}},
      {"SlideAtHalfTimeHasTheEdgeInTheMiddle",
       halfway(TransitionKind::slide, {sceneLayer("old")}, {sceneLayer("new")}),
       {{6, 90, kRed}, {153, 90, kRed}, {166, 90, kBlue}, {313, 90, kBlue}}},
      // Halfway the old box stands at centre 0.64 with size 0.64: 0.32 to 0.96.
      {"ShrinkToCornerShrinksTheOldSceneOverTheNew",
       halfway(TransitionKind::shrinkToCorner, {sceneLayer("old")}, {sceneLayer("new")}),
       {{108, 61, kRed}, {300, 169, kRed}, {96, 90, kBlue}, {313, 176, kBlue}}},
      // The camera box moves from 0.1..0.3 to 0.5 centre at width 0.3 (0.35..0.65),
      // opaque; the leaving scene shows at half strength around it, and nothing
      // of the camera is left at its old place.
      {"MatchMoveCarriesTheSharedSourceHalfwayAndFadesTheRest",
       halfway(TransitionKind::matchMove, {sceneLayer("old"), sceneLayer("cam", {0.2, 0.5}, {0.2, 0.2})},
               {sceneLayer("cam", {0.8, 0.5}, {0.4, 0.4})}),
       {{160, 90, kGreen}, {118, 90, kGreen}, {201, 90, kGreen}, {64, 90, kHalfRed, 2}, {256, 90, kHalfRed, 2}}},
      {"CustomTakeShowsTheOldPictureJustBeforeItsCut", customTake(0.49f), {{16, 90, kRed}}},
      // Halfway the plate (eased, so exactly in the middle) covers 0.25 to 0.75.
      {"CustomTakeShowsTheNewPictureFromItsCutUnderThePlate",
       customTake(0.5f),
       {{16, 90, kBlue}, {86, 90, kGreen}, {233, 90, kGreen}, {304, 90, kBlue}}},
      {"FiredRunHoldsItsPlateOverAnUnchangedProgram",
       firedOverProgram(500, false),
       {{16, 90, kRed}, {160, 90, kGreen}, {304, 90, kRed}}},
      {"ReleasedRunPlaysOnToItsEndPosition", firedOverProgram(501, true), {{96, 90, kRed}, {304, 90, kGreen}}},
      {"EndedRunLeavesProgramAsItWas", firedOverProgram(501.5, true), {{304, 90, kRed}}},
  };
}

class PlanPixels : public CompositorTest, public ::testing::WithParamInterface<PlanCase> {
 protected:
  PlanPixels() {
    frames["red"] = solidFrame(16, 9, kRed);
    frames["blue"] = solidFrame(16, 9, kBlue);
    frames["white"] = solidFrame(16, 9, kWhite);
    frames["grey"] = solidFrame(16, 9, kGrey);
    frames["square"] = solidFrame(100, 100, kRed);
    frames["halves"] = halvesFrame(100, 50, kRed, kBlue);
    frames["screen"] = halvesFrame(100, 50, kGreen, kRed);
    frames["quads"] = quadrantFrame(100, 100, kRed, kGreen, kBlue, kWhite);
    frames["old"] = solidFrame(320, 180, kRed);
    frames["new"] = solidFrame(320, 180, kBlue);
    frames["cam"] = solidFrame(320, 180, kGreen);
  }
};

TEST_P(PlanPixels, DrawsWhatThePlanSays) {
  PixelBufferRef out = compose(GetParam().layers);
  ASSERT_TRUE(out);
  for (const Probe& p : GetParam().probes) {
    EXPECT_TRUE(near(pixelAt(*out, p.x, p.y), p.expected, p.tolerance)) << "at (" << p.x << ", " << p.y << ")";
  }
}

INSTANTIATE_TEST_SUITE_P(Compositor, PlanPixels, ::testing::ValuesIn(planCases()),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tavorin::testing
