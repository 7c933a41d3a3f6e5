#include "model/TextConfigJson.h"

#include "model/JsonDecoding.h"
#include "model/ShapeConfigJson.h"

namespace tavorin {

using json = Json;
using namespace json_decoding;

void to_json(json& j, const TextConfig& v) {
  j = json{{"text", v.text},
           {"fontName", v.fontName},
           {"fontSize", v.fontSize},
           {"bold", v.bold},
           {"italic", v.italic},
           {"color", v.color},
           {"alignment", enumName(v.alignment)},
           {"backgroundEnabled", v.backgroundEnabled},
           {"background", v.background},
           {"cornerRadius", v.cornerRadius},
           {"padding", v.padding}};
}

void from_json(const json& j, TextConfig& v) {
  expectObject(j, "text config");
  requiredKey(j, "text", v.text);
  requiredKey(j, "fontName", v.fontName);
  requiredKey(j, "fontSize", v.fontSize);
  requiredKey(j, "bold", v.bold);
  requiredKey(j, "italic", v.italic);
  requiredKey(j, "color", v.color);
  requiredKey(j, "alignment", v.alignment);
  requiredKey(j, "backgroundEnabled", v.backgroundEnabled);
  requiredKey(j, "background", v.background);
  requiredKey(j, "cornerRadius", v.cornerRadius);
  requiredKey(j, "padding", v.padding);
}

TextConfig textConfigOrDefaults(const std::optional<Json>& saved) {
  if (!saved) return {};
  try {
    TextConfig config;
    from_json(*saved, config);
    return config;
  } catch (const ModelDecodeError&) {
    return {};
  }
}

}  // namespace tavorin
