// A renderer's denoiser: filters the frame when it is asked to, here or on a thread of its own, and keeps the
// last result as long as the frame stays what it was.
#pragma once

#include <functional>
#include <memory>

#include "engine/image/image.h"
#include "engine/render/film.h"

namespace kiln::engine::api {

// All methods may be called from any thread.
class Denoiser {
 public:
  Denoiser();
  ~Denoiser() { Close(); }
  Denoiser(const Denoiser&) = delete;
  Denoiser& operator=(const Denoiser&) = delete;

  using FilmPtr = std::shared_ptr<const render::Film>;
  using Done = std::function<void(image::ImagePtr)>;

  // The frame without its noise; null when there is none, without memory, or interrupted.
  image::ImagePtr Run(const FilmPtr& film, float strength, int threads = 0);
  // A part of it, four floats a pixel; false as above.
  bool Read(const FilmPtr& film, float strength, const render::Bucket& part, float* rgba);
  // The same as Run on a thread of its own, which calls `done` once, with null when it failed. False, and
  // nobody is called, while another such run is under way or after Close.
  bool Start(FilmPtr film, float strength, int threads, Done done);

  // What runs now ends without a result, soon. Does not wait.
  void Interrupt();
  // The same, and waits, but for a `done` that calls it.
  void Close();

 private:
  // What a thread needs even when its `done` ends the denoiser.
  struct State;

  std::shared_ptr<State> state_;
};

}  // namespace kiln::engine::api
