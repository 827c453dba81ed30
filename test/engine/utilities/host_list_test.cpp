// Texts of hosts, and the lists that they make.
#include "engine/utilities/host_list.h"

#include <gtest/gtest.h>

namespace kiln::engine::test {
namespace {

TEST(HostList, AHostHasAName) {
  for (const char* host :
       {"a", "node-3.example.org", "10.0.0.1", "a:20204", "::1", "fe80::1", "[::1]", "[::1]:1"}) {
    EXPECT_TRUE(IsHostEntry(host)) << host;
  }
  for (const char* host : {"", "a b", ":80", "a:", "a:0", "a:65536", "a:x", "a:1x", "[]", "[::1", "[::1]x",
                           "[::1]:", "a;b", "a,b", "a\tb"}) {
    EXPECT_FALSE(IsHostEntry(host)) << host;
  }
}

TEST(HostList, AddsEachOnceAndAllOrNone) {
  HostList list;
  EXPECT_TRUE(list.Add("b; a:1,;b"));
  EXPECT_EQ(list.Text(), "b;a:1");
  EXPECT_FALSE(list.Add("c;d:x"));
  EXPECT_FALSE(list.Add(" ; , "));
  EXPECT_FALSE(list.Add(""));
  EXPECT_TRUE(list.Add("a:1;c"));
  EXPECT_EQ(list.Text(), "b;a:1;c");
}

TEST(HostList, RemovesAllOrNone) {
  HostList list;
  list.Add("a;b;c");
  EXPECT_FALSE(list.Remove("a;x"));
  EXPECT_FALSE(list.Remove(""));
  EXPECT_EQ(list.Text(), "a;b;c");
  EXPECT_TRUE(list.Remove("c,a"));
  EXPECT_EQ(list.Text(), "b");
}

TEST(HostList, ResetPutsOthersInPlace) {
  HostList list;
  list.Add("a;b");
  EXPECT_FALSE(list.Reset("c;:"));
  EXPECT_EQ(list.Text(), "a;b");
  EXPECT_TRUE(list.Reset("c;a;c"));
  EXPECT_EQ(list.Text(), "c;a");
  EXPECT_TRUE(list.Reset(""));
  EXPECT_EQ(list.Text(), "");
}

}  // namespace
}  // namespace kiln::engine::test
