// Between the JSON of the commands and the recorder's own records. Bytes travel as base64, words as
// hexadecimal text.
#ifndef KILN_TEST_RECORDER_CODEC_H_
#define KILN_TEST_RECORDER_CODEC_H_

#include <nlohmann/json.hpp>
#include <string>

#include "script.h"
#include "state.h"

namespace recorder {

using Json = nlohmann::json;

std::string ToBase64(std::string_view bytes);
std::string FromBase64(std::string_view text);
uint64_t ToWord(const Json& json);
std::string FromWord(uint64_t word);

Memory ToMemory(const Json& json);
Value ToValue(const Json& json);
Answer ToAnswer(int row, const Json& json);
RaiseRequest ToRaise(const Json& json);

Json FromCall(const Call& call);
Json FromRaiseResult(const RaiseResult& result);

}  // namespace recorder

#endif
