#include "model/SavedSourceJson.h"

#include "model/JsonDecoding.h"

namespace tavorin {

using json = Json;
using namespace json_decoding;

namespace {

template <class T>
void putOptional(json& j, const char* key, const std::optional<T>& value) {
  if (value) j[key] = *value;
}

}  // namespace

void to_json(json& j, const SavedSource& v) {
  j = json::object();
  j["id"] = v.id;
  j["kind"] = enumName(v.kind);
  j["name"] = v.name;
  putOptional(j, "cameraUniqueID", v.cameraUniqueID);
  putOptional(j, "displayID", v.displayID);
  putOptional(j, "appBundleID", v.appBundleID);
  putOptional(j, "windowTitle", v.windowTitle);
  putOptional(j, "windowOwnerBundleID", v.windowOwnerBundleID);
  putOptional(j, "screenShareToken", v.screenShareToken);
  putOptional(j, "filePath", v.filePath);
  putOptional(j, "overlayConfig", v.overlayConfig);
  putOptional(j, "shapeConfig", v.shapeConfig);
  putOptional(j, "ndiName", v.ndiName);
  putOptional(j, "rtspURL", v.rtspURL);
  putOptional(j, "textConfig", v.textConfig);
  putOptional(j, "text3DConfig", v.text3DConfig);
  putOptional(j, "browserURL", v.browserURL);
  putOptional(j, "trimStart", v.trimStart);
  putOptional(j, "trimEnd", v.trimEnd);
}

void from_json(const json& j, SavedSource& v) {
  expectObject(j, "saved source");
  v = SavedSource{};
  requiredKey(j, "id", v.id);
  requiredKey(j, "kind", v.kind);
  requiredKey(j, "name", v.name);
  optionalKey(j, "cameraUniqueID", v.cameraUniqueID);
  optionalKey(j, "displayID", v.displayID);
  optionalKey(j, "appBundleID", v.appBundleID);
  optionalKey(j, "windowTitle", v.windowTitle);
  optionalKey(j, "windowOwnerBundleID", v.windowOwnerBundleID);
  optionalKey(j, "screenShareToken", v.screenShareToken);
  optionalKey(j, "filePath", v.filePath);
  optionalKey(j, "overlayConfig", v.overlayConfig);
  optionalKey(j, "shapeConfig", v.shapeConfig);
  optionalKey(j, "ndiName", v.ndiName);
  optionalKey(j, "rtspURL", v.rtspURL);
  optionalKey(j, "textConfig", v.textConfig);
  optionalKey(j, "text3DConfig", v.text3DConfig);
  optionalKey(j, "browserURL", v.browserURL);
  optionalKey(j, "trimStart", v.trimStart);
  optionalKey(j, "trimEnd", v.trimEnd);
}

}  // namespace tavorin
