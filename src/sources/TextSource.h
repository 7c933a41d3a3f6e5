#pragma once

#include <string>
#include <utility>

#include "model/TextConfig.h"
#include "sources/GeneratedStill.h"
#include "sources/TextPainter.h"

namespace tavorin {

// A title: text set in a font, colour and alignment, optionally on a panel.
// Its picture has the size of the text plus padding and follows every edit.
class TextSource final : public GeneratedStill<TextConfig, TextPainter> {
 public:
  TextSource(std::string id, std::string displayName, TextConfig design = {})
      : GeneratedStill(std::move(id), std::move(displayName), std::move(design), "Tavorin.Text") {}
};

}  // namespace tavorin
