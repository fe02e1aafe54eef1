#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "korvel/diagnostics.h"

namespace {

std::string slurp(const char* name) {
  return (std::stringstream() << std::ifstream(name, std::ios::binary).rdbuf()).str();
}

// The helpers write into the working directory: each test runs in a fresh one.
struct FreshDirectory {
  char path[32] = "/tmp/korvel-diag-XXXXXX";
  FreshDirectory() { EXPECT_EQ(chdir(mkdtemp(path)), 0); }
  ~FreshDirectory() {
    EXPECT_EQ(chdir("/"), 0);
    std::filesystem::remove_all(path);
  }
};

}  // namespace

// The logs append (debug.log in prefixed lines), a log that cannot be opened
// (here a directory of that name) loses the note, and debug writes its text
// as it is.
TEST(Diagnostics, LogsAppendAndDebugWritesTextAsIs) {
  FreshDirectory fresh;
  korvel::dump("a");
  korvel::dump("a");
  korvel::debug_log("x");
  korvel::debug_log("y z");
  EXPECT_EQ(slurp("logfile.txt"), "aa");
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
}

// A death test of its own: emulators that cannot fork skip tests named Crasher.
TEST(Diagnostics, CrasherNotesAndExitsCleanly) {
  FreshDirectory fresh;
  korvel::dump("a");
  EXPECT_EXIT(korvel::crasher(nullptr), ::testing::ExitedWithCode(0), "");
  EXPECT_EQ(slurp("logfile.txt"), "acrasher called.\n");
}
