#include "app/DemoShow.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <numbers>
#include <string>

#include <cairo.h>

#include "app/AppModel.h"
#include "model/TransitionKind.h"

namespace tavorin {

namespace {

// Stable ids, so a second run in the same show folder finds its own sources.
const std::string kBarsID = "image:4E1C6A52-7B0A-4C0E-9E55-2B7D0C5A1B01";
const std::string kLogoID = "image:4E1C6A52-7B0A-4C0E-9E55-2B7D0C5A1B02";
const std::string kPlateID = "image:4E1C6A52-7B0A-4C0E-9E55-2B7D0C5A1B03";
const std::string kSweepPlateID = "image:4E1C6A52-7B0A-4C0E-9E55-2B7D0C5A1B04";
const std::string kBlackID = "still:black";
const Uuid kSweepID = *Uuid::parse("4E1C6A52-7B0A-4C0E-9E55-2B7D0C5A1B10");
const Uuid kCueID = *Uuid::parse("4E1C6A52-7B0A-4C0E-9E55-2B7D0C5A1B20");

// The take cycle; an empty entry is the demo's own custom transition.
constexpr std::array<std::optional<TransitionKind>, 6> kTransitions = {
    TransitionKind::crossfade, TransitionKind::slide, std::nullopt, TransitionKind::shrinkToCorner,
    TransitionKind::matchMove, TransitionKind::cut};

using Painter = void (*)(cairo_t*, int, int);

bool paintPNG(const std::filesystem::path& path, int width, int height, Painter paint) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  cairo_t* cr = cairo_create(surface);
  paint(cr, width, height);
  cairo_destroy(cr);
  const bool ok = cairo_surface_write_to_png(surface, path.c_str()) == CAIRO_STATUS_SUCCESS;
  cairo_surface_destroy(surface);
  return ok;
}

void paintBars(cairo_t* cr, int w, int h) {
  const double bars[7][3] = {{0.75, 0.75, 0.75}, {0.75, 0.75, 0}, {0, 0.75, 0.75}, {0, 0.75, 0},
                             {0.75, 0, 0.75},    {0.75, 0, 0},    {0, 0, 0.75}};
  for (int i = 0; i < 7; ++i) {
    cairo_set_source_rgb(cr, bars[i][0], bars[i][1], bars[i][2]);
    cairo_rectangle(cr, w * i / 7.0, 0, w / 7.0 + 1, h * 0.75);
    cairo_fill(cr);
  }
  for (int i = 0; i < 6; ++i) {
    const double v = i / 5.0;
    cairo_set_source_rgb(cr, v, v, v);
    cairo_rectangle(cr, w * i / 6.0, h * 0.75, w / 6.0 + 1, h * 0.25);
    cairo_fill(cr);
  }
}

void paintLogo(cairo_t* cr, int w, int h) {
  const double r = std::min(w, h) / 2.0;
  cairo_arc(cr, w / 2.0, h / 2.0, r * 0.95, 0, 2 * std::numbers::pi);
  cairo_set_source_rgba(cr, 0.10, 0.45, 0.95, 0.9);
  cairo_fill_preserve(cr);
  cairo_set_line_width(cr, r * 0.08);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_stroke(cr);
  cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
  cairo_set_font_size(cr, r * 0.9);
  cairo_text_extents_t extents;
  cairo_text_extents(cr, "T", &extents);
  cairo_move_to(cr, w / 2.0 - extents.width / 2 - extents.x_bearing, h / 2.0 - extents.height / 2 - extents.y_bearing);
  cairo_show_text(cr, "T");
}

void paintPlate(cairo_t* cr, int w, int h) {
  cairo_pattern_t* gradient = cairo_pattern_create_linear(0, 0, w, 0);
  cairo_pattern_add_color_stop_rgba(gradient, 0, 0.05, 0.10, 0.30, 0.92);
  cairo_pattern_add_color_stop_rgba(gradient, 1, 0.05, 0.10, 0.30, 0.0);
  cairo_rectangle(cr, 0, 0, w, h);
  cairo_set_source(cr, gradient);
  cairo_fill(cr);
  cairo_pattern_destroy(gradient);
  cairo_set_source_rgb(cr, 1.0, 0.75, 0.1);
  cairo_rectangle(cr, 0, 0, w * 0.012, h);
  cairo_fill(cr);
  cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
  cairo_set_font_size(cr, h * 0.38);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_move_to(cr, w * 0.04, h * 0.62);
  cairo_show_text(cr, "Tavorin demo show");
}

// An opaque plate of diagonal stripes, wide enough to hide the whole picture.
void paintSweepPlate(cairo_t* cr, int w, int h) {
  cairo_set_source_rgb(cr, 0.06, 0.12, 0.35);
  cairo_paint(cr);
  cairo_set_source_rgb(cr, 1.0, 0.62, 0.05);
  const double stripe = w / 10.0;
  for (double x = -h; x < w + h; x += 2.5 * stripe) {
    cairo_move_to(cr, x, h);
    cairo_line_to(cr, x + h * 0.6, 0);
    cairo_line_to(cr, x + h * 0.6 + stripe, 0);
    cairo_line_to(cr, x + stripe, h);
    cairo_close_path(cr);
  }
  cairo_fill(cr);
}

LayerState layer(const std::string& sourceID, Point center, Size size, LayerAnimation::Kind motion = LayerAnimation::Kind::none) {
  LayerState state = LayerState::make(sourceID);
  state.center = center;
  state.size = size;
  state.animation.kind = motion;
  return state;
}

}  // namespace

DemoShow::DemoShow(AppModel& model, double takeEvery) : model_(model) {
  addSources();
  addScenes();
  addTransition();
  addCue();
  addTone();
  // Open on the first scene, with the second waiting in Preview.
  for (const MixerScene& scene : model_.layoutStore.layouts.get()) {
    if (scene.id == scenes_[0]) model_.loadLayout(scene);
  }
  model_.cut(model_.switcher);
  timer_ = model_.queue().every(takeEvery, [this] { takeNext(); });
  char line[96];
  std::snprintf(line, sizeof line, "Demo show: a take every %.1f s through the built-in transitions", takeEvery);
  model_.appendLog(line);
}

void DemoShow::addSources() {
  const auto images = model_.showFolder().library(ShowFolder::Library::images);
  std::error_code ignored;
  std::filesystem::create_directories(images, ignored);
  struct Picture {
    std::string id, name, file;
    int width, height;
    Painter paint;
  };
  const Picture pictures[] = {{kBarsID, "Colour bars", "Demo Colour Bars.png", 1920, 1080, paintBars},
                              {kLogoID, "Logo", "Demo Logo.png", 512, 512, paintLogo},
                              {kPlateID, "Lower third", "Demo Lower Third.png", 1200, 200, paintPlate},
                              {kSweepPlateID, "Sweep plate", "Demo Sweep Plate.png", 1280, 720, paintSweepPlate}};
  std::vector<SavedSource> saved;
  for (const Picture& p : pictures) {
    const auto path = images / p.file;
    if (!paintPNG(path, p.width, p.height, p.paint)) {
      model_.appendLog("Demo show: could not write " + path.string());
      continue;
    }
    SavedSource entry;
    entry.id = p.id;
    entry.kind = SavedSource::Kind::image;
    entry.name = p.name;
    entry.filePath = path.string();
    saved.push_back(entry);
  }
  SavedSource black;
  black.id = kBlackID;
  black.kind = SavedSource::Kind::black;
  black.name = "Black";
  saved.push_back(black);
  for (const SavedSource& entry : saved) {
    model_.sourcesStore.upsert(entry);
    if (model_.sourceLifecycle.find(entry.id)) continue;
    if (auto source = model_.sourceFactory.make(entry)) model_.addSource(std::move(source));
  }
}

void DemoShow::addScenes() {
  using Motion = LayerAnimation::Kind;
  struct Design {
    std::string name;
    std::vector<LayerState> layers;
  };
  std::vector<Design> designs;
  designs.push_back({"Demo: Bars", {layer(kBarsID, {0.5, 0.5}, {1, 1}),
                                    layer(kLogoID, {0.88, 0.16}, {0.14, 0.14}, Motion::rotateCW),
                                    layer(kPlateID, {0.34, 0.84}, {0.6, 0.12})}});
  designs.push_back({"Demo: Logo", {layer(kBlackID, {0.5, 0.5}, {1, 1}),
                                    layer(kLogoID, {0.5, 0.45}, {0.35, 0.35}, Motion::fade),
                                    layer(kPlateID, {0.34, 0.84}, {0.6, 0.12}, Motion::jitter)}});
  designs.push_back({"Demo: Picture in picture", {layer(kBlackID, {0.5, 0.5}, {1, 1}),
                                                  layer(kBarsID, {0.7, 0.42}, {0.5, 0.5}, Motion::jitter),
                                                  layer(kLogoID, {0.2, 0.3}, {0.2, 0.2}, Motion::rotateCCW)}});
  for (std::size_t i = 0; i < designs.size(); ++i) {
    auto& layers = designs[i].layers;
    for (std::size_t z = 0; z < layers.size(); ++z) layers[z].zOrder = static_cast<int>(z);
  }
  for (const Design& design : designs) {
    std::optional<Uuid> found;
    for (const MixerScene& scene : model_.layoutStore.layouts.get()) {
      if (scene.name == design.name) found = scene.id;
    }
    if (!found) {
      MixerScene scene;
      scene.layers = design.layers;
      found = model_.layoutStore.add(scene, design.name);
    }
    scenes_.push_back(*found);
  }
}

void DemoShow::addTone() {
  auto channel = model_.audioMixer.addSourceChannel("tone:demo", "Demo tone", "waveform", false, std::nullopt);
  tone_ = std::make_unique<ToneGenerator>(channel, 440.0, 0.1f);
  if (!model_.audioMixer.programOutput.get()) {
    if (auto output = model_.defaultAudioOutput()) {
      model_.audioMixer.setProgramOutput(output);
      model_.appendLog("Demo show: Program audio on " + output->name);
    }
  }
}

// A plate that sweeps in from the right, covers the whole picture at the cut
// and leaves to the left.
void DemoShow::addTransition() {
  CustomTransition sweep;
  sweep.id = kSweepID;
  sweep.name = "Demo sweep";
  sweep.duration = 1.2;
  sweep.cutPoint = 0.5;
  TransitionTrack track;
  track.id = *Uuid::parse("4E1C6A52-7B0A-4C0E-9E55-2B7D0C5A1B11");
  track.sourceID = kSweepPlateID;
  LayerState plate = LayerState::make(kSweepPlateID);
  plate.size = {1.3, 1.0};
  plate.fill = true;
  for (auto [time, x] : {std::pair{0.0, 1.7}, std::pair{0.5, 0.5}, std::pair{1.0, -0.7}}) {
    plate.center = {x, 0.5};
    track.keyframes.push_back({time, plate});
  }
  sweep.tracks = {track};
  if (model_.transitionStore.find(kSweepID) != sweep) model_.transitionStore.upsert(sweep);
}

void DemoShow::takeNext() {
  const Uuid id = scenes_[nextScene_ % scenes_.size()];
  for (const MixerScene& scene : model_.layoutStore.layouts.get()) {
    if (scene.id == id) model_.loadLayout(scene);
  }
  const std::optional<TransitionKind> kind = kTransitions[nextTransition_ % kTransitions.size()];
  if (kind) {
    model_.take(model_.switcher, kind);
    model_.appendLog("Demo show: take with " + std::string(enumName(*kind)));
  } else {
    model_.pendingTakeTransition = kSweepID;
    model_.take(model_.switcher);
    model_.appendLog("Demo show: take with the custom transition \"Demo sweep\"");
  }
  // Every other take, the lower third is shot over Program and hides by itself.
  if (nextScene_ % 2 == 1) model_.fireGraphics.fire(kCueID);
  // Once, the takes so far are saved as a replay, and two takes later it plays over Program.
  if (nextScene_ == 2) model_.saveReplay();
  if (nextScene_ == 4) model_.playReplay();
  ++nextScene_;
  ++nextTransition_;
}

// The logo as a cue: it slides in at the bottom right, stays three seconds and fades.
void DemoShow::addCue() {
  FireGraphic cue;
  cue.id = kCueID;
  cue.name = "Demo logo cue";
  cue.sourceID = kLogoID;
  cue.center = {0.9, 0.8};
  cue.size = {0.12, 0.12 * 16 / 9};
  cue.durationSeconds = 3;
  cue.enterMove = LayerAnimation::Move::slideRight;
  cue.exitMove = LayerAnimation::Move::fade;
  if (model_.fireGraphics.store.find(kCueID) != cue) model_.fireGraphics.store.upsert(cue);
}

}  // namespace tavorin
