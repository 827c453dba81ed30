// OpenEXR: channels as they are given.
#include "engine/image/exr_layers.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <ImfStandardAttributes.h>
#include <ImfStringAttribute.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <new>
#include <set>
#include <vector>

#include "engine/image/codec_failure.h"
#include "engine/image/exr_stream.h"

namespace kiln::engine::image {
namespace {

using Halves = std::vector<Imath::half>;

constexpr float kLargestHalf = 65504;

Imf::Compression CompressionOf(ExrCompression compression) {
  switch (compression) {
    case ExrCompression::kNone:
      return Imf::NO_COMPRESSION;
    case ExrCompression::kRunLength:
      return Imf::RLE_COMPRESSION;
    case ExrCompression::kZipLines:
      return Imf::ZIPS_COMPRESSION;
    case ExrCompression::kZipBlocks:
      return Imf::ZIP_COMPRESSION;
    case ExrCompression::kPiz:
      return Imf::PIZ_COMPRESSION;
    case ExrCompression::kPxr24:
      return Imf::PXR24_COMPRESSION;
    case ExrCompression::kB44:
      return Imf::B44_COMPRESSION;
    case ExrCompression::kB44a:
      return Imf::B44A_COMPRESSION;
    case ExrCompression::kDwaa:
      return Imf::DWAA_COMPRESSION;
    case ExrCompression::kDwab:
      return Imf::DWAB_COMPRESSION;
  }
  return Imf::ZIP_COMPRESSION;
}

Imf::PixelType TypeOf(const ExrChannel& channel) {
  if (std::holds_alternative<std::span<const uint32_t>>(channel.samples)) return Imf::UINT;
  return channel.half ? Imf::HALF : Imf::FLOAT;
}

Imf::Header MakeHeader(int width, int height, std::span<const ExrChannel> channels,
                       ExrCompression compression) {
  Imf::Header header(width, height, 1, Imath::V2f(0, 0), 1, Imf::INCREASING_Y, CompressionOf(compression));
  for (const ExrChannel& channel : channels)
    header.channels().insert(channel.name, Imf::Channel(TypeOf(channel)));
  Imf::addChromaticities(header, Imf::Chromaticities());
  header.insert("software", Imf::StringAttribute("Kiln"));
  return header;
}

Halves ToHalves(std::span<const float> samples, size_t stride, size_t count) {
  Halves halves(count);
  for (size_t i = 0; i < count; ++i) {
    const float v = samples[i * stride];
    halves[i] = Imath::half(std::isfinite(v) ? std::clamp(v, -kLargestHalf, kLargestHalf) : v);
  }
  return halves;
}

// What the file reads the channel's samples from. Writing does not change them, though its interface may.
template <class T>
Imf::Slice SliceOf(Imf::PixelType type, const T* samples, size_t stride, int width) {
  auto* base = const_cast<char*>(reinterpret_cast<const char*>(samples));
  return Imf::Slice(type, base, stride * sizeof(T), stride * sizeof(T) * static_cast<size_t>(width));
}

bool AreWhole(std::span<const ExrChannel> channels, size_t count) {
  std::set<std::string> names;
  return !channels.empty() && std::ranges::all_of(channels, [&](const ExrChannel& channel) {
    const size_t size = std::visit([](const auto& samples) { return samples.size(); }, channel.samples);
    return channel.stride > 0 && size > (count - 1) * channel.stride && !channel.name.empty() &&
           names.insert(channel.name).second;
  });
}

}  // namespace

bool EncodeExrLayers(int width, int height, std::span<const ExrChannel> channels, ExrCompression compression,
                     Bytes* out, std::string* error) try {
  out->clear();
  if (width <= 0 || height <= 0) return Fail(error, "the picture has no pixels");
  const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
  if (!AreWhole(channels, count)) return Fail(error, "the channels are not whole or not told apart");
  Imf::FrameBuffer frame;
  std::vector<Halves> halves;
  halves.reserve(channels.size());
  for (const ExrChannel& channel : channels) {
    const Imf::PixelType type = TypeOf(channel);
    if (const auto* integers = std::get_if<std::span<const uint32_t>>(&channel.samples)) {
      frame.insert(channel.name, SliceOf(type, integers->data(), channel.stride, width));
      continue;
    }
    const auto& floats = std::get<std::span<const float>>(channel.samples);
    if (channel.half) {
      halves.push_back(ToHalves(floats, channel.stride, count));
      frame.insert(channel.name, SliceOf(type, halves.back().data(), 1, width));
    } else {
      frame.insert(channel.name, SliceOf(type, floats.data(), channel.stride, width));
    }
  }
  ExrOutput stream(out);
  Imf::OutputFile file(stream, MakeHeader(width, height, channels, compression), 0);
  file.setFrameBuffer(frame);
  file.writePixels(height);
  return true;
} catch (const std::bad_alloc&) {
  return Fail(error, kOutOfMemory);
} catch (const std::exception& failure) {
  return Fail(error, std::string("the EXR encoder failed: ") + failure.what());
}

}  // namespace kiln::engine::image
