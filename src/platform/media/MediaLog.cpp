#include "platform/media/MediaLog.h"

extern "C" {
#include <libavutil/log.h>
}

namespace tavorin {

void keepMediaLogToErrors() { av_log_set_level(AV_LOG_ERROR); }

}  // namespace tavorin
