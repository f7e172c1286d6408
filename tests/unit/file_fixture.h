// Files written and read by the file layer alone.
#pragma once

#include "OPT5/node.h"
#include "TYPES/type_pkg.h"
#include "ifile/i_file.h"
#include "tests/unit/idle_client.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <string>

using FILE_PTR = std::unique_ptr<I_FILE>;

// A file of its own for the test that runs.
inline std::string test_path() {
  const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
  return testing::TempDir() + test->test_suite_name() + "_" + test->name();
}

inline std::string contents(const std::string& path) {
  FILE* fp = fopen(path.c_str(), "rb");
  std::string s;
  for (int c; (c = getc(fp)) != EOF;)
    s += static_cast<char>(c);
  fclose(fp);
  return s;
}
