// OpenEXR: scan lines or tiles in any packing, one part, not deep.
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfInputFile.h>
#include <ImfRgbaFile.h>
#include <ImfThreading.h>
#include <ImfVersion.h>

#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <vector>

#include "engine/image/byte_order.h"
#include "engine/image/codec.h"
#include "engine/image/codec_failure.h"
#include "engine/image/operations.h"

namespace kiln::engine::image {
namespace {

using Bytes = std::span<const std::byte>;

class MemoryInput : public Imf::IStream {
 public:
  explicit MemoryInput(Bytes bytes) : IStream("image"), bytes_(bytes) {}
  bool read(char to[], int size) override {
    if (size < 0 || position_ > bytes_.size() || static_cast<size_t>(size) > bytes_.size() - position_) {
      throw std::runtime_error("it ends too early");
    }
    std::memcpy(to, bytes_.data() + position_, static_cast<size_t>(size));
    position_ += static_cast<size_t>(size);
    return position_ < bytes_.size();
  }
  uint64_t tellg() override { return position_; }
  void seekg(uint64_t position) override { position_ = static_cast<size_t>(position); }

 private:
  Bytes bytes_;
  size_t position_ = 0;
};

struct Box {
  int64_t x, y, width, height;
};
Box ToBox(const Imath::Box2i& box) {
  return {box.min.x, box.min.y, int64_t{box.max.x} - box.min.x + 1, int64_t{box.max.y} - box.min.y + 1};
}

// Where colour and coverage are found; an empty name is a channel that the file lacks.
struct Channels {
  std::string red, green, blue, alpha;
  bool chroma = false;  // luminance with subsampled colour differences
};

bool Find(const Imf::ChannelList& list, const std::string& prefix, Channels& found) {
  const auto has = [&](const char* name) { return list.findChannel(prefix + name) != nullptr; };
  if (has("R") && has("G") && has("B")) {
    found = {prefix + "R", prefix + "G", prefix + "B", {}, false};
  } else if (has("Y")) {
    found = {prefix + "Y", prefix + "Y", prefix + "Y", {}, prefix.empty() && has("RY") && has("BY")};
  } else {
    return false;
  }
  if (has("A")) found.alpha = prefix + "A";
  return true;
}

// The channels without a layer, else those of the first layer that has colour, else any single channel as
// grey.
bool Choose(const Imf::ChannelList& list, Channels& found) {
  if (Find(list, "", found)) return true;
  for (auto channel = list.begin(); channel != list.end(); ++channel) {
    const std::string name = channel.name();
    const size_t dot = name.rfind('.');
    if (dot != std::string::npos && Find(list, name.substr(0, dot + 1), found)) return true;
  }
  if (list.begin() == list.end()) return false;
  const std::string only = list.begin().name();
  found = {only, only, only, {}, false};
  return true;
}

// The header is read by itself first: opening a file takes memory for what the header promises.
bool CheckHeader(Bytes bytes, Box& data, Box& display, std::string* error) {
  if (bytes.size() < 8 || Little32(bytes, 0) != static_cast<uint32_t>(Imf::MAGIC)) {
    return Fail(error, "the bytes are not an EXR");
  }
  const auto version = static_cast<int>(Little32(bytes, 4));
  if (Imf::isMultiPart(version))
    return Fail(error, "an EXR of several parts cannot be read, only one of a single part");
  if (Imf::isNonImage(version)) return Fail(error, "a deep EXR cannot be read, only a flat one");
  MemoryInput stream(bytes);
  stream.seekg(8);
  Imf::Header header;
  int read_version = version;
  header.readFrom(stream, read_version);
  data = ToBox(header.dataWindow());
  display = ToBox(header.displayWindow());
  return true;
}

void ReadRgb(Imf::InputFile& file, const Channels& channels, const Box& data, Image& image) {
  const std::string* names[4] = {&channels.red, &channels.green, &channels.blue, &channels.alpha};
  const size_t stride = static_cast<size_t>(image.width) * 4 * sizeof(float);
  const Imf::ChannelList& list = file.header().channels();
  Imf::FrameBuffer frame;
  for (size_t c = 0; c < 4; ++c) {
    const bool repeated = c > 0 && c < 3 && *names[c] == *names[0];
    if (names[c]->empty() || repeated) continue;
    const Imf::Channel* channel = list.findChannel(*names[c]);
    if (!channel || channel->xSampling != 1 || channel->ySampling != 1) {
      throw std::runtime_error("its channels differ in resolution");
    }
    const Imath::V2i origin(static_cast<int>(data.x), static_cast<int>(data.y));
    frame.insert(*names[c], Imf::Slice::Make(Imf::FLOAT, image.pixels() + c, origin, data.width, data.height,
                                             4 * sizeof(float), stride));
  }
  file.setFrameBuffer(frame);
  file.readPixels(static_cast<int>(data.y), static_cast<int>(data.y + data.height - 1));

  const bool grey = channels.green == channels.red;
  float* pixel = image.pixels();
  for (size_t i = 0; i < image.pixel_count(); ++i, pixel += 4) {
    if (grey) pixel[1] = pixel[2] = pixel[0];
    if (channels.alpha.empty()) pixel[3] = 1;
  }
}

// OpenEXR's own reader rebuilds colour from luminance and colour differences, in half precision.
void ReadChroma(Bytes bytes, const Box& data, Image& image) {
  MemoryInput stream(bytes);
  Imf::RgbaInputFile file(stream, 0);
  std::vector<Imf::Rgba> row(static_cast<size_t>(image.width));
  for (int y = 0; y < image.height; ++y) {
    const int line = static_cast<int>(data.y) + y;
    // OpenEXR addresses pixels by their place in the data window, so the base lies where column 0 would be.
    const auto base =
        reinterpret_cast<intptr_t>(row.data()) - data.x * static_cast<int64_t>(sizeof(Imf::Rgba));
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a pointer outside its array may not be made by arithmetic.
    file.setFrameBuffer(reinterpret_cast<Imf::Rgba*>(base), 1, 0);
    file.readPixels(line);
    float* to = image.row(y);
    for (const Imf::Rgba& pixel : row) {
      const float rgba[4] = {pixel.r, pixel.g, pixel.b, pixel.a};
      std::memcpy(to, rgba, sizeof rgba);
      to += 4;
    }
  }
}

// The data window put where it belongs in the display window; both are usually the same.
Image* Placed(ImagePtr image, const Box& data, const Box& display, std::string* error) {
  const bool same = data.x == display.x && data.y == display.y && data.width == display.width &&
                    data.height == display.height;
  if (same) return image.release();
  ImagePtr whole = CreateDecoded(display.width, display.height, 1, false, error);
  if (!whole) return nullptr;
  std::memset(whole->pixels(), 0, whole->bytes - sizeof(Image));
  const int64_t x = data.x - display.x;
  const int64_t y = data.y - display.y;
  if (x != static_cast<int>(x) || y != static_cast<int>(y)) return whole.release();
  Draw(*whole, *image, static_cast<int>(x), static_cast<int>(y), static_cast<int>(DrawMode::kCopy));
  return whole.release();
}

Image* Read(Bytes bytes, std::string* error) {
  Box data{}, display{};
  if (!CheckHeader(bytes, data, display, error)) return nullptr;
  ImagePtr image = CreateDecoded(data.width, data.height, 1, false, error);
  if (!image) return nullptr;
  // The table of chunks alone takes eight bytes for every 256 rows.
  if (!Plausible(static_cast<uint64_t>(data.height), bytes.size(), 32)) {
    return FailImage(error, "the EXR ends before its picture does");
  }
  MemoryInput stream(bytes);
  Imf::InputFile file(stream, 0);
  Channels channels;
  if (!Choose(file.header().channels(), channels)) return FailImage(error, "the EXR has no channels");
  if (channels.chroma) {
    ReadChroma(bytes, data, *image);
  } else {
    ReadRgb(file, channels, data, *image);
  }
  return Placed(std::move(image), data, display, error);
}

}  // namespace

Image* DecodeExr(std::span<const std::byte> bytes, std::string* error) try {
  // Threads of OpenEXR's own would outlive the library when the host unloads it.
  Imf::setGlobalThreadCount(0);
  return Read(bytes, error);
} catch (const std::bad_alloc&) {
  return FailImage(error, kOutOfMemory);
} catch (const std::exception& failure) {
  return FailImage(error, std::string("the EXR cannot be read: ") + failure.what());
}

}  // namespace kiln::engine::image
