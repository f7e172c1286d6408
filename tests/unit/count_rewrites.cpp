// With VRX_COUNTERS=FILE in the environment the unit tests count what they make rewrites do, and
// leave the totals in the file (see tests/counters/run).
#include "OPT5/counters.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

class COUNTED_RUN : public ::testing::Environment {
  void SetUp() override { pass_enable_counters = getenv("VRX_COUNTERS") != nullptr; }
  void TearDown() override {
    const char* path = getenv("VRX_COUNTERS");
    FILE* to = path ? fopen(path, "w") : nullptr;
    if (!to) return;
    print_counters_as_json(to);
    fclose(to);
  }
};

const auto* const counted_run = ::testing::AddGlobalTestEnvironment(new COUNTED_RUN);

} // namespace
