#pragma once

#include <cstddef>

namespace tavorin::testing {

// Counts the calls of the global operator new made on this thread while an
// instance lives. The audio test binaries that compile AllocationCounter.cpp
// replace the global operator new for this.
class AllocationCounter {
 public:
  AllocationCounter();
  ~AllocationCounter();
  AllocationCounter(const AllocationCounter&) = delete;
  AllocationCounter& operator=(const AllocationCounter&) = delete;
  std::size_t count() const;
};

}  // namespace tavorin::testing
