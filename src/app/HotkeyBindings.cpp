#include "app/AppModel.h"

namespace tavorin {

void AppModel::rebuildHotkeys() {}

}  // namespace tavorin
