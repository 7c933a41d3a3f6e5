#include "model/OverlayManifest.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "model/JsonDecoding.h"
#include "model/OverlayJson.h"

namespace tavorin {

std::vector<OverlayParam> parseOverlayParams(std::string_view html) {
  std::size_t marker = html.find("id=\"tv-params\"");
  if (marker == std::string_view::npos) return {};
  std::size_t open = html.find('>', marker);
  if (open == std::string_view::npos) return {};
  std::size_t close = html.find("</script>", open);
  if (close == std::string_view::npos) return {};
  auto json = Json::parse(html.substr(open + 1, close - open - 1), nullptr, false);
  if (json.is_discarded() || !json.is_array()) return {};
  try {
    return json.get<std::vector<OverlayParam>>();
  } catch (const std::exception&) {
    return {};
  }
}

OverlayConfig effectiveOverlayConfig(const std::vector<OverlayParam>& params, const OverlayConfig& stored) {
  OverlayConfig config;
  for (const auto& param : params) config[param.key] = param.defaultValue;
  for (const auto& [key, value] : stored) config[key] = value;
  return config;
}

bool overlayBoolValue(std::string_view value) {
  if (value == "1") return true;
  if (value.size() != 4) return false;
  const char* word = "true";
  for (std::size_t i = 0; i < 4; ++i) {
    if (std::tolower(static_cast<unsigned char>(value[i])) != word[i]) return false;
  }
  return true;
}

namespace {

// The number as a whole decimal, or 0: "12px" and "abc" are not numbers.
double wholeNumber(std::string_view text) {
  double value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return 0;
  return value;
}

// Shortest text that reads back the same, always with a decimal point or an exponent.
std::string shortestNumber(double value) {
  char text[32];
  auto [end, error] = std::to_chars(text, text + sizeof text, value);
  std::string out(text, error == std::errc() ? end : text);
  if (out.find_first_of(".e") == std::string::npos) out += ".0";
  return out;
}

std::string escapedText(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  for (char c : text) {
    if (c == '\\' || c == '"') out.push_back('\\');
    out.push_back(c);
  }
  return out;
}

}  // namespace

std::optional<std::string> overlayConfigScript(const std::vector<OverlayParam>& params, const OverlayConfig& config) {
  if (params.empty()) return std::nullopt;
  std::string object;
  for (const auto& param : params) {
    auto found = config.find(param.key);
    const std::string& value = found != config.end() ? found->second : param.defaultValue;
    if (!object.empty()) object += ",";
    object += "\"" + param.key + "\":";
    if (param.type == "number") {
      object += shortestNumber(wholeNumber(value));
    } else if (param.type == "bool") {
      object += overlayBoolValue(value) ? "true" : "false";
    } else {
      object += "\"" + escapedText(value) + "\"";
    }
  }
  return "window.applyTavorinConfig && window.applyTavorinConfig({" + object + "});";
}

std::optional<OverlayPageSize> overlayPageSizeFor(double width, double height, OverlayPageSize current) {
  // Rounded half away from zero; the upper bound only keeps absurd layers out of int range.
  auto side = [](double points) { return int(std::clamp(std::round(points), 64.0, 16384.0)); };
  OverlayPageSize size{side(width), side(height)};
  if (std::abs(size.width - current.width) <= 1 && std::abs(size.height - current.height) <= 1) return std::nullopt;
  return size;
}

std::optional<std::string> normalizeWebAddress(std::string_view text) {
  auto space = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
  while (!text.empty() && space(text.front())) text.remove_prefix(1);
  while (!text.empty() && space(text.back())) text.remove_suffix(1);
  if (text.empty()) return std::nullopt;
  if (text.find("://") != std::string_view::npos) return std::string(text);
  return "https://" + std::string(text);
}

}  // namespace tavorin
