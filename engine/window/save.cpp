// From pictures and options to files.
#include "engine/window/save.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <string_view>
#include <utility>

#include "engine/image/encode.h"
#include "engine/image/exr_layers.h"
#include "engine/image/file_output.h"

namespace kiln::engine::window {
namespace {

namespace fs = std::filesystem;
using image::Bytes;
using image::ExrChannel;
using render::BinaryFormat;

constexpr size_t kLongestName = 200;  // a channel's name may have 255 bytes

enum class FileType : uint8_t { kExr, kPng, kJpeg, kBmp, kTiff };

std::optional<FileType> TypeOf(const fs::path& file) {
  std::string ending = file.extension().string();
  std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return std::tolower(c); });
  if (ending == ".exr") return FileType::kExr;
  if (ending == ".png") return FileType::kPng;
  if (ending == ".jpg" || ending == ".jpeg") return FileType::kJpeg;
  if (ending == ".bmp") return FileType::kBmp;
  if (ending == ".tif" || ending == ".tiff") return FileType::kTiff;
  return std::nullopt;
}

// A letter for each number that a pixel of the format has.
std::string_view ComponentsOf(BinaryFormat format) {
  switch (format) {
    case BinaryFormat::kSingleFloat:
    case BinaryFormat::kSingleInteger:
      return "Y";
    case BinaryFormat::kTwoSignedFloats:
      return "XY";
    case BinaryFormat::kThreeSignedFloats:
      return "XYZ";
    case BinaryFormat::kThreeFloats:
      return "RGB";
    case BinaryFormat::kFourFloats:
      return "RGBA";
  }
  return "RGBA";
}

// Pixels of four floats, seen as channels. Points into what it was made of.
struct Layer {
  std::string name;  // empty for the picture
  std::string components;
  int width = 0, height = 0;
  std::span<const float> rgba;
  std::span<const uint32_t> integers{};  // in place of the floats
};

std::vector<ExrChannel> ChannelsOf(const Layer& layer, bool in_layers, bool half) {
  std::vector<ExrChannel> channels;
  for (const char component : layer.components) {
    const size_t offset = component == 'A' ? 3 : channels.size();
    const std::string name =
        in_layers && !layer.name.empty() ? layer.name + '.' + component : std::string(1, component);
    if (layer.integers.empty()) {
      channels.push_back({name, layer.rgba.subspan(offset), 4, half});
    } else {
      channels.push_back({name, layer.integers, 1, false});
    }
  }
  return channels;
}

// Names are told apart, and hold nothing that a channel's or a file's name cannot.
void MakeNamesGood(std::vector<SavedElement>* elements) {
  std::set<std::string> taken;
  for (SavedElement& element : *elements) {
    std::string& name = element.name;
    std::ranges::replace_if(
        name,
        [](unsigned char c) {
          return c < 0x20 ||
                 std::string_view("/\\:*?\"<>|").find(static_cast<char>(c)) != std::string_view::npos;
        },
        '_');
    if (name.size() > kLongestName) {
      size_t end = kLongestName;
      while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xc0) == 0x80) --end;
      name.resize(end);
    }
    const std::string first = name;
    for (int i = 2; !taken.insert(name).second; ++i) name = fmt::format("{}_{}", first, i);
  }
}

// Without zero as its base, no motion is one half, as pictures that hold nothing negative want it.
void ShiftVelocity(std::vector<SavedElement>* elements) {
  for (SavedElement& element : *elements) {
    if (element.type != render::ElementType::kVelocity) continue;
    for (size_t i = 0; i < element.pixels.rgba.size(); ++i) {
      float& v = element.pixels.rgba[i];
      if (i % 4 != 3) v = v / 2 + 0.5f;
    }
  }
}

class Writer {
 public:
  Writer(fs::path file, FileType type, const SaveOptions& options, std::string* error)
      : file_(std::move(file)), type_(type), options_(options), error_(error) {}

  bool half() const { return options_.bits != 32; }

  Layer PictureLayer(const image::Image& picture) const {
    std::string components = options_.skip_rgb ? "" : "RGB";
    if (!options_.no_alpha && !options_.skip_alpha) components += 'A';
    return {"",
            std::move(components),
            picture.width,
            picture.height,
            {picture.pixels(), picture.pixel_count() * 4}};
  }

  Layer ElementLayer(const SavedElement& element) const {
    std::string components(ComponentsOf(element.pixels.format));
    if (options_.no_alpha) std::erase(components, 'A');
    Layer layer{element.name, std::move(components), element.pixels.width, element.pixels.height,
                element.pixels.rgba};
    if (options_.write_integer_ids) layer.integers = element.pixels.integers;
    return layer;
  }

  // One file of all layers.
  SaveStatus Together(const std::vector<Layer>& layers) const {
    std::vector<ExrChannel> channels;
    for (const Layer& layer : layers) {
      for (ExrChannel& channel : ChannelsOf(layer, true, half())) channels.push_back(std::move(channel));
    }
    return channels.empty() ? Nothing() : Exr(file_, layers.front(), channels);
  }

  // A file of one layer; `suffix` goes into its name. Under a name of its own, what is no colour and no alpha
  // goes into an EXR file whatever the type of the others, as no picture for a screen holds a depth or a
  // position.
  SaveStatus Alone(const Layer& layer, std::string_view suffix) const {
    if (layer.components.empty()) return Nothing();
    const bool is_color = layer.components.starts_with("RGB") || layer.components == "A";
    const FileType type = is_color || suffix.empty() ? type_ : FileType::kExr;
    fs::path file = file_;
    if (!suffix.empty()) {
      file.replace_extension();
      const std::u8string text(suffix.begin(), suffix.end());
      file += std::u8string(u8".") + text;
      file += type == type_ ? file_.extension() : fs::path(".exr");
    }
    if (type == FileType::kExr) return Exr(file, layer, ChannelsOf(layer, false, half()));
    return Picture(file, layer);
  }

 private:
  SaveStatus Nothing() const {
    *error_ = "The options leave nothing to save.";
    return SaveStatus::kBadOptions;
  }

  SaveStatus Exr(const fs::path& file, const Layer& size, const std::vector<ExrChannel>& channels) const {
    const auto compression = options_.compression == 0
                                 ? image::ExrCompression::kZipBlocks
                                 : static_cast<image::ExrCompression>(options_.compression);
    Bytes bytes;
    std::string why;
    if (!image::EncodeExrLayers(size.width, size.height, channels, compression, &bytes, &why))
      return Failed(why);
    return Write(file, bytes);
  }

  SaveStatus Picture(const fs::path& file, const Layer& layer) const {
    const image::ImagePtr image(image::CreateUnfilled(layer.width, layer.height));
    if (!image) return Failed("there is not enough memory for the image");
    std::ranges::copy(layer.rgba, image->pixels());
    const bool has_alpha = layer.components == "RGBA";
    for (size_t i = 0; i < image->pixel_count(); ++i) {
      float* pixel = image->pixels() + 4 * i;
      if (layer.components == "A") std::fill_n(pixel, 3, pixel[3]);
      if (!has_alpha) pixel[3] = 1;
    }
    // What is no light has no curve.
    if (!layer.components.starts_with("RGB")) image->gamma = image::kDisplayGamma;
    Bytes bytes;
    std::string why;
    return Encode(*image, has_alpha, &bytes, &why) ? Write(file, bytes) : Failed(why);
  }

  bool Encode(const image::Image& image, bool has_alpha, Bytes* bytes, std::string* why) const {
    switch (type_) {
      case FileType::kPng:
        return EncodePng(image, {!has_alpha, options_.bits != 8}, bytes, why);
      case FileType::kBmp:
        return EncodeBmp(image, {!has_alpha, false}, bytes, why);
      case FileType::kTiff:
        return EncodeTiff(image, options_.bits, bytes, why);
      case FileType::kJpeg:
      case FileType::kExr:
        break;
    }
    return EncodeJpeg(image, 0, bytes, why);
  }

  SaveStatus Write(const fs::path& file, const Bytes& bytes) const {
    std::string why;
    return image::WriteFileWhole(file, bytes, &why) ? SaveStatus::kSaved : Failed(why);
  }

  SaveStatus Failed(const std::string& why) const {
    *error_ = fmt::format("The picture was not saved: {}.", why);
    return SaveStatus::kNotWritten;
  }

  fs::path file_;
  FileType type_;
  const SaveOptions& options_;
  std::string* error_;
};

fs::path WithFrame(const fs::path& file, std::optional<int> frame) {
  if (!frame) return file;
  fs::path named = file;
  named.replace_extension();
  named += fmt::format(".{:04}", *frame);
  named += file.extension();
  return named;
}

SaveStatus SaveApart(const Writer& writer, const image::Image& picture,
                     const std::vector<SavedElement>& elements, const SaveOptions& options) {
  Layer shown = writer.PictureLayer(picture);
  SaveStatus status = SaveStatus::kSaved;
  if (!options.skip_rgb) {
    shown.components = options.no_alpha ? "RGB" : "RGBA";
    status = writer.Alone(shown, "");
  }
  const bool has_alpha = std::ranges::any_of(
      elements, [](const SavedElement& element) { return element.type == render::ElementType::kAlpha; });
  if (status == SaveStatus::kSaved && !options.skip_alpha && !options.no_alpha && !has_alpha) {
    shown.components = "A";
    status = writer.Alone(shown, "alpha");
  }
  for (const SavedElement& element : elements) {
    if (status == SaveStatus::kSaved) status = writer.Alone(writer.ElementLayer(element), element.name);
  }
  return status;
}

}  // namespace

SaveStatus Save(const fs::path& file, const image::Image& picture, std::vector<SavedElement> elements,
                const SaveOptions& options, std::string* error) {
  const auto type = TypeOf(file);
  if (!type) {
    *error = "The ending of the file's name is none of .exr, .png, .jpg, .jpeg, .bmp, .tif and .tiff.";
    return SaveStatus::kFileType;
  }
  const bool known_depth = options.bits == 8 || options.bits == 16 || options.bits == 32;
  if (!known_depth || options.compression < 0 || options.compression > 10) {
    *error = "A channel has 8, 16 or 32 bits, and a compression is a number from 0 to 10.";
    return SaveStatus::kBadOptions;
  }
  if (options.multi_channel && *type != FileType::kExr) {
    *error = "Only .exr files hold many channels.";
    return SaveStatus::kBadOptions;
  }
  MakeNamesGood(&elements);
  if (!options.velocity_zero_based) ShiftVelocity(&elements);
  const Writer writer(WithFrame(file, options.frame), *type, options, error);
  if (options.single_channel) {
    return writer.Alone(
        elements.empty() ? writer.PictureLayer(picture) : writer.ElementLayer(elements.front()), "");
  }
  if (options.multi_channel) {
    std::vector<Layer> layers = {writer.PictureLayer(picture)};
    for (const SavedElement& element : elements) layers.push_back(writer.ElementLayer(element));
    return writer.Together(layers);
  }
  if (options.multiple_files) return SaveApart(writer, picture, elements, options);
  return writer.Alone(writer.PictureLayer(picture), "");
}

}  // namespace kiln::engine::window
