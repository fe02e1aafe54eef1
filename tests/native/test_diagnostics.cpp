#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "korvel/diagnostics.h"

namespace fs = std::filesystem;

namespace {

std::string slurp(const char* name) {
  std::stringstream ss;
  ss << std::ifstream(name, std::ios::binary).rdbuf();
  return ss.str();
}

}  // namespace

// In a fresh working directory, since the helpers write there: the logs
// append (debug.log in prefixed lines), the crasher notes and exits cleanly,
// a log that cannot be opened (here a directory of that name) loses the
// note, and debug writes its text as it is.
TEST(Diagnostics, LogsAppendAndDebugWritesTextAsIs) {
  const fs::path old = fs::current_path();
  const fs::path dir = fs::temp_directory_path() / ("korvel-diag-" + std::to_string(getpid()));
  fs::remove_all(dir);
  fs::create_directories(dir);
  fs::current_path(dir);
  korvel::dump("a");
  korvel::dump("a");
  korvel::debug_log("x");
  korvel::debug_log("y z");
  EXPECT_EXIT(korvel::crasher(nullptr), ::testing::ExitedWithCode(0), "");
  EXPECT_EQ(slurp("logfile.txt"), "aacrasher called.\n");
  EXPECT_EQ(slurp("debug.log"), "korvel: x\nkorvel: y z\n");
  for (const char* name : {"logfile.txt", "debug.log"}) {
    fs::remove(name);
    fs::create_directory(name);
  }
  korvel::dump("lost");
  korvel::debug_log("lost");
  testing::internal::CaptureStdout();
  EXPECT_EQ(korvel::debug("plain %d text"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "plain %d text");
  fs::current_path(old);
  fs::remove_all(dir);
}
