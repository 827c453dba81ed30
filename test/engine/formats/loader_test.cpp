// Loading by file, text and buffer: what is chosen, and what is no scene.
#include "engine/formats/loader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "test/engine/scene/every_type.h"

namespace kiln::engine::formats {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kText = "[a]\nclass = \"TestOther\"\n";

class LoaderTest : public testing::Test {
 protected:
  void SetUp() override {
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = fs::temp_directory_path() / ("kiln_loader_" + std::to_string(getpid()) + "_" + info->name());
    fs::create_directories(folder_);
  }
  void TearDown() override { fs::remove_all(folder_); }

  fs::path File(const std::string& name, std::string_view content) const {
    const fs::path file = folder_ / name;
    std::ofstream(file, std::ios::binary) << content;
    return file;
  }
  LoadResult LoadBytes(std::string_view content) {
    return LoadBuffer(scene_, std::as_bytes(std::span(content.data(), content.size())));
  }

  fs::path folder_;
  scene::Scene scene_;
};

TEST_F(LoaderTest, ReadsASceneTextAndRemembersItsFolder) {
  const LoadResult result = LoadFile(scene_, File("a.toml", kText));
  ASSERT_TRUE(result.ok()) << result.text;
  ASSERT_EQ(scene_.Count(), 1U);
  EXPECT_EQ(*scene_.FindByName("a")->folder, folder_);
}

TEST_F(LoaderTest, ARelativeFileHasAnAbsoluteFolder) {
  File("a.toml", kText);
  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  const LoadResult result = LoadFile(scene_, "a.toml");
  fs::current_path(before);
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_TRUE(scene_.FindByName("a")->folder->is_absolute());
}

TEST_F(LoaderTest, ASceneTextUnderAnyNameIsRecognised) {
  for (const char* name : {"a", "a.scene", "a.txt"}) {
    scene_.Clear();
    EXPECT_TRUE(LoadFile(scene_, File(name, kText)).ok()) << name;
    EXPECT_EQ(scene_.Count(), 1U) << name;
  }
}

TEST_F(LoaderTest, WhatIsNoFileIsSaidSo) {
  EXPECT_EQ(LoadFile(scene_, folder_ / "none.toml").error, LoadError::kFileNotFound);
  EXPECT_EQ(LoadFile(scene_, "").error, LoadError::kFileNotFound);
  const LoadResult directory = LoadFile(scene_, folder_);
  EXPECT_EQ(directory.error, LoadError::kFileNotFound);
  EXPECT_NE(directory.text.find("is a directory"), std::string::npos);
  EXPECT_EQ(LoadFile(scene_, "/dev/zero").error, LoadError::kFileNotFound);
  EXPECT_EQ(LoadFile(scene_, File("empty.toml", "")).error, LoadError::kUnknownFormat);
  EXPECT_EQ(scene_.Count(), 0U);
}

TEST_F(LoaderTest, APipeIsRefusedAndNotWaitedFor) {
  const fs::path pipe = folder_ / "pipe.toml";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const LoadResult result = LoadFile(scene_, pipe);
  EXPECT_EQ(result.error, LoadError::kFileNotFound);
  EXPECT_NE(result.text.find("is no regular file"), std::string::npos);
}

TEST_F(LoaderTest, AFileBeyondAllReasonIsNotRead) {
  const fs::path file = File("huge.toml", "x");
  std::error_code error;
  fs::resize_file(file, uintmax_t{17} << 30, error);
  if (error) GTEST_SKIP() << "the file system has no sparse files";
  EXPECT_EQ(LoadFile(scene_, file).error, LoadError::kOutOfMemory);
}

TEST_F(LoaderTest, ErrorsInAFileNameTheFile) {
  const fs::path file = File("a.toml", "[a]\nclass = \"TestOther\"\nx = 1\n");
  const LoadResult result = LoadFile(scene_, file);
  EXPECT_EQ(result.error, LoadError::kParser);
  EXPECT_EQ(result.file, file.string());
  EXPECT_EQ(result.line, 3U);
  EXPECT_EQ(scene_.Count(), 0U);
}

TEST_F(LoaderTest, ErrorsInATextNameNoFile) {
  const LoadResult result = LoadText(scene_, "[a]\nclass = 5\n");
  EXPECT_EQ(result.error, LoadError::kParser);
  EXPECT_EQ(result.file, "");
  EXPECT_EQ(result.line, 2U);
}

TEST_F(LoaderTest, ATextHasTheBaseAsFolder) {
  ASSERT_TRUE(LoadText(scene_, kText, folder_).ok());
  EXPECT_EQ(*scene_.FindByName("a")->folder, folder_);
  ASSERT_TRUE(LoadText(scene_, kText).ok());
  EXPECT_EQ(*scene_.FindByName("a_2")->folder, fs::current_path());
  EXPECT_TRUE(LoadText(scene_, "").ok());
}

TEST_F(LoaderTest, BuffersAreRecognisedByContent) {
  EXPECT_TRUE(LoadBytes(kText).ok());
  EXPECT_TRUE(LoadBytes("\xEF\xBB\xBF# a comment\n\n  # another\n[b]\nclass = 'TestOther'\n").ok());
  EXPECT_TRUE(LoadBytes("c.class = 'TestOther'\n").ok());
  EXPECT_EQ(scene_.Count(), 3U);
  EXPECT_EQ(LoadBytes("").error, LoadError::kUnknownFormat);
  EXPECT_EQ(LoadBytes("neither one thing nor another").error, LoadError::kUnknownFormat);
  EXPECT_EQ(LoadBytes(std::string_view("\0\0\0\0\0\0\0\0", 8)).error, LoadError::kUnknownFormat);
  EXPECT_FALSE(LoadBytes("glTF").ok());
  EXPECT_FALSE(LoadBytes("{ \"asset\": 1 }").ok());
  EXPECT_EQ(scene_.Count(), 3U);
}

TEST_F(LoaderTest, AFilterIsAskedForEachInstance) {
  const scene::LoadFilter filter = [](std::string_view type,
                                      std::string_view name) -> std::optional<std::string> {
    EXPECT_EQ(type, "TestOther");
    if (name == "b") return {};
    return "renamed";
  };
  const std::string text = std::string(kText) + "[b]\nclass = \"TestOther\"\n";
  ASSERT_TRUE(LoadText(scene_, text, {}, filter).ok());
  EXPECT_EQ(scene_.Count(), 1U);
  EXPECT_NE(scene_.FindByName("renamed"), nullptr);
}

}  // namespace
}  // namespace kiln::engine::formats
