#include "platform/text/Graphemes.h"

#include <pango/pango.h>

#include <vector>

namespace tavorin {

std::string leadingCharacters(std::string_view text, std::size_t count) {
  if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) return {};
  const glong characters = g_utf8_strlen(text.data(), static_cast<gssize>(text.size()));
  std::vector<PangoLogAttr> attrs(static_cast<std::size_t>(characters) + 1);
  pango_get_log_attrs(text.data(), static_cast<int>(text.size()), -1, pango_language_get_default(), attrs.data(),
                      static_cast<int>(attrs.size()));
  // A cursor position is a boundary between user-perceived characters.
  std::size_t seen = 0;
  for (glong i = 1; i <= characters; ++i) {
    if (!attrs[static_cast<std::size_t>(i)].is_cursor_position) continue;
    if (++seen == count) {
      const char* end = g_utf8_offset_to_pointer(text.data(), i);
      return std::string(text.data(), static_cast<std::size_t>(end - text.data()));
    }
  }
  return std::string(text);
}

}  // namespace tavorin
