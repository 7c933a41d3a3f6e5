#pragma once

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace tavorin::testing {

// Points fontconfig at a fixed set of fonts (DejaVu, with Lohit for
// Devanagari; "sans-serif" is DejaVu Sans), so text metrics are the same on
// every machine. It must be set before the process first sets text: binaries
// that draw titles register it as a global test environment.
class PrivateFonts : public ::testing::Environment {
 public:
  void SetUp() override;

 private:
  TempDir folder_;
};

}  // namespace tavorin::testing
