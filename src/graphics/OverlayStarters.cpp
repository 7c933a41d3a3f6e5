#include "graphics/OverlayStarters.h"

#include <cstdint>

#include "model/OverlayJson.h"

namespace tavorin {

extern const char* const kStarterDocument_starting_soon;
extern const char* const kStarterDocument_brb;
extern const char* const kStarterDocument_cam_frame;
extern const char* const kStarterDocument_ticker;
extern const char* const kStarterDocument_end_card;
extern const char* const kStarterDocument_countdown;
extern const char* const kStarterDocument_lower_third;
extern const char* const kStarterDocument_spin_wheel;
extern const char* const kStarterDocument_dice_roll;

namespace {

using S = OverlayStarter;

const char* templateOf(OverlayStarter starter) {
  switch (starter) {
    case S::startingSoon: return kStarterDocument_starting_soon;
    case S::brb: return kStarterDocument_brb;
    case S::camFrame: return kStarterDocument_cam_frame;
    case S::ticker: return kStarterDocument_ticker;
    case S::endCard: return kStarterDocument_end_card;
    case S::countdown: return kStarterDocument_countdown;
    case S::lowerThird: return kStarterDocument_lower_third;
    case S::spinWheel: return kStarterDocument_spin_wheel;
    case S::diceRoll: return kStarterDocument_dice_roll;
  }
  return "";
}

std::string htmlEscaped(std::string_view text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out.push_back(c);
    }
  }
  return out;
}

void replaceAll(std::string& text, std::string_view placeholder, std::string_view value) {
  for (std::size_t at = text.find(placeholder); at != std::string::npos; at = text.find(placeholder, at + value.size())) {
    text.replace(at, placeholder.size(), value);
  }
}

}  // namespace

const std::vector<OverlayStarterInfo>& overlayStarters() {
  static const std::vector<OverlayStarterInfo> starters{
      {S::startingSoon, "Starting Soon (animated)", "Starting Soon",
       {{"title", "Title", "text", "Stream Starting Soon"}}, {0.5, 0.5}, {1.0, 1.0}},
      {S::brb, "Be Right Back", "BRB", {{"title", "Title", "text", "Be Right Back"}}, {0.5, 0.5}, {1.0, 1.0}},
      {S::camFrame, "Camera Frame (neon)", "Camera Frame", {{"color", "Color", "text", "#f72585"}}, {0.5, 0.5},
       {1.0, 1.0}},
      {S::ticker, "Scrolling Ticker", "Ticker",
       {{"text", "Ticker text", "text", "Welcome to the stream — thanks for hanging out!"}}, {0.5, 0.94}, {1.0, 0.1}},
      {S::endCard, "End Card (thanks)", "End Card",
       {{"title", "Title", "text", "Thanks for Watching!"}, {"subtitle", "Subtitle", "text", "see you next stream"}},
       {0.5, 0.5}, {1.0, 1.0}},
      {S::countdown, "Countdown", "Countdown",
       {{"minutes", "Minutes", "number", "5"}, {"title", "Title", "text", "Starting Soon"}}, {0.5, 0.5}, {0.5, 0.5}},
      {S::lowerThird, "Lower Third", "Lower Third",
       {{"name", "Name", "text", "Your Name"}, {"subtitle", "Subtitle", "text", "Title / Role"}}, {0.24, 0.86},
       {0.42, 0.16}},
      {S::spinWheel, "Spin Wheel (game)", "Spin Wheel",
       {{"options", "Options (comma-separated)", "text", "Pizza,Tacos,Sushi,Burgers,Salad,Chef's choice"},
        {"duration", "Spin seconds", "number", "5"}},
       {0.5, 0.5}, {0.42, 0.74}},
      {S::diceRoll, "Dice Roll (game)", "Dice Roll", {{"count", "Number of dice", "number", "2"}}, {0.5, 0.5},
       {0.4, 0.5}},
  };
  return starters;
}

const OverlayStarterInfo& overlayStarterInfo(OverlayStarter starter) {
  return overlayStarters().at(static_cast<std::size_t>(starter));
}

std::string overlayStarField(int count) {
  std::uint64_t state = 0x9e3779b97f4a7c15ULL;
  auto step = [&state] {
    state = state * 0x5851f42d4c957f2dULL + 0x14057b7ef767814fULL;
    return state >> 33;
  };
  std::string stars;
  for (int i = 0; i < count; ++i) {
    std::uint64_t x = step() % 1920;
    std::uint64_t y = step() % 1080;
    if (i > 0) stars += ",";
    stars += std::to_string(x) + "px " + std::to_string(y) + "px #fff";
  }
  return stars;
}

std::string overlayStarterDocument(OverlayStarter starter) {
  const auto& info = overlayStarterInfo(starter);
  std::string document = templateOf(starter);
  // "</" would end the manifest's script element early; JSON reads "<\/" the same.
  std::string manifest = Json(info.params).dump(-1, ' ', false, Json::error_handler_t::replace);
  replaceAll(manifest, "</", "<\\/");
  replaceAll(document, "{{params}}", manifest);
  for (const auto& param : info.params) replaceAll(document, "{{" + param.key + "}}", htmlEscaped(param.defaultValue));
  replaceAll(document, "{{stars60}}", overlayStarField(60));
  replaceAll(document, "{{stars40}}", overlayStarField(40));
  return document;
}

}  // namespace tavorin
