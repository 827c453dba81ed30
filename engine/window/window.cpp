// The window's documents under their lock.
#include "engine/window/window.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <set>
#include <utility>

#include "engine/image/codec.h"
#include "engine/image/file_output.h"
#include "engine/image/transfer.h"

namespace kiln::engine::window {
namespace {

namespace fs = std::filesystem;

constexpr uintmax_t kLargestDocument = 64 << 20;

// Linear and premultiplied, as a render leaves its pixels.
void MakeLikeARender(image::Image& picture) {
  float* pixel = picture.pixels();
  for (size_t i = 0; i < picture.pixel_count(); ++i, pixel += 4) {
    for (int c = 0; c < 3; ++c) {
      pixel[c] = image::ToLinear(pixel[c], picture.gamma) * (picture.straight_alpha != 0 ? pixel[3] : 1);
    }
  }
  picture.gamma = 1;
  picture.straight_alpha = 0;
}

std::shared_ptr<const image::Image> Decode(const fs::path& file) {
  image::ImagePtr picture(image::DecodeFile(file));
  if (picture) MakeLikeARender(*picture);
  return {std::move(picture)};
}

std::optional<Json> ReadDocument(const fs::path& file) {
  std::error_code failed;
  const uintmax_t size = fs::file_size(file, failed);
  if (failed || size > kLargestDocument) return std::nullopt;
  std::ifstream in(file, std::ios::binary);
  std::string text(static_cast<size_t>(size), '\0');
  if (!in.read(text.data(), static_cast<std::streamsize>(size))) return std::nullopt;
  return ParseDocument(text);
}

// Whether it can be written as JSON: texts may be no UTF-8.
bool IsWritable(const Json& value) {
  try {
    (void)value.dump();
    return true;
  } catch (const Json::exception&) {
    return false;
  }
}

bool IsHistory(const Json& pictures) {
  return pictures.is_array() && std::ranges::all_of(pictures, [](const Json& picture) {
           return picture.is_object() && picture.contains("file") && picture.at("file").is_string();
         });
}

std::string Utf8(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

void Shorten(Json* list, size_t most) {
  if (list->size() > most) list->erase(list->begin(), list->end() - static_cast<ptrdiff_t>(most));
}

}  // namespace

Window::Window() : settings_(DefaultSettings()), layers_(DefaultLayers()), history_(Json::array()) {}

bool Window::Set(const char* section, const char* key, Json value) {
  if (!IsWritable(value)) return false;
  return SetDocuments(Json{{section, {{key, std::move(value)}}}}, std::nullopt);
}

Rectangle Window::rectangle() const {
  const std::lock_guard lock(mutex_);
  const Json& window = settings_.at("window");
  return {window.at("x"), window.at("y"), window.at("width"), window.at("height")};
}

bool Window::SetRectangle(const Rectangle& rectangle) {
  const Json window = {
      {"x", rectangle.x}, {"y", rectangle.y}, {"width", rectangle.width}, {"height", rectangle.height}};
  return SetDocuments(Json{{"window", window}}, std::nullopt);
}

bool Window::SetProgress(std::optional<std::string_view> text, std::optional<float> value) {
  Json progress = Json::object();
  if (text) progress["text"] = *text;
  if (value) {
    if (std::isnan(*value)) return false;
    progress["value"] = *value < 0 ? -1.0 : std::min<double>(*value, 1);
  }
  return IsWritable(progress) && SetDocuments(Json{{"progress", std::move(progress)}}, std::nullopt);
}

const char* Window::SettingsText() {
  const std::lock_guard lock(mutex_);
  settings_text_ = settings_.dump();
  return settings_text_.c_str();
}

const char* Window::LayersText() {
  const std::lock_guard lock(mutex_);
  layers_text_ = layers_.dump();
  return layers_text_.c_str();
}

Json Window::settings() const {
  const std::lock_guard lock(mutex_);
  return settings_;
}

Json Window::layers() const {
  const std::lock_guard lock(mutex_);
  return layers_;
}

bool Window::SetSettings(std::string_view json) {
  const auto document = ParseDocument(json);
  return document && SetDocuments(document, std::nullopt);
}

bool Window::SetLayers(std::string_view json) {
  const auto document = ParseDocument(json);
  return document && SetDocuments(std::nullopt, document);
}

bool Window::SetDocuments(const std::optional<Json>& settings, const std::optional<Json>& layers) {
  const std::lock_guard lock(mutex_);
  auto new_settings = settings ? MergeSettings(settings_, *settings) : settings_;
  auto new_layers = layers ? MergeLayers(layers_, *layers) : layers_;
  if (!new_settings || !new_layers) return false;
  settings_ = std::move(*new_settings);
  layers_ = std::move(*new_layers);
  Shorten(&history_, settings_.at("history").at("maxPictures").get<size_t>());
  return true;
}

std::vector<std::byte> Window::State(StateKind kind) const {
  const std::lock_guard lock(mutex_);
  if (kind == StateKind::kHistory) return PackState(kind, {{"history", history_}});
  Json settings = settings_;
  settings.erase("progress");  // of one run
  Json state = {{"settings", std::move(settings)}, {"layers", layers_}};
  if (kind == StateKind::kPersistent) state["history"] = history_;
  return PackState(kind, state);
}

bool Window::SetState(StateKind kind, std::span<const std::byte> bytes) {
  const auto state = UnpackState(kind, bytes);
  return state && Restore(kind, *state);
}

bool Window::Restore(StateKind kind, const Json& state) {
  const std::lock_guard lock(mutex_);
  Json settings = settings_;
  Json layers = layers_;
  Json history = history_;
  if (kind != StateKind::kHistory) {
    Json start = DefaultSettings();
    start["progress"] = settings_.at("progress");
    auto new_settings = MergeSettings(start, state.value("settings", Json()));
    auto new_layers = MergeLayers(DefaultLayers(), state.value("layers", Json()));
    if (!new_settings || !new_layers) return false;
    settings = std::move(*new_settings);
    layers = std::move(*new_layers);
  }
  if (kind != StateKind::kMain) {
    history = state.value("history", Json());
    if (!IsHistory(history)) return false;
  }
  Shorten(&history, settings.at("history").at("maxPictures").get<size_t>());
  settings_ = std::move(settings);
  layers_ = std::move(layers);
  history_ = std::move(history);
  return true;
}

void Window::Reset() {
  const std::lock_guard lock(mutex_);
  settings_ = DefaultSettings();
  layers_ = DefaultLayers();
  history_ = Json::array();
}

fs::path Window::Locate(const fs::path& file) const {
  std::error_code failed;
  const fs::path project(reinterpret_cast<const char8_t*>(Get<std::string>("title", "projectPath").c_str()));
  if (project.empty() || file.is_absolute() || fs::exists(file, failed)) return file;
  const fs::path beside = (fs::is_directory(project, failed) ? project : project.parent_path()) / file;
  return fs::exists(beside, failed) ? beside : file;
}

bool Window::LoadPreset(const fs::path& file) {
  const auto preset = ReadDocument(Locate(file));
  if (!preset || !preset->contains("layers")) return false;
  return SetDocuments(std::nullopt, Json{{"layers", preset->at("layers")}});
}

bool Window::SavePreset(const fs::path& file) const {
  const std::string text = Json{{"version", 1}, {"layers", layers().at("layers")}}.dump(2) + '\n';
  return image::WriteFileWhole(file, std::as_bytes(std::span(text)));
}

bool Window::LoadDocuments(const fs::path& file) {
  const auto documents = ReadDocument(Locate(file));
  if (!documents) return false;
  std::optional<Json> settings;
  std::optional<Json> layers;
  if (documents->contains("settings")) settings = documents->at("settings");
  if (documents->contains("layers")) layers = Json{{"layers", documents->at("layers")}};
  return (settings || layers) && SetDocuments(settings, layers);
}

bool Window::LoadPicture(const fs::path& file, uint64_t render) {
  const fs::path found = Locate(file);
  auto picture = Decode(found);
  if (!picture) return false;
  Json entry = {{"file", Utf8(found)}, {"width", picture->width}, {"height", picture->height}};
  Show(std::move(picture), render);
  const std::lock_guard lock(mutex_);
  const Json& rules = settings_.at("history");
  if (rules.at("enabled").get<bool>() && IsWritable(entry)) history_.push_back(std::move(entry));
  Shorten(&history_, rules.at("maxPictures").get<size_t>());
  return true;
}

bool Window::LoadBackground(const fs::path& file) {
  const fs::path found = Locate(file);
  return Decode(found) && Set("display", "background", Utf8(found));
}

void Window::Clear(uint64_t render) {
  Show(nullptr, render);
}

void Window::Show(std::shared_ptr<const image::Image> picture, uint64_t render) {
  const std::lock_guard lock(mutex_);
  replaced_ = true;
  replaced_render_ = render;
  picture_ = std::move(picture);
}

Shown Window::ShownAfter(uint64_t render) const {
  const std::lock_guard lock(mutex_);
  if (!replaced_ || replaced_render_ != render) return {};
  return {false, picture_};
}

bool Window::SetMenu(std::vector<MenuItem> items) {
  std::set<int32_t> ids;
  for (const MenuItem& item : items) {
    if (!ids.insert(item.id).second) return false;
  }
  const std::lock_guard lock(mutex_);
  menu_ = std::move(items);
  return true;
}

bool Window::SetMenuValue(int32_t id, int32_t value) {
  const std::lock_guard lock(mutex_);
  const auto item = std::ranges::find(menu_, id, &MenuItem::id);
  if (item == menu_.end()) return false;
  item->value = value;
  return true;
}

std::optional<int32_t> Window::MenuValue(int32_t id) const {
  const std::lock_guard lock(mutex_);
  const auto item = std::ranges::find(menu_, id, &MenuItem::id);
  return item == menu_.end() ? std::nullopt : std::optional(item->value);
}

}  // namespace kiln::engine::window
