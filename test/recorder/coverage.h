// Which entry points a process has called, written down for the coverage of the list.
#ifndef KILN_TEST_RECORDER_COVERAGE_H_
#define KILN_TEST_RECORDER_COVERAGE_H_

#include <string>

namespace recorder {

// Notes the name in this process's file under KILN_COVERAGE_DIR, once and at once, so that no way of ending
// the process loses it. Without the variable, nothing.
void Touch(int row, const std::string& name);

}  // namespace recorder

#endif
