// Base64 against the vectors of RFC 4648, and against what no encoder writes.
#include "engine/formats/base64.h"

#include <gtest/gtest.h>

#include <random>

namespace kiln::engine::formats {
namespace {

std::vector<std::byte> Bytes(std::string_view text) {
  const auto* data = reinterpret_cast<const std::byte*>(text.data());
  return {data, data + text.size()};
}

TEST(Base64, TestVectors) {
  const std::pair<const char*, const char*> vectors[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"foobar", "Zm9vYmFy"},
  };
  for (const auto& [plain, encoded] : vectors) {
    EXPECT_EQ(EncodeBase64(Bytes(plain)), encoded);
    EXPECT_EQ(DecodeBase64(encoded), Bytes(plain));
  }
}

TEST(Base64, BlanksAreSkippedAndPaddingMayBeMissing) {
  EXPECT_EQ(DecodeBase64(" Zm9v\r\n\tYg = ="), Bytes("foob"));
  EXPECT_EQ(DecodeBase64("Zm9vYg"), Bytes("foob"));
  EXPECT_EQ(DecodeBase64(" \n"), Bytes(""));
}

TEST(Base64, RefusesWhatNoEncoderWrites) {
  for (const char* text : {"Z", "Zm9vY", "Zg=", "Zg===", "Zm9v=", "=",
                           "Z=g=", "Zg==Zg==", "Zh==", "Zm9=", "Zm-v", "Zm9v\xC3", "Zm9v."}) {
    EXPECT_FALSE(DecodeBase64(text)) << text;
  }
  EXPECT_FALSE(DecodeBase64(std::string_view("Zm9v\0", 5)));
}

TEST(Base64, EveryLengthAndByteComesBack) {
  std::mt19937 random(1);
  for (size_t length = 0; length < 600; ++length) {
    std::vector<std::byte> bytes(length);
    for (std::byte& byte : bytes) byte = static_cast<std::byte>(random());
    ASSERT_EQ(DecodeBase64(EncodeBase64(bytes)), bytes) << length;
  }
}

}  // namespace
}  // namespace kiln::engine::formats
