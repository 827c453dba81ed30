// Functions of a test host: what the self-tests hand to the recorder in place of the add-on's own functions.
#ifndef KILN_TEST_RECORDER_PROBES_H_
#define KILN_TEST_RECORDER_PROBES_H_

#include <nlohmann/json.hpp>

namespace recorder {

// Addresses by name, as hexadecimal text: callback, blocking_callback, release, filter, completion.
nlohmann::json ProbeAddresses();

// What the probes were called with since the last time, each with its name and thread.
nlohmann::json TakeProbeCalls();

}  // namespace recorder

#endif
