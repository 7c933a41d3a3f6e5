#pragma once

#include "model/Json.h"
#include "model/Overlay.h"

// JSON coding of the overlay library's "index.json" and of a document's
// manifest. Every key is required; readers throw ModelDecodeError otherwise.
namespace tavorin {

void to_json(Json& j, const OverlayItem& v);
void from_json(const Json& j, OverlayItem& v);
void to_json(Json& j, const OverlayParam& v);
void from_json(const Json& j, OverlayParam& v);

}  // namespace tavorin
