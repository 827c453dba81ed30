// Saving what the window shows, with the render elements beside it or inside the same file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "engine/image/image.h"
#include "engine/render/elements.h"

namespace kiln::engine::window {

struct SaveOptions {
  bool multiple_files = false;
  bool skip_alpha = false;
  bool no_alpha = false;
  bool single_channel = false;
  bool skip_rgb = false;
  bool write_integer_ids = false;
  bool velocity_zero_based = false;
  bool multi_channel = false;
  int compression = 0;  // an image::ExrCompression; 0 leaves it to the writer
  int bits = 32;
  std::optional<int> frame{};  // put into the names
};

// Numbers that cross the boundary never change.
enum class SaveStatus : int32_t {
  kSaved = 0,
  kNoRenderer = 1,
  kNoPicture = 2,  // nothing is shown, or not the element that is to be saved
  kFileType = 3,   // no format has this ending
  kBadOptions =
      4,  // no such depth or compression, many channels in a format that has none, or nothing left to save
  kNotWritten = 5,
};

// A render element under the name that it has in files.
struct SavedElement {
  std::string name;
  render::ElementType type{};
  render::ElementPixels pixels;
};

// A linear premultiplied picture and the elements of the same size, in the order in which they are written.
// With `single_channel` the first element is what is shown, and the picture when there is none. `*error` gets
// the sentence for the log when it is not saved. Any thread. Each file is written whole or not at all; those
// before one that fails stay.
SaveStatus Save(const std::filesystem::path& file, const image::Image& picture,
                std::vector<SavedElement> elements, const SaveOptions& options, std::string* error);

}  // namespace kiln::engine::window
