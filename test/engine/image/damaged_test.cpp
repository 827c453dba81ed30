// Damaged files of every format: refused with a sentence, in silence, without a crash.
#include "engine/image/byte_order.h"
#include "engine/image/codec.h"
#include "engine/image/encode.h"
#include "test/engine/image/file_builders.h"
#include "test/engine/image/samples.h"
#include "test/engine/image/test_image.h"

namespace kiln::engine::image {
namespace {

TEST(Damaged, SamplesAreSound) {
  for (const Sample& sample : Samples()) {
    std::string error;
    EXPECT_TRUE(ImagePtr(Decode(sample.bytes, &error))) << sample.name << ": " << error;
  }
}

// Remarks at the end of a TIFF may be missing, and the end mark of a run-length BMP; pixels may not.
bool MayLackItsEnd(const Sample& sample) {
  return sample.name.starts_with("tiff") || sample.name == "bmp runs";
}

TEST(Damaged, CutFilesAreRefused) {
  testing::internal::CaptureStderr();
  for (const Sample& sample : Samples()) {
    const ImagePtr whole(Decode(sample.bytes));
    const size_t step = sample.bytes.size() > 4000 ? 97 : 1;
    size_t refused = 0;
    size_t size = 0;
    for (; size < sample.bytes.size(); size += size + step < sample.bytes.size() ? step : 1) {
      const Bytes cut(sample.bytes.begin(), sample.bytes.begin() + static_cast<std::ptrdiff_t>(size));
      std::string error;
      const ImagePtr image(Decode(cut, &error));
      EXPECT_EQ(image != nullptr, error.empty()) << sample.name << " of " << size;
      if (!image) {
        ++refused;
        continue;
      }
      EXPECT_TRUE(MayLackItsEnd(sample)) << sample.name << " of " << size;
      ASSERT_EQ(Distance(*image, *whole), 0) << sample.name << " of " << size;
    }
    EXPECT_GT(refused, 10u) << sample.name;
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Damaged, ChangedBytesNeverCrash) {
  testing::internal::CaptureStderr();
  uint32_t state = 12345;
  const auto next = [&state](size_t limit) {
    state = state * 1664525u + 1013904223u;
    return static_cast<size_t>(state >> 8) % limit;
  };
  for (const Sample& sample : Samples()) {
    for (int round = 0; round < 400; ++round) {
      Bytes bytes = sample.bytes;
      const size_t changes = 1 + next(4);
      // Headers are where damage reaches furthest.
      const size_t range = round % 2 ? bytes.size() : std::min<size_t>(bytes.size(), 400);
      for (size_t i = 0; i < changes; ++i) bytes[next(range)] = static_cast<std::byte>(next(256));
      std::string error;
      const ImagePtr image(Decode(bytes, &error));
      EXPECT_EQ(image != nullptr, error.empty()) << sample.name;
      if (image) {
        EXPECT_TRUE(IsImage(image.get()));
      }
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

void Put32(Bytes& bytes, size_t at, uint32_t value, bool big) {
  for (size_t i = 0; i < 4; ++i) {
    bytes[at + i] = static_cast<std::byte>(value >> 8 * (big ? 3 - i : i));
  }
}

TEST(Damaged, PromisesOfHugePicturesAreRefused) {
  Bytes bmp, exr;
  const ImagePtr image = Make(4, 4, Noise);
  ASSERT_TRUE(EncodeBmp(*image, {}, &bmp) && EncodeExr(*image, {}, &exr));
  for (const uint32_t side : {16000u, 65535u, 0x7fffffffu}) {
    Bytes bytes = bmp;
    Put32(bytes, 18, side, false);
    Put32(bytes, 22, side, false);
    EXPECT_FALSE(ImagePtr(Decode(bytes))) << side;
  }
  // The far corner of both windows of an EXR.
  const std::string_view text(reinterpret_cast<const char*>(exr.data()), exr.size());
  for (const char* window : {"dataWindow", "displayWindow"}) {
    const size_t at = text.find(window) + std::strlen(window) + 1 + std::strlen("box2i") + 1 + 4;
    Put32(exr, at + 8, 0x7ffffff0, false);
    Put32(exr, at + 12, 0x7ffffff0, false);
  }
  std::string error;
  EXPECT_FALSE(ImagePtr(Decode(exr, &error)));
  EXPECT_NE(error.find("too large"), std::string::npos) << error;
}

}  // namespace
}  // namespace kiln::engine::image
