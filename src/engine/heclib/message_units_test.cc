#include "engine/heclib/message_units.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "engine/heclib/heclib_abi.h"
#include "engine/heclib/options.h"

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
    std::ostringstream all;
    all << std::ifstream(path, std::ios::binary).rdbuf();
    return all.str();
  }
  fs::path dir_;
};

TEST_F(UnitsTest, MessagesFollowLevelAndUnit) {
  const std::string path = PathOf("messages.txt");
  ASSERT_EQ(Open(path + "     ", 6), 0);  // trailing blanks ignored; the file is created
  EmitMessage(1, "error line");
  EmitMessage(4, "read notice");
  EmitMessage(5, "debug line");  // above the default level 4
  SetOption("MUNI", "", 13);     // nothing connected there: dropped
  EmitMessage(1, "elsewhere");
  SetOption("MUNI", "", 6);
  SetOption("MLEV", "", 1);
  EXPECT_FALSE(MessageWanted(2));
  EmitMessage(2, "warning");
  EXPECT_EQ(Content(path), "error line\nread notice\n");

  closedssoutput_();
  EXPECT_FALSE(UnitConnected(6));
  EmitMessage(1, "after close");
  EXPECT_EQ(Content(path), "error line\nread notice\n");
  EXPECT_EQ(Open(path, 6), 0);  // the lock went with the close
}

TEST_F(UnitsTest, ExistingFileIsCutOnlyAtTheFirstWrite) {
  const std::string path = PathOf("old.txt");
  std::ofstream(path) << "old content that is long\n";
  ASSERT_EQ(Open(path, 13), 0);
  EXPECT_EQ(Content(path), "old content that is long\n");
  ASSERT_EQ(WriteUnitLine(13, "new"), 0);
  ASSERT_EQ(Open(path, 13), 0);  // its own file again: connection and position kept
  ASSERT_EQ(WriteUnitLine(13, "more"), 0);
  EXPECT_EQ(Content(path), "new\nmore\n");
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

  EmitMessage(1, "still here");
  EXPECT_EQ(Content(first), "still here\n");
  EXPECT_NE(Open(first, 7), 0);  // two units never share a file
  EXPECT_FALSE(UnitConnected(7));
  ASSERT_EQ(Open(locked, 6), 0);  // switching unit 6 over frees its old file
  EXPECT_EQ(Open(first, 7), 0);
}

TEST_F(UnitsTest, BadUnitsAndNames) {
  for (int32_t unit : {0, -1, 200, INT32_MIN}) {
    EXPECT_NE(Open(PathOf("x.txt"), unit), 0) << unit;
    EXPECT_NE(FORTRANCLOSE_(&unit), 0) << unit;
  }
  for (const std::string& name : {std::string(), std::string("   "), std::string("a\0b", 3),
                                  PathOf("missing/x.txt"), dir_.string()}) {
    EXPECT_NE(Open(name, 6), 0) << name;
  }
  EXPECT_FALSE(UnitConnected(6));
  const int32_t unconnected = 42;
  EXPECT_EQ(FORTRANCLOSE_(&unconnected), 0);
  EXPECT_NE(WriteUnitLine(42, "x"), 0);
}

}  // namespace
}  // namespace varnock::engine
