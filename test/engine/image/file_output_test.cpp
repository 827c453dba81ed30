// Writing files whole or not at all.
#include "engine/image/file_output.h"

#include <sys/resource.h>

#include <csignal>
#include <fstream>
#include <iterator>

#include "test/engine/image/file_builders.h"
#include "test/engine/image/test_image.h"

namespace kiln::engine::image {
namespace {

namespace fs = std::filesystem;

std::string Content(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(WriteFileWhole, WritesAndReplaces) {
  const ScratchDirectory scratch;
  EXPECT_TRUE(WriteFileWhole(scratch / "a", FromText("one")));
  EXPECT_TRUE(WriteFileWhole(scratch / "a", FromText("two")));
  EXPECT_EQ(Content(scratch / "a"), "two");
  EXPECT_EQ(scratch.Count(), 1u);
}

TEST(WriteFileWhole, FollowsALinkAndKeepsTheMode) {
  const ScratchDirectory scratch;
  ASSERT_TRUE(WriteFileWhole(scratch / "a", FromText("one")));
  fs::permissions(scratch / "a", fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink(scratch / "a", scratch / "link");
  EXPECT_TRUE(WriteFileWhole(scratch / "link", FromText("two")));
  EXPECT_TRUE(fs::is_symlink(scratch / "link"));
  EXPECT_EQ(Content(scratch / "a"), "two");
  EXPECT_EQ(fs::status(scratch / "a").permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST(WriteFileWhole, BadTargetsLeaveNothing) {
  const ScratchDirectory scratch;
  std::string error;
  EXPECT_FALSE(WriteFileWhole(scratch / "none/a", FromText("x"), &error));
  EXPECT_NE(error.find("cannot be written"), std::string::npos);
  EXPECT_FALSE(WriteFileWhole(scratch.path(), FromText("x"), &error));
  EXPECT_NE(error.find("it is a directory"), std::string::npos);
  EXPECT_FALSE(WriteFileWhole({}, FromText("x"), &error));
  EXPECT_FALSE(WriteFileWhole(scratch / std::string(300, 'n'), FromText("x"), &error));
  EXPECT_EQ(scratch.Count(), 0u);
}

TEST(WriteFileWhole, FullDiskLeavesTheOldFile) {
  const ScratchDirectory scratch;
  ASSERT_TRUE(WriteFileWhole(scratch / "a", FromText("old")));
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  auto* handler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit small = before;
  small.rlim_cur = 1000;
  setrlimit(RLIMIT_FSIZE, &small);
  const bool written = WriteFileWhole(scratch / "a", Bytes(100000));
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_FALSE(written);
  EXPECT_EQ(Content(scratch / "a"), "old");
  EXPECT_EQ(scratch.Count(), 1u);
}

TEST(WriteFileWhole, DeviceIsWrittenDirectly) {
  if (!fs::exists("/dev/null")) GTEST_SKIP();
  EXPECT_TRUE(WriteFileWhole("/dev/null", FromText("x")));
  EXPECT_FALSE(fs::is_regular_file("/dev/null"));
}

}  // namespace
}  // namespace kiln::engine::image
