// Where the records of the boundary hold pointers, and what those point to.
#ifndef KILN_TEST_RECORDER_RECORDS_H_
#define KILN_TEST_RECORDER_RECORDS_H_

#include <cstdint>
#include <string>
#include <vector>

namespace recorder {

enum class FieldKind {
  kText,      // NUL-terminated
  kTextRun,   // `count` texts one behind the other, or, without a count, up to an empty one
  kArray,     // `count` elements of `element` bytes
  kPointers,  // `count` pointers; pointer i leads to counts[i] elements of `element` bytes
  kNamed,     // `count` pointers to texts that may be null
  kRecords,   // `count` records of the type `record`
};

// How a count is found.
enum class CountKind { kNone, kInt32, kUint64, kOfCall };

struct Field {
  uint64_t offset;
  FieldKind kind;
  CountKind count = CountKind::kNone;
  uint64_t count_offset = 0;
  uint64_t element = 0;
  uint64_t counts_offset = 0;  // of kPointers: the field that points to the counts
  const char* record = nullptr;
};

struct Record {
  const char* name;
  uint64_t size;
  std::vector<Field> fields;
};

// Null for an unknown name.
const Record* FindRecord(const std::string& name);

}  // namespace recorder

#endif
