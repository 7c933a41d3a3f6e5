#include "model/SFXItemJson.h"

#include "model/JsonDecoding.h"

namespace tavorin {

using json = Json;
using namespace json_decoding;

void to_json(json& j, const SFXItem& v) {
  j = json{{"id", v.id},
           {"name", v.name},
           {"fileName", v.fileName},
           {"builtin", v.builtin},
           {"category", enumName(v.category)}};
}

void from_json(const json& j, SFXItem& v) {
  expectObject(j, "sound effect");
  v = SFXItem{};
  requiredKey(j, "id", v.id);
  requiredKey(j, "name", v.name);
  requiredKey(j, "fileName", v.fileName);
  requiredKey(j, "builtin", v.builtin);
  requiredKey(j, "category", v.category);
}

}  // namespace tavorin
