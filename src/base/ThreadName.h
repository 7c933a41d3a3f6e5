#pragma once

#include <string_view>

namespace tavorin {

// Names the calling thread, so a debugger or profiler shows what it is.
// Linux keeps 15 characters; the rest is cut.
void nameThisThread(std::string_view name);

}  // namespace tavorin
