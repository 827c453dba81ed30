/* Property values at the boundary: the tags of a value stream, the declared type codes and the time
 * sentinels. */
#ifndef KILN_INCLUDE_VALUES_H_
#define KILN_INCLUDE_VALUES_H_

#include "abi.h"

/*
 * A value stream is a run of little-endian 32-bit words: a tag and its payload, every field aligned to 4
 * bytes only. The stream describes itself, so its length is not passed.
 */
enum KilnValueTag {
  KILN_VALUE_INT = 0,
  KILN_VALUE_FLOAT = 1,
  KILN_VALUE_DOUBLE = 2,
  KILN_VALUE_BOOLEAN = 3,
  KILN_VALUE_VECTOR = 4,
  KILN_VALUE_COLOR = 5,
  KILN_VALUE_ACOLOR = 6,
  KILN_VALUE_MATRIX = 7,
  KILN_VALUE_TRANSFORM_FLOAT = 8,
  KILN_VALUE_STRING = 9,
  KILN_VALUE_PLUGIN = 10,
  KILN_VALUE_LIST = 12,
  KILN_VALUE_TRANSFORM = 28, /* float matrix, double offset */
  KILN_VALUE_INT_LIST = 100,
  KILN_VALUE_FLOAT_LIST = 101,
  KILN_VALUE_DOUBLE_LIST = 102,
  KILN_VALUE_BOOLEAN_LIST = 103,
  KILN_VALUE_VECTOR_LIST = 104,
  KILN_VALUE_COLOR_LIST = 105,
  KILN_VALUE_STRING_LIST = 109,
  KILN_VALUE_STRING_POINTER = 200,
  KILN_VALUE_PLUGIN_OUTPUT = 210,
  /* Borrowed: count and pointer; the memory is the caller's and valid during the call. */
  KILN_VALUE_BORROWED_INT_LIST = 2000,
  KILN_VALUE_BORROWED_FLOAT_LIST = 2001,
  KILN_VALUE_BORROWED_DOUBLE_LIST = 2002,
  KILN_VALUE_BORROWED_VECTOR_LIST = 2004,
  KILN_VALUE_BORROWED_COLOR_LIST = 2005,
  /* Kept: count, pointer, release function and cookie; the SDK calls the release function once when done. */
  KILN_VALUE_KEPT_INT_LIST = 3000,
  KILN_VALUE_KEPT_FLOAT_LIST = 3001,
  KILN_VALUE_KEPT_VECTOR_LIST = 3004,
  KILN_VALUE_KEPT_COLOR_LIST = 3005
};

/* Tells the owner of handed-over memory that the SDK is done with it. Only the cookie identifies the memory.
 */
typedef void (*KilnReleaseFunction)(void* memory, uint64_t size, void* cookie);

/* Times that are no times: NaN patterns that pass the boundary as they stand. */
#define KILN_TIME_OMITTED_BITS UINT64_C(0xFFFFFFFFFFFFFFFE)
#define KILN_TIME_DIRECT_BITS UINT64_C(0xFFFFFFFFFFFFFFFF)

#endif
