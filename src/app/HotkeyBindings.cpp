#include "app/AppModel.h"

namespace tavorin {

void AppModel::rebuildHotkeys() {}
void AppModel::pressHotkeyInWindow(std::uint32_t, std::uint32_t) {}

}  // namespace tavorin
