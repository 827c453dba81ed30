// What the recorder answers by itself.
#ifndef KILN_TEST_RECORDER_DEFAULTS_H_
#define KILN_TEST_RECORDER_DEFAULTS_H_

#include <cstdint>

namespace recorder {

// The unscripted answer: a working memory, handles with reference counts, string vectors and images of the
// recorder's own; 0 for everything else.
uint64_t DefaultAnswer(int row, const uint64_t* arguments);

}  // namespace recorder

#endif
