// Calls that a test makes itself, past the add-on.
#ifndef KILN_TEST_RECORDER_DISPATCH_H_
#define KILN_TEST_RECORDER_DISPATCH_H_

namespace recorder {

// While one exists that is on, calls of this thread are a test's own and count for no coverage.
class DirectCall {
 public:
  explicit DirectCall(bool on);
  ~DirectCall();
  DirectCall(const DirectCall&) = delete;
  DirectCall& operator=(const DirectCall&) = delete;
};

}  // namespace recorder

#endif
