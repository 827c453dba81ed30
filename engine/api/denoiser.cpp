// The denoiser's runs and its one kept result.
#include "engine/api/denoiser.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <thread>

#include "engine/api/guard.h"
#include "engine/render/denoise.h"

namespace kiln::engine::api {

using ResultPtr = std::shared_ptr<const image::Image>;
using StopPtr = std::shared_ptr<std::atomic<bool>>;

namespace {

// Waits for a thread that has left its work or soon will; it can't wait for itself.
void Leave(std::thread thread) {
  if (!thread.joinable()) return;
  if (thread.get_id() == std::this_thread::get_id()) {
    thread.detach();
  } else {
    thread.join();
  }
}

}  // namespace

struct Denoiser::State {
  std::mutex mutex;
  // Of the runs that begin now; an interrupt sets it and leaves another for those that come after.
  StopPtr stop = std::make_shared<std::atomic<bool>>(false);
  std::thread thread;
  bool running = false;  // the thread is at work
  bool closed = false;
  // The last result, and what it was made of.
  const render::Film* film = nullptr;
  uint64_t version = 0;
  float strength = 0;
  ResultPtr result;

  // For a run that begins now.
  StopPtr Begin() {
    const std::lock_guard lock(mutex);
    return stop;
  }
  ResultPtr Find(const FilmPtr& of, float at_strength, int threads, const StopPtr& interrupt);
  image::ImagePtr Run(const FilmPtr& of, float at_strength, int threads, const StopPtr& interrupt) {
    const ResultPtr found = Find(of, at_strength, threads, interrupt);
    return image::ImagePtr(found ? image::Clone(*found) : nullptr);
  }
};

ResultPtr Denoiser::State::Find(const FilmPtr& of, float at_strength, int threads, const StopPtr& interrupt) {
  // Before the frame is read: what comes later makes the result an old one.
  const uint64_t now = of->version();
  {
    const std::lock_guard lock(mutex);
    if (result && film == of.get() && version == now && strength == at_strength) return result;
    if (closed || *interrupt) return nullptr;
  }
  const auto picture = render::ReadNoisyPicture(*of);
  if (!picture) return nullptr;
  image::ImagePtr made(image::CreateUnfilled(picture->width, picture->height));
  if (!made || !render::Denoise(*picture, at_strength, threads, *interrupt, made->pixels())) return nullptr;
  ResultPtr fresh(made.release(), image::ImageDeleter());
  const std::lock_guard lock(mutex);
  film = of.get();
  version = now;
  strength = at_strength;
  result = fresh;
  return fresh;
}

Denoiser::Denoiser() : state_(std::make_shared<State>()) {}

image::ImagePtr Denoiser::Run(const FilmPtr& film, float strength, int threads) {
  return state_->Run(film, strength, threads, state_->Begin());
}

bool Denoiser::Read(const FilmPtr& film, float strength, const render::Bucket& part, float* rgba) {
  const ResultPtr found = state_->Find(film, strength, 0, state_->Begin());
  // The frame may have got another size since the part was chosen.
  if (!found || part.x + part.width > found->width || part.y + part.height > found->height) return false;
  for (int y = 0; y < part.height; ++y) {
    std::memcpy(rgba + size_t{4} * part.width * y, found->row(part.y + y) + size_t{4} * part.x,
                size_t{16} * part.width);
  }
  return true;
}

bool Denoiser::Start(FilmPtr film, float strength, int threads, Done done) {
  std::thread last;
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->running || state_->closed) return false;
    last = std::move(state_->thread);
    state_->thread = std::thread([state = state_, interrupt = state_->stop, film = std::move(film), strength,
                                  threads, done = std::move(done)]() mutable {
      auto image =
          Guarded<image::ImagePtr>(nullptr, [&] { return state->Run(film, strength, threads, interrupt); });
      film.reset();
      {
        // Before `done`, so that who is told can ask again.
        const std::lock_guard end(state->mutex);
        state->running = false;
      }
      done(std::move(image));
    });
    state_->running = true;
  }
  Leave(std::move(last));
  return true;
}

void Denoiser::Interrupt() {
  const std::lock_guard lock(state_->mutex);
  *state_->stop = true;
  state_->stop = std::make_shared<std::atomic<bool>>(false);
}

void Denoiser::Close() {
  Interrupt();
  std::thread last;
  {
    const std::lock_guard lock(state_->mutex);
    state_->closed = true;
    last = std::move(state_->thread);
  }
  Leave(std::move(last));
}

}  // namespace kiln::engine::api
