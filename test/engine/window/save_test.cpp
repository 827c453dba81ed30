// Saved files, read back with the codecs.
#include "engine/window/save.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <fstream>

#include "engine/image/codec.h"

namespace kiln::engine::window {
namespace {

namespace fs = std::filesystem;
using render::BinaryFormat;
using render::ElementType;
using testing::ElementsAre;

constexpr int kWidth = 5, kHeight = 3;
constexpr size_t kPixels = size_t{kWidth} * kHeight;

class SaveTest : public testing::Test {
 protected:
  SaveTest() : picture(image::Create(kWidth, kHeight)) {
    static std::atomic<int> counter = 0;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    folder =
        fs::temp_directory_path() / ("kiln-save-" + std::to_string(now) + "-" + std::to_string(counter++));
    fs::create_directories(folder);
    for (size_t i = 0; i < kPixels; ++i) {
      const float v = static_cast<float>(i) / kPixels;
      const float pixel[4] = {v, v / 2, 1 - v, 1};
      std::copy_n(pixel, 4, picture->pixels() + 4 * i);
    }
  }
  ~SaveTest() override { fs::remove_all(folder); }

  SaveStatus Save(const char* file, const SaveOptions& options, std::vector<SavedElement> elements = {}) {
    return window::Save(folder / file, *picture, std::move(elements), options, &error);
  }
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
      names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
  }
  std::vector<std::string> Channels(const char* file) const {
    const Imf::InputFile in((folder / file).c_str());
    std::vector<std::string> names;
    const char* const types[] = {"uint", "half", "float"};
    const Imf::ChannelList& list = in.header().channels();
    for (auto c = list.begin(); c != list.end(); ++c)
      names.push_back(std::string(c.name()) + " " + types[c.channel().type]);
    return names;
  }
  template <class T>
  std::vector<T> Read(const char* file, const char* channel, Imf::PixelType type) const {
    Imf::InputFile in((folder / file).c_str());
    std::vector<T> values(kPixels);
    Imf::FrameBuffer frame;
    frame.insert(channel,
                 Imf::Slice(type, reinterpret_cast<char*>(values.data()), sizeof(T), sizeof(T) * kWidth));
    in.setFrameBuffer(frame);
    in.readPixels(0, kHeight - 1);
    return values;
  }
  std::vector<float> Floats(const char* file, const char* channel) const {
    return Read<float>(file, channel, Imf::FLOAT);
  }

  static SavedElement Element(const char* name, ElementType type, BinaryFormat format, float value) {
    SavedElement element{name, type, {kWidth, kHeight, format, std::vector<float>(4 * kPixels, value), {}}};
    if (format == BinaryFormat::kSingleInteger) element.pixels.integers.assign(kPixels, 20000001U);
    return element;
  }
  static std::vector<SavedElement> Elements() {
    return {Element("diffuse", ElementType::kDiffuse, BinaryFormat::kThreeFloats, 0.5f),
            Element("z_depth", ElementType::kZDepth, BinaryFormat::kSingleFloat, 7),
            Element("velocity", ElementType::kVelocity, BinaryFormat::kThreeSignedFloats, -0.5f),
            Element("node_id", ElementType::kNodeId, BinaryFormat::kSingleInteger, 20000001.0f)};
  }

  fs::path folder;
  image::ImagePtr picture;
  std::string error;
};

TEST_F(SaveTest, AllLayersInOneFile) {
  ASSERT_EQ(Save("a.exr", {.multi_channel = true}, Elements()), SaveStatus::kSaved) << error;
  EXPECT_THAT(Files(), ElementsAre("a.exr"));
  EXPECT_THAT(Channels("a.exr"),
              ElementsAre("A float", "B float", "G float", "R float", "diffuse.B float", "diffuse.G float",
                          "diffuse.R float", "node_id.Y float", "velocity.X float", "velocity.Y float",
                          "velocity.Z float", "z_depth.Y float"));
  const auto blue = Floats("a.exr", "B");
  for (size_t i = 0; i < kPixels; ++i) EXPECT_EQ(blue[i], picture->pixels()[4 * i + 2]);
  EXPECT_EQ(Floats("a.exr", "z_depth.Y")[7], 7);
  EXPECT_EQ(Floats("a.exr", "velocity.Y")[7], 0.25f);
}

TEST_F(SaveTest, VelocityAndIdentitiesAsTheyAre) {
  ASSERT_EQ(Save("a.exr",
                 {.write_integer_ids = true, .velocity_zero_based = true, .multi_channel = true, .bits = 16},
                 Elements()),
            SaveStatus::kSaved);
  EXPECT_EQ(Floats("a.exr", "velocity.Y")[7], -0.5f);
  EXPECT_THAT(Channels("a.exr"), testing::IsSupersetOf({"node_id.Y uint", "z_depth.Y half", "R half"}));
  EXPECT_EQ(Read<uint32_t>("a.exr", "node_id.Y", Imf::UINT)[7], 20000001U);
}

TEST_F(SaveTest, EveryCompressionHoldsThePicture) {
  for (int compression = 0; compression <= 10; ++compression) {
    for (const int bits : {8, 16, 32}) {
      SCOPED_TRACE(std::to_string(compression) + " " + std::to_string(bits));
      ASSERT_EQ(Save("a.exr", {.multi_channel = true, .compression = compression, .bits = bits}, Elements()),
                SaveStatus::kSaved);
      const Imf::InputFile in((folder / "a.exr").c_str());
      const Imf::Compression expected =
          compression == 0 ? Imf::ZIP_COMPRESSION : static_cast<Imf::Compression>(compression - 1);
      EXPECT_EQ(in.header().compression(), expected);
      // B44 keeps blocks of 4 by 4 halves in a fixed number of bits.
      const double near = compression == 7 || compression == 8 ? 0.1 : 0.02;
      const auto green = Floats("a.exr", "G");
      for (size_t i = 0; i < kPixels; ++i) EXPECT_NEAR(green[i], picture->pixels()[4 * i + 1], near);
    }
  }
}

TEST_F(SaveTest, EachElementInItsFile) {
  ASSERT_EQ(Save("a.png", {.multiple_files = true}, Elements()), SaveStatus::kSaved) << error;
  EXPECT_THAT(Files(), ElementsAre("a.alpha.png", "a.diffuse.png", "a.node_id.exr", "a.png", "a.velocity.exr",
                                   "a.z_depth.exr"));
  EXPECT_THAT(Channels("a.velocity.exr"), ElementsAre("X float", "Y float", "Z float"));
  const image::ImagePtr alpha(image::DecodeFile(folder / "a.alpha.png"));
  ASSERT_TRUE(alpha);
  EXPECT_EQ(alpha->pixels()[0], 1);
}

TEST_F(SaveTest, FilesThatAreNotWanted) {
  ASSERT_EQ(Save("a.exr", {.multiple_files = true, .skip_alpha = true, .skip_rgb = true}, Elements()),
            SaveStatus::kSaved);
  EXPECT_THAT(Files(), ElementsAre("a.diffuse.exr", "a.node_id.exr", "a.velocity.exr", "a.z_depth.exr"));
  ASSERT_EQ(Save("b.exr", {.multiple_files = true, .no_alpha = true}), SaveStatus::kSaved);
  EXPECT_THAT(Channels("b.exr"), ElementsAre("B float", "G float", "R float"));
  EXPECT_FALSE(fs::exists(folder / "b.alpha.exr"));
}

TEST_F(SaveTest, ChannelsThatAreNotWanted) {
  const SaveOptions options[] = {{.skip_alpha = true}, {.no_alpha = true}, {.skip_rgb = true}, {}};
  const std::vector<std::string> channels[] = {{"B float", "G float", "R float"},
                                               {"B float", "G float", "R float"},
                                               {"A float"},
                                               {"A float", "B float", "G float", "R float"}};
  for (int i = 0; i < 4; ++i) {
    ASSERT_EQ(Save("a.exr", options[i]), SaveStatus::kSaved);
    EXPECT_EQ(Channels("a.exr"), channels[i]);
  }
  EXPECT_EQ(Save("none.exr", {.skip_alpha = true, .skip_rgb = true}), SaveStatus::kBadOptions);
  EXPECT_FALSE(fs::exists(folder / "none.exr"));
}

TEST_F(SaveTest, TheChannelThatIsShown) {
  ASSERT_EQ(Save("a.exr", {.single_channel = true}, {Elements()[1]}), SaveStatus::kSaved);
  EXPECT_THAT(Channels("a.exr"), ElementsAre("Y float"));
  ASSERT_EQ(Save("a.png", {.single_channel = true}, {Elements()[1]}), SaveStatus::kSaved);
  const image::ImagePtr depth(image::DecodeFile(folder / "a.png"));
  ASSERT_TRUE(depth);
  EXPECT_EQ(depth->pixels()[0], 1);
  EXPECT_THAT(Files(), ElementsAre("a.exr", "a.png"));
}

TEST_F(SaveTest, EveryFormat) {
  for (const char* name : {"a.png", "a.jpg", "a.JPEG", "a.bmp", "a.tif", "a.tiff", "a.exr"}) {
    for (const int bits : {8, 16, 32}) {
      for (const bool no_alpha : {false, true}) {
        SCOPED_TRACE(name);
        ASSERT_EQ(Save(name, {.no_alpha = no_alpha, .bits = bits}), SaveStatus::kSaved) << error;
        const image::ImagePtr read(image::DecodeFile(folder / name));
        ASSERT_TRUE(read);
        EXPECT_EQ(read->width, kWidth);
        EXPECT_EQ(read->height, kHeight);
      }
    }
  }
}

TEST_F(SaveTest, FramesAreInTheName) {
  ASSERT_EQ(Save("a.exr", {.frame = 12}), SaveStatus::kSaved);
  ASSERT_EQ(Save("a.b.png", {.multiple_files = true, .frame = 12345}), SaveStatus::kSaved);
  EXPECT_THAT(Files(), ElementsAre("a.0012.exr", "a.b.12345.alpha.png", "a.b.12345.png"));
}

TEST_F(SaveTest, NamesAreToldApartAndStayInTheFolder) {
  ASSERT_EQ(Save("a.exr", {.multiple_files = true, .skip_alpha = true, .skip_rgb = true},
                 {Element("../x", ElementType::kGi, BinaryFormat::kThreeFloats, 0),
                  Element("../x", ElementType::kGi, BinaryFormat::kThreeFloats, 1)}),
            SaveStatus::kSaved);
  EXPECT_THAT(Files(), ElementsAre("a..._x.exr", "a..._x_2.exr"));
}

TEST_F(SaveTest, WhatCannotBeIsRefused) {
  EXPECT_EQ(Save("a.xyz", {}), SaveStatus::kFileType);
  EXPECT_EQ(Save("a", {}), SaveStatus::kFileType);
  EXPECT_EQ(Save("a.png", {.multi_channel = true}), SaveStatus::kBadOptions);
  EXPECT_EQ(Save("a.exr", {.bits = 24}), SaveStatus::kBadOptions);
  EXPECT_EQ(Save("a.exr", {.compression = 11}), SaveStatus::kBadOptions);
  EXPECT_EQ(Save("a.exr", {.compression = -1}), SaveStatus::kBadOptions);
  EXPECT_EQ(Save("none/a.exr", {}), SaveStatus::kNotWritten);
  EXPECT_FALSE(error.empty());
  EXPECT_TRUE(Files().empty());
}

}  // namespace
}  // namespace kiln::engine::window
