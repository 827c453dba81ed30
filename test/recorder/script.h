// What a test has scripted: the answers of the entry points and the gates that they wait at.
#ifndef KILN_TEST_RECORDER_SCRIPT_H_
#define KILN_TEST_RECORDER_SCRIPT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "callbacks.h"
#include "memory.h"

namespace recorder {

// A word that an answer gives: a number as it stands, or the address of something made for it.
struct Value {
  enum class Kind { kBits, kBlock, kImage, kVector, kHandle };
  Kind kind = Kind::kBits;
  uint64_t bits = 0;
  Memory memory;  // of kBlock; the block comes from the recorder's allocator
  int32_t width = 0;
  int32_t height = 0;
  std::vector<std::string> texts;  // of kVector
  std::string handle_kind;         // of kHandle
};

// Writes into the memory that argument `argument` points to, at `offset`, or, with `through`, into the memory
// that the pointer found there points to. A null pointer on the way leaves the write out.
struct Out {
  int argument = 0;
  uint64_t offset = 0;
  bool through = false;
  std::string bytes;           // written as they are, unless
  std::optional<Value> value;  // a word stands here
};

// The end of a denoise request: its completion is called with a new image, or with null for no size.
struct Completion {
  int32_t width = 0;
  int32_t height = 0;
  double delay = 0;
  bool same_thread = false;
};

struct Answer {
  std::optional<Value> result;  // none: what the recorder answers by itself
  std::vector<Out> outs;
  double delay = 0;  // milliseconds, before anything else
  std::string gate;  // waits, after the delay, until it is open
  std::vector<RaiseRequest> raises;
  bool wait_for_raises = true;
  // Asked for on the calling thread; the first name may be a null pointer.
  std::vector<std::pair<std::optional<std::string>, std::string>> filter;
  bool keep = false;  // scene buffers and kept lists stay until they are released by a command
  std::optional<Completion> completion;
};

void SetAnswer(int row, const Answer& answer);
void QueueAnswer(int row, const Answer& answer);
void ClearAnswers(int row);
Answer TakeAnswer(int row);
size_t QueuedAnswers(int row);

// The word of a value, with everything made that it needs.
uint64_t Make(const Value& value, const std::string& origin);

void OpenGate(const std::string& gate);
void CloseGate(const std::string& gate);
void OpenAllGates();  // and lets every later wait through
int WaitingAt(const std::string& gate);
void WaitAt(const std::string& gate);

}  // namespace recorder

#endif
