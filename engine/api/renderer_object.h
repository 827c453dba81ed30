// A renderer: one scene, one render of it at a time, the events of that render, and the settings that the
// host gives beside the scene.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "engine/api/denoiser.h"
#include "engine/api/errors.h"
#include "engine/api/event_queue.h"
#include "engine/formats/loader.h"
#include "engine/image/image.h"
#include "engine/render/picker.h"
#include "engine/render/sequence.h"
#include "engine/render/session.h"
#include "engine/scene/scene.h"
#include "engine/utilities/host_list.h"
#include "engine/window/window.h"
#include "entry_points.h"

namespace kiln::engine::api {

inline constexpr int kUserDataSlots = 16;

struct ImageSize {
  int width = 640;
  int height = 480;
};

// What the host sets on the renderer itself. Guarded by the renderer.
struct Settings {
  render::Mode mode = render::Mode::kProduction;
  int threads = 0;
  ImageSize size{};  // where the scene says nothing
  std::optional<KilnRenderRegion> region{};
  std::optional<KilnCropRegion> crop{};
  scene::PluginId camera = scene::kNoPlugin;  // by ID; before the name
  std::optional<std::string> camera_name{};
  double time = 0;  // frames
  bool animate = false;
  // Of interactive renders.
  std::optional<int> interactive_samples{};  // nothing leaves it to the scene; 0 is no limit
  double interactive_seconds = 0;            // 0 leaves it to the scene
  float noise_threshold = 0;
  float update_difference = 0;
  int32_t update_timeout = 0;  // ms
  bool keep_running = false;
  std::vector<std::filesystem::path> include_paths{};
  void* user_data[kUserDataSlots] = {};
};

struct LastError {
  int32_t code = 0;
  std::string file;
  uint32_t line = 0;
  std::string text;
};

// All methods may be called from any thread.
class Renderer {
 public:
  // Null options stand for the defaults; texts are copied.
  explicit Renderer(const KilnRendererOptions* options);
  ~Renderer();
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;

  scene::Scene scene;
  EventQueue events;
  Denoiser denoiser;
  window::Window window;
  HostList hosts;

  // A block of the caller's, its texts inside.
  KilnRendererOptions* CopyOptions() const;

  // Runs the body with the settings under their lock.
  template <class F>
  auto WithSettings(F&& body) {
    const std::lock_guard lock(mutex_);
    return body(settings_);
  }

  // Begins a render; one in progress is stopped first. 0 when it has begun or, with `prepare`, when it is
  // prepared; otherwise the code that is now the last error. Never waits for a callback.
  int32_t Start(bool prepare);
  // Begins the first frame of a sequence; without ranges, of all frames that the scene has key frames for.
  int32_t StartSequence(std::vector<render::FrameRange> ranges);
  // Begins the next frame; false when no sequence waits for it.
  bool ContinueSequence();
  // Ends the render, and its sequence, and waits until it has ended, but for no callback.
  void Stop();
  // True when the render, or the sequence, has ended within the time; negative times wait for ever.
  bool Wait(int32_t milliseconds);
  bool WaitSequence(int32_t milliseconds);
  bool rendering() const;
  bool sequence_ended() const;
  render::State state() const;
  bool SetPaused(bool paused);
  // Buckets near the pixel come next.
  void RenderNearest(int x, int y);
  // Of the render in progress or the last one; nothing before the first.
  std::optional<render::RenderStatistics> Statistics() const;
  // What the render in progress or the last one shows; nothing before the first.
  std::optional<render::SceneView> LastView() const;
  // What picks look at: what the render in progress shows, or else what one would that begins now. Nothing
  // when it cannot be rendered, or is not ready at the deadline.
  std::optional<render::SceneView> View(const render::Deadline& deadline);
  // A copy of the frame as far as it is rendered; null when nothing was.
  image::ImagePtr Snapshot() const;
  // What renders leave their sums on; null before the first.
  std::shared_ptr<const render::Film> Film() const;

  // The scene was edited: an interactive render takes that over, at once or at the next commit.
  void SceneChanged(bool commit);
  // Settings were: an interactive render takes them over at once.
  void SettingsChanged();
  // Hands over what was not yet. The scene's change index.
  uint64_t Commit(bool force);
  uint64_t ChangeIndex() const;

  // Reading: `read` adds scenes to the loader, whose failure need not be looked at. A failure is the last
  // error and a message in the log, and leaves the scene as it was; notes are warnings in the log.
  using Read = std::function<void(formats::Loader&)>;
  formats::LoadError ReplaceScene(const Read& read, const scene::LoadFilter& filter);
  formats::LoadError AppendToScene(const Read& read, const scene::LoadFilter& filter);

  // The size of the image: what the scene's image settings say, or else what the host set.
  ImageSize GetImageSize() const;
  void SetImageSize(ImageSize size);
  // The camera that a render uses: the host's by ID or name, the scene's own, or its first. kNoPlugin: there
  // is none.
  scene::PluginId CurrentCamera() const;

  void SetError(int32_t code);
  LastError GetError() const;
  void ClearError();

  // Whether this renderer wants decoded images kept that nobody shows.
  void KeepBitmaps(bool keep);

  // A pointer to the text that is good for the renderer's life.
  const char* Keep(std::string_view text);

  // Ends renders, callbacks and threads: what was raised is still delivered. Waits for all of it, but from
  // inside a callback, whose thread ends after it.
  void Close();
  // The same for the end of the process: drops events, and gives up what does not end within the limits.
  void Abandon(std::chrono::milliseconds render_limit, std::chrono::milliseconds callback_limit);

 private:
  using SessionPtr = std::shared_ptr<render::Session>;

  SessionPtr session() const;
  enum class Frame { kSingle, kOneOfMany, kLast };

  render::RenderOptions MakeRenderOptions() const;
  bool IsCurrent(const render::SceneView& view, const render::RenderOptions& options) const;
  render::Picker& ThePicker();
  int32_t Begin(bool prepare, Frame frame);
  int32_t BeginNextFrame();
  bool EndRender(render::Session& session, std::chrono::milliseconds limit);
  formats::LoadResult Load(scene::Scene& into, const Read& read, const scene::LoadFilter& filter);
  bool Report(const formats::LoadResult& result);
  void FollowScene();

  KilnRendererOptions options_;
  std::optional<std::string> plugin_library_path_;
  std::optional<std::string> window_language_;

  // Held while a render is started, so that two starts do not mix. Taken before mutex_.
  std::mutex start_mutex_;
  render::FrameSequence sequence_;  // guarded by it
  // Guards everything below. Nothing that waits is called with it.
  mutable std::mutex mutex_;
  Settings settings_;
  Frame frame_ = Frame::kSingle;  // what the render in progress is
  LastError error_;
  bool session_error_cleared_ = false;
  bool uncommitted_ = false;
  bool keeps_bitmaps_ = false;
  std::unique_ptr<render::Picker> picker_;
  bool closed_ = false;
  std::unordered_set<std::string> kept_texts_;
  SessionPtr session_;
};

}  // namespace kiln::engine::api
