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

// Runs each test in a fresh working directory, since the helpers write there.
class Diagnostics : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(dir_);
    fs::create_directories(dir_);
    fs::current_path(dir_);
  }
  void TearDown() override {
    fs::current_path(old_);
    fs::remove_all(dir_);
  }
  fs::path old_ = fs::current_path();
  fs::path dir_ = fs::temp_directory_path() / ("korvel-diag-" + std::to_string(getpid()));
};

}  // namespace

// A log that cannot be opened (here a directory of that name) loses the note.
TEST_F(Diagnostics, DumpAppendsWithoutNewline) {
  korvel::dump("a");
  korvel::dump("a");
  EXPECT_EQ(slurp("logfile.txt"), "aa");
  fs::remove("logfile.txt");
  fs::create_directory("logfile.txt");
  korvel::dump("lost");
}

TEST_F(Diagnostics, DebugLogAppendsPrefixedLines) {
  korvel::debug_log("x");
  korvel::debug_log("y z");
  EXPECT_EQ(slurp("debug.log"), "korvel: x\nkorvel: y z\n");
  fs::remove("debug.log");
  fs::create_directory("debug.log");
  korvel::debug_log("lost");
}

TEST_F(Diagnostics, DebugWritesTextAsIs) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(korvel::debug("plain %d text"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "plain %d text");
}

TEST_F(Diagnostics, CrasherNotesAndExitsCleanly) {
  EXPECT_EXIT(korvel::crasher(nullptr), ::testing::ExitedWithCode(0), "");
  EXPECT_EQ(slurp("logfile.txt"), "crasher called.\n");
}
