// What passes between the entry points of a recording library and the state behind them. The entry points
// come and go with their library, as those of the SDK do; the state stays for the life of the process, so
// that a script outlives an unload and an unload really unmaps the code.
#ifndef KILN_TEST_RECORDER_BOUNDARY_H_
#define KILN_TEST_RECORDER_BOUNDARY_H_

#include <cstdint>

#define RECORDER_EXPORT __attribute__((visibility("default")))

extern "C" {

// Records one call and answers it; argument i stands in the low bytes of arguments[i]. Any thread; blocks for
// as long as the script says.
RECORDER_EXPORT uint64_t recorder_dispatch(int32_t row, const uint64_t* arguments);

// A recording library has come, or is about to go. The second may join the recorder's threads, if the script
// says so.
RECORDER_EXPORT void recorder_library_loaded(const char* path);
RECORDER_EXPORT void recorder_library_unloading(const char* path);

// Calls the entry point of that row with arguments as above; exported by a recording library for the
// self-tests.
using RecorderInvoke = uint64_t (*)(int32_t row, const uint64_t* arguments);

// Executes one command, a JSON text; the answer is a JSON text that recorder_free_text takes back. Any
// thread.
RECORDER_EXPORT char* recorder_command(const char* text, uint64_t size);
RECORDER_EXPORT void recorder_free_text(char* text);

// Told of every finished piece of work that a command started, with the command's ticket and a JSON text, on
// the thread that finished it. Listeners are identified by their cookie.
using RecorderCompletion = void (*)(void* cookie, const char* text);
RECORDER_EXPORT void recorder_add_listener(RecorderCompletion completion, void* cookie);
RECORDER_EXPORT void recorder_remove_listener(void* cookie);
}

#endif
