#include "engine/message_units.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "engine/heclib_abi.h"
#include "engine/options.h"

namespace varnock::engine {
namespace {

namespace fs = std::filesystem;

class UnitsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "varnock-units-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
  }
  void TearDown() override {
    for (int32_t unit = kMinUnit; unit <= kMaxUnit; ++unit)
      CloseUnit(unit);
    ResetOptions();
    fs::remove_all(dir_);
  }

  std::string PathOf(const char* name) const { return (dir_ / name).string(); }

  static int32_t Open(const std::string& name, int32_t unit) {
    return FORTRANOPEN_(name.data(), static_cast<int32_t>(name.size()), &unit);
  }
  static std::string Content(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
  }
  static void Write(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
  }

  fs::path dir_;
};

TEST_F(UnitsTest, MessagesFollowLevelAndUnit) {
  const std::string path = PathOf("messages.txt");
  ASSERT_EQ(Open(path + "     ", 6), 0);  // trailing blanks ignored
  ASSERT_TRUE(fs::exists(path));
  EmitMessage(1, "error line");
  EmitMessage(4, "read notice");
  EmitMessage(5, "debug line");  // above the default level 4
  EXPECT_EQ(Content(path), "error line\nread notice\n");

  SetOption("MLEV", "", 1);
  EXPECT_FALSE(MessageWanted(2));
  EmitMessage(2, "warning");
  SetOption("MUNI", "", 13);  // nothing connected there: dropped
  SetOption("MLEV", "", 15);
  EmitMessage(1, "elsewhere");
  SetOption("MUNI", "", 6);
  EXPECT_EQ(Content(path), "error line\nread notice\n");

  closedssoutput_();
  EXPECT_FALSE(UnitConnected(6));
  EmitMessage(1, "after close");
  EXPECT_EQ(Content(path), "error line\nread notice\n");
  // The file is free again: it can be deleted and reopened.
  ASSERT_EQ(Open(path, 6), 0);
}

TEST_F(UnitsTest, ExistingFileIsCutOnlyAtTheFirstWrite) {
  const std::string path = PathOf("old.txt");
  Write(path, "old content that is long\n");
  ASSERT_EQ(Open(path, 13), 0);
  EXPECT_EQ(Content(path), "old content that is long\n");
  ASSERT_EQ(WriteUnitLine(13, "new"), 0);
  ASSERT_EQ(WriteUnitLine(13, "more"), 0);
  EXPECT_EQ(Content(path), "new\nmore\n");
  // Opening the unit's own file again keeps the connection and its position.
  ASSERT_EQ(Open(path, 13), 0);
  ASSERT_EQ(WriteUnitLine(13, "last"), 0);
  EXPECT_EQ(Content(path), "new\nmore\nlast\n");
}

TEST_F(UnitsTest, LockedFileIsRefusedAndTheUnitKept) {
  const std::string first = PathOf("first.txt");
  const std::string locked = PathOf("locked.txt");
  ASSERT_EQ(Open(first, 6), 0);

  const int fd = open(locked.c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_GE(fd, 0);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  ASSERT_EQ(fcntl(fd, F_OFD_SETLK, &lock), 0);
  EXPECT_NE(Open(locked, 6), 0);
  close(fd);

  // Unit 6 still writes to its first file; a second unit cannot share that file either.
  EmitMessage(1, "still here");
  EXPECT_EQ(Content(first), "still here\n");
  EXPECT_NE(Open(first, 7), 0);
  EXPECT_FALSE(UnitConnected(7));

  // Switching unit 6 over releases its old file.
  ASSERT_EQ(Open(locked, 6), 0);
  EXPECT_EQ(Open(first, 7), 0);
}

TEST_F(UnitsTest, BadUnitsAndNames) {
  const std::string path = PathOf("x.txt");
  for (int32_t unit : {0, -1, 200, INT32_MIN}) {
    EXPECT_NE(Open(path, unit), 0) << unit;
    EXPECT_NE(FORTRANCLOSE_(&unit), 0) << unit;
  }
  EXPECT_NE(Open("", 6), 0);
  EXPECT_NE(Open("    ", 6), 0);
  EXPECT_NE(Open(std::string("a\0b", 3), 6), 0);
  EXPECT_NE(Open(PathOf("missing-dir/x.txt"), 6), 0);
  EXPECT_NE(Open(dir_.string(), 6), 0);  // a directory
  EXPECT_NE(FORTRANOPEN_(path.data(), static_cast<int32_t>(path.size()), nullptr), 0);
  EXPECT_FALSE(UnitConnected(6));
  const int32_t unconnected = 42;
  EXPECT_EQ(FORTRANCLOSE_(&unconnected), 0);
  EXPECT_NE(WriteUnitLine(42, "x"), 0);
}

}  // namespace
}  // namespace varnock::engine
