#pragma once

#include <QString>
#include <string_view>

namespace tavorin {

// The engine's UTF-8 text as Qt's.
inline QString qText(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

}  // namespace tavorin
