// Copies what the arguments of a call point to, so that a test can look at it after the host has freed it.
#ifndef KILN_TEST_RECORDER_CAPTURE_H_
#define KILN_TEST_RECORDER_CAPTURE_H_

#include <cstdint>
#include <string>
#include <vector>

#include "rows.h"

namespace recorder {

struct Item;

// What a field of a record, or a word of a stream, points to.
struct Nested {
  uint64_t offset;          // of the pointer in its record
  char kind;                // 't' text, 'r' run of texts, 'a' plain array, 'i' records
  std::string bytes;        // of the first three kinds; a text is without its NUL, a run keeps all of them
  std::vector<Item> items;  // of the last kind
};

// One record with everything it points to.
struct Item {
  std::string bytes;
  std::vector<Nested> nested;
};

struct Argument {
  uint64_t bits = 0;
  char kind = 'v';    // 'v' plain value, 't' text, 'a' plain memory, 'i' records, 's' value stream
  std::string bytes;  // text, memory
  std::vector<Item>
      items;  // records; the only item of a stream, with its lists nested at their pointers' offsets
};

// Captures argument `index` of a call. A type text that it does not know ends the process with a message: a
// new record in the rows needs a line here.
Argument Capture(const Row& row, const uint64_t* arguments, size_t index);

// The value stream at that address.
Item CaptureStream(const void* stream);

// True when the type is known to Capture.
bool KnowsType(const std::string& type);

}  // namespace recorder

#endif
