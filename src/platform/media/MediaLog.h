#pragma once

namespace tavorin {

// FFmpeg's own progress chatter is no news for the operator; its errors are.
void keepMediaLogToErrors();

}  // namespace tavorin
