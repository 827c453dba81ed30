// OpenEXR: RGBA in 16 or 32 bit floats, ZIP packed.
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <ImfStandardAttributes.h>
#include <ImfStringAttribute.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>

#include "engine/image/codec_failure.h"
#include "engine/image/encode.h"
#include "engine/image/exr_stream.h"

namespace kiln::engine::image {
namespace {

constexpr const char* kChannels[4] = {"R", "G", "B", "A"};

Imf::Header MakeHeader(const Image& image, const ExrOptions& options) {
  Imf::Header header(image.width, image.height, 1, Imath::V2f(0, 0), 1, Imf::INCREASING_Y,
                     Imf::ZIP_COMPRESSION);
  const Imf::PixelType type = options.half ? Imf::HALF : Imf::FLOAT;
  for (const char* name : kChannels) header.channels().insert(name, Imf::Channel(type));
  Imf::addChromaticities(header, Imf::Chromaticities());
  header.insert("software", Imf::StringAttribute("Kiln"));
  for (const auto& [name, text] : options.attributes) {
    // An attribute of the format itself has its own type and must not be replaced by a text.
    if (!name.empty() && header.find(name.c_str()) == header.end()) {
      header.insert(name.c_str(), Imf::StringAttribute(text));
    }
  }
  return header;
}

// Rows pass through a buffer of their own: half needs converting, and a float image is not written to by
// contract.
void WritePixels(Imf::OutputFile& file, const Image& image, bool half) {
  constexpr int kRows = 16;  // what one ZIP block holds
  const size_t sample = half ? sizeof(Imath::half) : sizeof(float);
  const size_t stride = static_cast<size_t>(image.width) * 4 * sample;
  std::vector<char> block(stride * kRows);
  for (int top = 0; top < image.height; top += kRows) {
    const int rows = std::min(kRows, image.height - top);
    for (int y = 0; y < rows; ++y) {
      const float* from = image.row(top + y);
      char* to = block.data() + stride * static_cast<size_t>(y);
      if (half) {
        auto* halves = reinterpret_cast<Imath::half*>(to);
        std::copy_n(from, static_cast<size_t>(image.width) * 4, halves);
      } else {
        std::memcpy(to, from, stride);
      }
    }
    Imf::FrameBuffer frame;
    for (size_t c = 0; c < 4; ++c) {
      frame.insert(kChannels[c],
                   Imf::Slice::Make(half ? Imf::HALF : Imf::FLOAT, block.data() + c * sample,
                                    Imath::V2i(0, top), image.width, kRows, 4 * sample, stride));
    }
    file.setFrameBuffer(frame);
    file.writePixels(rows);
  }
}

}  // namespace

bool EncodeExr(const Image& image, const ExrOptions& options, Bytes* out, std::string* error) try {
  out->clear();
  ExrOutput stream(out);
  {
    Imf::OutputFile file(stream, MakeHeader(image, options), 0);
    WritePixels(file, image, options.half);
  }
  return true;
} catch (const std::bad_alloc&) {
  return Fail(error, kOutOfMemory);
} catch (const std::exception& failure) {
  return Fail(error, std::string("the EXR encoder failed: ") + failure.what());
}

}  // namespace kiln::engine::image
