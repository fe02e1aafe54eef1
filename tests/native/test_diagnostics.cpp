#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "korvel/diagnostics.h"

namespace fs = std::filesystem;

namespace {

// Runs each test in a fresh working directory, since the helpers write there.
class Diagnostics : public ::testing::Test {
 protected:
  void SetUp() override {
    old_ = fs::current_path();
    dir_ = fs::temp_directory_path() / ("korvel-diag-" + std::to_string(getpid()));
    fs::create_directories(dir_);
    fs::current_path(dir_);
    fs::remove("debug.log");
    fs::remove("logfile.txt");
  }
  void TearDown() override {
    fs::current_path(old_);
    fs::remove_all(dir_);
  }
  static std::string slurp(const char* name) {
    std::ifstream f(name, std::ios::binary);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
  }
  fs::path old_, dir_;
};

}  // namespace

TEST_F(Diagnostics, DumpAppendsWithoutNewline) {
  korvel::dump("a");
  korvel::dump("a");
  EXPECT_EQ(slurp("logfile.txt"), "aa");
}

TEST_F(Diagnostics, DebugLogAppendsPrefixedLines) {
  korvel::debug_log("x");
  korvel::debug_log("y z");
  EXPECT_EQ(slurp("debug.log"), "korvel: x\nkorvel: y z\n");
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
