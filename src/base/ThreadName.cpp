#include "base/ThreadName.h"

#include <pthread.h>

#include <algorithm>

namespace tavorin {

void nameThisThread(std::string_view name) {
  char cut[16] = {};
  name.copy(cut, std::min<std::size_t>(name.size(), sizeof cut - 1));
  pthread_setname_np(pthread_self(), cut);
}

}  // namespace tavorin
