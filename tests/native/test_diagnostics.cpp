#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "korvel/diagnostics.h"

// In a fresh working directory, since the helpers write there: the logs
// append (debug.log in prefixed lines), the crasher notes and exits cleanly,
// a log that cannot be opened (here a directory of that name) loses the
// note, and debug writes its text as it is.
TEST(Diagnostics, LogsAppendAndDebugWritesTextAsIs) {
  const auto slurp = [](const char* name) {
    return (std::stringstream() << std::ifstream(name, std::ios::binary).rdbuf()).str();
  };
  char dir[] = "/tmp/korvel-diag-XXXXXX";
  ASSERT_EQ(chdir(mkdtemp(dir)), 0);
  korvel::dump("a");
  korvel::dump("a");
  korvel::debug_log("x");
  korvel::debug_log("y z");
  EXPECT_EXIT(korvel::crasher(nullptr), ::testing::ExitedWithCode(0), "");
  EXPECT_EQ(slurp("logfile.txt"), "aacrasher called.\n");
  EXPECT_EQ(slurp("debug.log"), "korvel: x\nkorvel: y z\n");
  for (const char* name : {"logfile.txt", "debug.log"}) {
    std::filesystem::remove(name);
    std::filesystem::create_directory(name);
  }
  korvel::dump("lost");
  korvel::debug_log("lost");
  testing::internal::CaptureStdout();
  EXPECT_EQ(korvel::debug("plain %d text"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "plain %d text");
  std::filesystem::remove_all(dir);
}
