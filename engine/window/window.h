// The frame-buffer window without a screen: all that a host can set on it and read back, and the picture that
// it shows in place of a render.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/image/image.h"
#include "engine/window/state_blob.h"

namespace kiln::engine::window {

struct Rectangle {
  int x = 0, y = 0, width = 0, height = 0;
};

struct MenuItem {
  int32_t id = 0;
  int32_t type = 0;
  int32_t value = 0;
  bool enabled = true;
  std::string text;
};

// What the window shows. Not a render: a picture that was loaded, or nothing after it was cleared.
struct Shown {
  bool render = true;
  std::shared_ptr<const image::Image> picture;
};

// All methods may be called from any thread. Those that answer bool change nothing when they answer false;
// they throw std::bad_alloc only.
class Window {
 public:
  Window();

  // One value of the settings. `Set` is false for a value that the settings may not hold, invalid UTF-8
  // included.
  template <class T>
  T Get(const char* section, const char* key) const {
    const std::lock_guard lock(mutex_);
    return settings_.at(section).at(key).template get<T>();
  }
  bool Set(const char* section, const char* key, Json value);

  Rectangle rectangle() const;
  bool SetRectangle(const Rectangle& rectangle);
  // Values below 0 mean that nothing is measured, those above 1 are 1; NaN is refused.
  bool SetProgress(std::optional<std::string_view> text, std::optional<float> value);

  // As texts, which stay until the same document is asked for again.
  const char* SettingsText();
  const char* LayersText();
  Json settings() const;
  Json layers() const;
  bool SetSettings(std::string_view json);
  bool SetLayers(std::string_view json);
  // Both at once, or neither; nothing leaves one as it is.
  bool SetDocuments(const std::optional<Json>& settings, const std::optional<Json>& layers);

  std::vector<std::byte> State(StateKind kind) const;
  bool SetState(StateKind kind, std::span<const std::byte> bytes);
  // Everything as it is in a new window, but for what is shown.
  void Reset();

  // Layers as a file. Relative names are looked for beside the project when they are not there otherwise.
  bool LoadPreset(const std::filesystem::path& file);
  bool SavePreset(const std::filesystem::path& file) const;
  // Settings, layers or both, in a file.
  bool LoadDocuments(const std::filesystem::path& file);

  // Shows a picture file until the render has gone on from `render`, a number that is another one after every
  // change of its pixels. False when it cannot be decoded.
  bool LoadPicture(const std::filesystem::path& file, uint64_t render);
  bool LoadBackground(const std::filesystem::path& file);
  // Shows nothing until then.
  void Clear(uint64_t render);
  Shown ShownAfter(uint64_t render) const;

  // False when two items have one number.
  bool SetMenu(std::vector<MenuItem> items);
  bool SetMenuValue(int32_t id, int32_t value);
  std::optional<int32_t> MenuValue(int32_t id) const;

 private:
  std::filesystem::path Locate(const std::filesystem::path& file) const;
  void Show(std::shared_ptr<const image::Image> picture, uint64_t render);
  bool Restore(StateKind kind, const Json& state);

  mutable std::mutex mutex_;
  Json settings_;
  Json layers_;
  Json history_;  // of the pictures that were loaded, the last one last
  std::string settings_text_;
  std::string layers_text_;
  bool replaced_ = false;
  uint64_t replaced_render_ = 0;  // what stood in the window before
  std::shared_ptr<const image::Image> picture_;
  std::vector<MenuItem> menu_;
};

}  // namespace kiln::engine::window
