// Render elements and the denoiser from the host's side.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <semaphore>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

constexpr int32_t kDiffuse = 101, kLighting = 107, kNodeId = 116, kZDepth = 117, kNormals = 123, kAlpha = 125,
                  kColor = 126, kDenoised = 144;
constexpr int32_t kSide = 32;
constexpr uint64_t kPixels = uint64_t{kSide} * kSide;

// A grey ball before nothing, lit by a lamp that nobody sees.
constexpr char kBall[] = R"(
[camera]
class = "CameraPerspective"
transform = { translate = [0, 0, 4] }

[ball]
class = "GeomSphere"
radius = 1

[ballInstance]
class = "GeomInstance"
geometry = "ball"

[lamp]
class = "LightPoint"
transform = { translate = [0, 2, 4] }
intensity = 20

[image]
class = "SettingsImage"
width = 32
height = 32
pixelFilter = 0

[sampler]
class = "SettingsSampler"
samples = 4
bucketSize = 16
)";

using Data = std::unique_ptr<void, ImageFree>;

struct Ball : ScopedRenderer {
  Ball() { EXPECT_EQ(Kiln_KilnRenderer_loadAsText(*this, kBall), 0); }

  KilnPluginId Add(int32_t type, const char* name = nullptr, const char* display_name = nullptr) {
    KilnPluginId plugin = KILN_NO_PLUGIN;
    EXPECT_EQ(Kiln_newRenderElementPlugin(*this, type, name, display_name, &plugin), 0) << type;
    return plugin;
  }
  void Render() {
    EXPECT_EQ(Kiln_KilnRenderer_render(*this), 0);
    EXPECT_NE(Kiln_KilnRenderer_waitRenderEnd(*this, 60000), 0);
  }
  uint64_t Read(KilnPluginId plugin, int32_t type, int32_t format, Data* data,
                const RenderElementRegion* region = nullptr, int32_t rgb_order = 0,
                KilnPluginId alpha = KILN_NO_PLUGIN) {
    void* block = nullptr;
    const uint64_t size =
        Kiln_getRenderElementData(*this, plugin, alpha, type, 0, format, rgb_order, region, &block);
    data->reset(block);
    return size;
  }
  std::vector<float> Floats(KilnPluginId plugin, int32_t type, int32_t format) {
    Data data;
    const uint64_t size = Read(plugin, type, format, &data);
    std::vector<float> values(size / sizeof(float));
    if (size > 0) std::memcpy(values.data(), data.get(), size);
    return values;
  }
};

constexpr size_t kMiddle = size_t{kSide / 2} * kSide + kSide / 2;

TEST(RenderElements, AreMadeFoundAndDescribed) {
  Ball ball;
  int32_t count = -1;
  EXPECT_EQ(Kiln_getRenderElementPluginsList(ball, -1, &count), nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(Kiln_getRenderElementPlugin(ball, kZDepth), KILN_NO_PLUGIN);

  const KilnPluginId depth = ball.Add(kZDepth, "depth", "Far and near");
  const KilnPluginId diffuse = ball.Add(kDiffuse);
  const KilnPluginId second = ball.Add(kZDepth);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginID(ball, "depth"), depth);
  EXPECT_EQ(Kiln_getRenderElementPlugin(ball, kZDepth), depth);
  EXPECT_EQ(Kiln_getRenderElementPlugin(ball, -1), KILN_NO_PLUGIN);
  std::unique_ptr<KilnPluginId, ImageFree> all(Kiln_getRenderElementPluginsList(ball, -1, &count));
  EXPECT_EQ(std::vector<KilnPluginId>(all.get(), all.get() + count),
            (std::vector<KilnPluginId>{depth, diffuse, second}));
  all.reset(Kiln_getRenderElementPluginsList(ball, kZDepth, &count));
  EXPECT_EQ(count, 2);

  RenderElementInfo info{};
  ASSERT_NE(Kiln_getRenderElementInfo(ball, depth, kZDepth, &info), 0);
  EXPECT_STREQ(info.name, "Far and near");
  EXPECT_EQ(info.binary_format, 1u);
  EXPECT_EQ(info.type, static_cast<uint32_t>(kZDepth));
  ASSERT_NE(Kiln_getRenderElementInfo(ball, diffuse, -1, &info), 0);
  EXPECT_STREQ(info.name, "diffuse");
  EXPECT_EQ(info.binary_format, 2u);
  EXPECT_EQ(Kiln_getRenderElementInfo(ball, diffuse, kZDepth, &info), 0);
  EXPECT_EQ(Kiln_getRenderElementInfo(ball, Kiln_KilnRenderer_getPluginID(ball, "ball"), -1, &info), 0);
  EXPECT_EQ(Kiln_getRenderElementInfo(ball, KILN_NO_PLUGIN, -1, &info), 0);
}

TEST(RenderElements, WhatCannotBeMadeIsRefused) {
  Ball ball;
  KilnPluginId plugin = 7;
  for (const int32_t type : {0, -1, 100, 109, 158, 6001, 99999}) {
    EXPECT_NE(Kiln_newRenderElementPlugin(ball, type, nullptr, nullptr, &plugin), 0) << type;
  }
  EXPECT_NE(Kiln_newRenderElementPlugin(ball, kAlpha, "ball", nullptr, &plugin), 0);
  EXPECT_EQ(plugin, 7u);
  EXPECT_EQ(Kiln_newRenderElementPlugin(ball, kAlpha, nullptr, "", nullptr), 0);
}

TEST(RenderElements, EveryTypeHasItsBinaryFormat) {
  Ball ball;
  const std::map<int32_t, uint32_t> formats = {
      {101, 2}, {102, 2}, {103, 2}, {104, 2}, {105, 2}, {106, 2}, {107, 2}, {108, 2}, {110, 2},
      {111, 2}, {112, 2}, {113, 5}, {114, 4}, {115, 4}, {116, 4}, {117, 1}, {123, 5}, {124, 2},
      {125, 1}, {126, 6}, {129, 2}, {130, 2}, {131, 5}, {132, 1}, {142, 1}, {143, 5}, {144, 6}};
  for (const auto& [type, format] : formats) ball.Add(type);
  ball.Render();
  for (const auto& [type, format] : formats) {
    SCOPED_TRACE(type);
    const KilnPluginId plugin = Kiln_getRenderElementPlugin(ball, type);
    RenderElementInfo info{};
    ASSERT_NE(Kiln_getRenderElementInfo(ball, plugin, type, &info), 0);
    EXPECT_EQ(info.binary_format, format);
    const std::map<int32_t, uint64_t> sizes = {{100, 1}, {101, 2},  {102, 4}, {104, 4}, {200, 3},
                                               {201, 6}, {203, 12}, {300, 4}, {301, 8}, {303, 16}};
    for (const auto& [pixel_format, bytes] : sizes) {
      Data data;
      EXPECT_EQ(ball.Read(plugin, type, pixel_format, &data), kPixels * bytes) << pixel_format;
    }
    const ImageHandle image(Kiln_getRenderElementAsImage(ball, plugin, type, 0, nullptr, 0));
    EXPECT_NE(image, nullptr);
  }
}

TEST(RenderElements, DataAndImagesAgreeWithThePicture) {
  Ball ball;
  const KilnPluginId color = ball.Add(kColor);
  ball.Render();
  const ImageHandle picture(Kiln_KilnRenderer_getImage(ball, nullptr));
  const ImageHandle image(Kiln_getRenderElementAsImage(ball, color, kColor, 0, nullptr, 2));
  ASSERT_TRUE(picture && image);
  uint64_t count = 0;
  const auto* expected =
      static_cast<const float*>(KilnImage_getPixelDataPointerAndPixelCount(picture.get(), &count));
  const auto* found =
      static_cast<const float*>(KilnImage_getPixelDataPointerAndPixelCount(image.get(), &count));
  EXPECT_EQ(count, kPixels);
  EXPECT_EQ(std::memcmp(expected, found, count * 16), 0);
  const std::vector<float> data = ball.Floats(color, kColor, 303);
  ASSERT_EQ(data.size(), 4 * kPixels);
  EXPECT_EQ(std::memcmp(expected, data.data(), count * 16), 0);
  EXPECT_GT(data[4 * kMiddle], 0);

  // As a screen shows it, by the sRGB curve.
  const ImageHandle shown(Kiln_getRenderElementAsImage(ball, color, kColor, 0, nullptr, 1));
  const auto* display =
      static_cast<const float*>(KilnImage_getPixelDataPointerAndPixelCount(shown.get(), &count));
  const float linear = data[4 * kMiddle];
  EXPECT_NEAR(display[4 * kMiddle], 1.055f * std::pow(linear, 1 / 2.4f) - 0.055f, 1e-5);
}

TEST(RenderElements, IdentitiesAreIntegers) {
  Ball ball;
  const KilnPluginId node = ball.Add(kNodeId);
  ball.Render();
  Data data;
  ASSERT_EQ(ball.Read(node, kNodeId, 102, &data), 4 * kPixels);
  const auto* ids = static_cast<const uint32_t*>(data.get());
  EXPECT_EQ(ids[kMiddle], Kiln_KilnRenderer_getPluginID(ball, "ballInstance"));
  EXPECT_EQ(ids[0], 0u);
  EXPECT_EQ(ball.Floats(node, kNodeId, 104)[kMiddle], static_cast<float>(ids[kMiddle]));
}

TEST(RenderElements, DepthIsInMetresOrBetweenTwo) {
  Ball ball;
  const KilnPluginId depth = ball.Add(kZDepth, "depth");
  ball.Render();
  std::vector<float> values = ball.Floats(depth, kZDepth, 104);
  EXPECT_NEAR(values[kMiddle], 3, 0.05);
  EXPECT_EQ(values[0], std::numeric_limits<float>::infinity());
  Data data;
  ASSERT_EQ(ball.Read(depth, kZDepth, 100, &data), kPixels);
  EXPECT_EQ(static_cast<const uint8_t*>(data.get())[0], 255);

  EXPECT_EQ(Kiln_KilnRenderer_setPropertyValueAtTime(ball, "depth", "near", "2", 0, 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setPropertyValueAtTime(ball, "depth", "far", "4", 0, 1), 0);
  values = ball.Floats(depth, kZDepth, 104);
  EXPECT_NEAR(values[kMiddle], 0.5, 0.03);
  EXPECT_EQ(values[0], 1);
}

TEST(RenderElements, IntegersOfSignedValuesAreCentred) {
  Ball ball;
  const KilnPluginId normals = ball.Add(kNormals);
  ball.Render();
  const std::vector<float> floats = ball.Floats(normals, kNormals, 203);
  for (const int32_t rgb_order : {0, 1}) {
    Data data;
    ASSERT_EQ(ball.Read(normals, kNormals, 200, &data, nullptr, rgb_order), 3 * kPixels);
    const auto* bytes = static_cast<const uint8_t*>(data.get()) + 3 * kMiddle;
    for (size_t c = 0; c < 3; ++c) {
      const float v = floats[3 * kMiddle + (rgb_order != 0 ? c : 2 - c)];
      EXPECT_NEAR(bytes[c], (0.5f + 0.5f * v) * 255, 0.51) << c;
    }
  }
  EXPECT_GT(floats[3 * kMiddle + 2], 0.9f);
}

TEST(RenderElements, RegionsAreCutOut) {
  Ball ball;
  const KilnPluginId lighting = ball.Add(kLighting);
  ball.Render();
  const std::vector<float> whole = ball.Floats(lighting, kLighting, 203);
  Data data;
  const RenderElementRegion region{10, 12, 20, 15};
  ASSERT_EQ(ball.Read(lighting, kLighting, 203, &data, &region), uint64_t{10} * 3 * 12);
  for (size_t y = 0; y < 3; ++y) {
    EXPECT_EQ(
        std::memcmp(static_cast<const float*>(data.get()) + 30 * y, &whole[3 * ((12 + y) * kSide + 10)], 120),
        0);
  }
  const RenderElementRegion zeros{};
  EXPECT_EQ(ball.Read(lighting, kLighting, 203, &data, &zeros), 12 * kPixels);
  for (const RenderElementRegion& outside : {RenderElementRegion{0, 0, 33, 1},
                                             {-1, 0, 5, 5},
                                             {5, 5, 5, 9},
                                             {9, 9, 3, 3},
                                             {0, 0, 0, 4},
                                             {-2147483647 - 1, 0, 2147483647, 1}}) {
    EXPECT_EQ(ball.Read(lighting, kLighting, 203, &data, &outside), 0u);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(Kiln_getRenderElementAsImage(ball, lighting, kLighting, 0, &outside, 0), nullptr);
  }
}

TEST(RenderElements, AnotherElementCanBeTheAlpha) {
  Ball ball;
  const KilnPluginId color = ball.Add(kColor);
  const KilnPluginId depth = ball.Add(kZDepth);
  ball.Render();
  const std::vector<float> depths = ball.Floats(depth, kZDepth, 104);
  Data data;
  ASSERT_EQ(ball.Read(color, kColor, 303, &data, nullptr, 0, depth), 16 * kPixels);
  const auto* rgba = static_cast<const float*>(data.get());
  EXPECT_NEAR(rgba[4 * kMiddle + 3], depths[kMiddle], 1e-5);
  EXPECT_EQ(rgba[4 * kMiddle], ball.Floats(color, kColor, 303)[4 * kMiddle]);
  EXPECT_EQ(ball.Read(color, kColor, 303, &data, nullptr, 0, Kiln_KilnRenderer_getPluginID(ball, "ball")),
            0u);
}

TEST(RenderElements, WhatIsNotThereIsNothing) {
  Ball ball;
  const KilnPluginId lighting = ball.Add(kLighting);
  Data data;
  EXPECT_EQ(ball.Read(lighting, kLighting, 203, &data), 0u) << "before a render";
  ball.Render();
  EXPECT_GT(ball.Read(lighting, kLighting, 203, &data), 0u);
  for (const int32_t format : {0, 99, 103, 202, 302, 304, -1}) {
    EXPECT_EQ(ball.Read(lighting, kLighting, format, &data), 0u) << format;
  }
  EXPECT_EQ(ball.Read(lighting, kZDepth, 203, &data), 0u) << "another type";
  void* block = nullptr;
  EXPECT_EQ(Kiln_getRenderElementData(ball, lighting, KILN_NO_PLUGIN, kLighting, 1, 203, 0, nullptr, &block),
            0u);
  EXPECT_EQ(Kiln_getRenderElementAsImage(ball, lighting, kLighting, 1, nullptr, 0), nullptr);
  // Added after the render, so that nothing was kept for it.
  const KilnPluginId late = ball.Add(kNormals);
  EXPECT_EQ(ball.Read(late, kNormals, 203, &data), 0u);
  ball.Render();
  EXPECT_GT(ball.Read(late, kNormals, 203, &data), 0u);
}

TEST(RenderElements, MetadataIsGivenBackThroughItsSlot) {
  Ball ball;
  const KilnPluginId depth = ball.Add(kZDepth, nullptr, "a \"b\"");
  uint64_t slot = 0;
  const char* text = Kiln_getRenderElementMetadata(ball, depth, kZDepth, &slot);
  ASSERT_NE(text, nullptr);
  EXPECT_THAT(text, testing::HasSubstr(R"("name":"a \"b\"","type":"z_depth")"));
  EXPECT_THAT(text, testing::HasSubstr(R"("unit":"m")"));
  EXPECT_NE(slot, 0u);
  EXPECT_EQ(Kiln_getRenderElementMetadata(ball, depth, kZDepth, &slot), nullptr);
  EXPECT_EQ(slot, 0u);
  EXPECT_EQ(Kiln_getRenderElementMetadata(ball, depth, kColor, &slot), nullptr);
  EXPECT_EQ(Kiln_getRenderElementMetadata(ball, depth, kZDepth, nullptr), nullptr);
}

TEST(RenderElements, AnInteractiveRenderTakesNewOnesOver) {
  Ball ball;
  Kiln_KilnRenderer_setRenderMode(ball, 0);
  Kiln_KilnRenderer_setKeepInteractiveRunning(ball, 1);
  ASSERT_EQ(Kiln_KilnRenderer_startSync(ball), 0);
  const KilnPluginId normals = ball.Add(kNormals);
  Data data;
  const auto limit = std::chrono::steady_clock::now() + 30s;
  const auto seen = [&] {
    const std::vector<float> values = ball.Floats(normals, kNormals, 203);
    return !values.empty() && values[3 * kMiddle + 2] > 0.5f;
  };
  while (!seen() && std::chrono::steady_clock::now() < limit) std::this_thread::sleep_for(5ms);
  EXPECT_TRUE(seen());
  EXPECT_EQ(Kiln_KilnRenderer_stop(ball), 0);
}

struct Answer {
  std::binary_semaphore told{0};
  std::atomic<int> calls{0};
  ImageHandle image;
  const KilnDenoiseRequest* request = nullptr;
};

void OnDenoised(KilnImageHandle image, KilnDenoiseRequest* request) {
  auto* answer = static_cast<Answer*>(request->user);
  answer->image.reset(image);
  answer->request = request;
  ++answer->calls;
  answer->told.release();
}

TEST(DenoiseNow, AnswersBeforeItReturnsWhenItBlocks) {
  Ball ball;
  const KilnPluginId denoised = ball.Add(kDenoised);
  Answer answer;
  KilnDenoiseRequest request{OnDenoised, ball, &answer, nullptr, 1, 0};
  EXPECT_EQ(Kiln_KilnRenderer_denoiseNow(ball, &request), 0) << "before a render";
  EXPECT_EQ(answer.calls, 0);
  ball.Render();
  EXPECT_NE(Kiln_KilnRenderer_denoiseNow(ball, &request), 0);
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(answer.request, &request);
  ASSERT_NE(answer.image, nullptr);
  uint64_t count = 0;
  const auto* pixels =
      static_cast<const float*>(KilnImage_getPixelDataPointerAndPixelCount(answer.image.get(), &count));
  ASSERT_EQ(count, kPixels);
  // The element has the same pixels.
  const std::vector<float> element = ball.Floats(denoised, kDenoised, 303);
  ASSERT_EQ(element.size(), 4 * kPixels);
  EXPECT_EQ(std::memcmp(pixels, element.data(), 16 * kPixels), 0);
  request.completion = nullptr;
  EXPECT_NE(Kiln_KilnRenderer_denoiseNow(ball, &request), 0);
  EXPECT_EQ(Kiln_KilnRenderer_denoiseNow(ball, nullptr), 0);
}

TEST(DenoiseNow, AnswersLaterWhenItDoesNot) {
  Ball ball;
  ball.Render();
  Answer answer;
  KilnDenoiseRequest request{OnDenoised, ball, &answer, nullptr, 0, 0};
  for (int i = 1; i <= 3; ++i) {
    ASSERT_NE(Kiln_KilnRenderer_denoiseNow(ball, &request), 0);
    ASSERT_TRUE(answer.told.try_acquire_for(30s));
    EXPECT_EQ(answer.calls, i);
    EXPECT_NE(answer.image, nullptr);
  }
}

TEST(DenoiseNow, AStopInterruptsIt) {
  Ball ball;
  Kiln_KilnRenderer_setImageSize(ball, 800, 800);
  EXPECT_EQ(Kiln_KilnRenderer_setPropertyValueAtTime(ball, "sampler", "samples", "1", 0, 1), 0);
  ball.Render();
  Answer answer;
  KilnDenoiseRequest request{OnDenoised, ball, &answer, nullptr, 0, 0};
  ASSERT_NE(Kiln_KilnRenderer_denoiseNow(ball, &request), 0);
  EXPECT_EQ(Kiln_KilnRenderer_denoiseNow(ball, &request), 0) << "one at a time";
  EXPECT_EQ(Kiln_KilnRenderer_stop(ball), 0);
  ASSERT_TRUE(answer.told.try_acquire_for(60s));
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(answer.image, nullptr);

  // And the end of the renderer, which waits for the answer.
  ASSERT_NE(Kiln_KilnRenderer_denoiseNow(ball, &request), 0);
  ball.Release();
  EXPECT_EQ(answer.calls, 2);
}

}  // namespace
}  // namespace kiln::engine::test
