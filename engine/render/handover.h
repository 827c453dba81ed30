// What a library without the thread sanitizer puts in order, told to the sanitizer; nothing in other builds.
#pragma once

#ifdef KILN_THREAD_SANITIZER
#include <sanitizer/tsan_interface.h>
#endif

namespace kiln::engine::render {

// Work that is handed from one thread to others and back: what happens before it is made is seen by every
// piece, and what the pieces do is seen after its end. On the stack of the one who waits for the pieces.
class Handover {
 public:
#ifdef KILN_THREAD_SANITIZER
  Handover() {
    __tsan_release(&out_);
  }
  ~Handover() {
    __tsan_acquire(&back_);
  }
#else
  Handover() = default;
#endif
  Handover(const Handover&) = delete;
  Handover& operator=(const Handover&) = delete;

  // Around one piece, on the thread that does it.
  class Piece {
   public:
#ifdef KILN_THREAD_SANITIZER
    explicit Piece(Handover& of) : of_(of) {
      __tsan_acquire(&of_.out_);
    }
    ~Piece() {
      __tsan_release(&of_.back_);
    }
#else
    explicit Piece(Handover& of) : of_(of) {}
#endif
    Piece(const Piece&) = delete;
    Piece& operator=(const Piece&) = delete;

   private:
    [[maybe_unused]] Handover& of_;
  };

 private:
  // Two addresses, so that one piece is not taken to come before another.
  [[maybe_unused]] char out_ = 0;
  [[maybe_unused]] char back_ = 0;
};

}  // namespace kiln::engine::render
