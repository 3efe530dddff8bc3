// Test program entry: GoogleTest with the process locale left as "C" so that
// results do not depend on the machine's environment.
#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "C");
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
