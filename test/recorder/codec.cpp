// Between the JSON of the commands and the recorder's own records.
#include "codec.h"

#include <array>
#include <stdexcept>

namespace recorder {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::array<int8_t, 256> MakeReverse() {
  std::array<int8_t, 256> reverse{};
  reverse.fill(-1);
  for (size_t i = 0; i < kAlphabet.size(); ++i)
    reverse[static_cast<uint8_t>(kAlphabet[i])] = static_cast<int8_t>(i);
  return reverse;
}

Out ToOut(const Json& json) {
  Out out;
  out.argument = json.at("i");
  out.offset = json.value("o", uint64_t{0});
  out.through = json.value("through", false);
  if (json.contains("v")) {
    out.value = ToValue(json["v"]);
  } else {
    out.bytes = FromBase64(json.at("d").get<std::string>());
  }
  return out;
}

Completion ToCompletion(const Json& json) {
  return {json.value("w", 0), json.value("h", 0), json.value("delay", 0.0), json.value("same_thread", false)};
}

Json FromItems(const std::vector<Item>& items);

Json FromNested(const Nested& nested) {
  Json json{{"o", nested.offset}, {"k", std::string(1, nested.kind)}};
  if (nested.kind == 'i') {
    json["i"] = FromItems(nested.items);
  } else {
    json["d"] = ToBase64(nested.bytes);
  }
  return json;
}

Json FromItems(const std::vector<Item>& items) {
  Json json = Json::array();
  for (const Item& item : items) {
    Json one{{"d", ToBase64(item.bytes)}};
    for (const Nested& nested : item.nested) one["n"].push_back(FromNested(nested));
    json.push_back(std::move(one));
  }
  return json;
}

Json FromArgument(const Argument& argument) {
  Json json{{"b", FromWord(argument.bits)}, {"k", std::string(1, argument.kind)}};
  if (argument.kind == 't' || argument.kind == 'a') json["d"] = ToBase64(argument.bytes);
  if (argument.kind == 'i' || argument.kind == 's') json["i"] = FromItems(argument.items);
  return json;
}

}  // namespace

std::string ToBase64(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t left = std::min<size_t>(bytes.size() - i, 3);
    uint32_t group = 0;
    for (size_t j = 0; j < 3; ++j) group = group << 8 | (j < left ? static_cast<uint8_t>(bytes[i + j]) : 0U);
    for (size_t j = 0; j < 4; ++j) text += j <= left ? kAlphabet[group >> (18 - 6 * j) & 63] : '=';
  }
  return text;
}

std::string FromBase64(std::string_view text) {
  static const auto reverse = MakeReverse();
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  uint32_t group = 0;
  int bits = 0;
  for (const char c : text) {
    const int8_t value = reverse[static_cast<uint8_t>(c)];
    if (value < 0) continue;
    group = group << 6 | static_cast<uint32_t>(value);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes += static_cast<char>(group >> bits & 255);
  }
  return bytes;
}

uint64_t ToWord(const Json& json) {
  return std::stoull(json.get<std::string>(), nullptr, 16);
}

std::string FromWord(uint64_t word) {
  return Hex(word).substr(2);
}

Memory ToMemory(const Json& json) {
  Memory memory;
  memory.bytes = FromBase64(json.at("d").get<std::string>());
  for (const Json& pointer : json.value("p", Json::array()))
    memory.pointers.push_back({pointer[0], pointer[1]});
  for (const Json& image : json.value("g", Json::array()))
    memory.images.push_back({image[0], image[1], image[2]});
  return memory;
}

Value ToValue(const Json& json) {
  Value value;
  const std::string kind = json.at("k");
  if (kind == "bits") {
    value.bits = ToWord(json.at("b"));
  } else if (kind == "block") {
    value.kind = Value::Kind::kBlock;
    value.memory = ToMemory(json);
  } else if (kind == "image") {
    value.kind = Value::Kind::kImage;
    value.width = json.at("w");
    value.height = json.at("h");
  } else if (kind == "vector") {
    value.kind = Value::Kind::kVector;
    for (const Json& text : json.at("t")) value.texts.push_back(FromBase64(text.get<std::string>()));
  } else if (kind == "handle") {
    value.kind = Value::Kind::kHandle;
    value.handle_kind = json.at("of");
  } else {
    throw std::invalid_argument("no value is made of the kind \"" + kind + "\"");
  }
  return value;
}

Answer ToAnswer(int row, const Json& json) {
  Answer answer;
  if (json.contains("result")) answer.result = ToValue(json["result"]);
  for (const Json& out : json.value("outs", Json::array())) {
    answer.outs.push_back(ToOut(out));
    const auto argument = static_cast<size_t>(answer.outs.back().argument);
    if (argument >= Rows()[row].parameters.size()) throw std::invalid_argument("no such argument");
  }
  answer.delay = json.value("delay", 0.0);
  answer.gate = json.value("gate", std::string());
  for (const Json& raise : json.value("raises", Json::array())) answer.raises.push_back(ToRaise(raise));
  answer.wait_for_raises = json.value("wait", true);
  for (const Json& names : json.value("filter", Json::array())) {
    std::optional<std::string> first;
    if (!names[0].is_null()) first = FromBase64(names[0].get<std::string>());
    answer.filter.emplace_back(std::move(first), FromBase64(names[1].get<std::string>()));
  }
  answer.keep = json.value("keep", false);
  if (json.contains("complete")) answer.completion = ToCompletion(json["complete"]);
  return answer;
}

RaiseRequest ToRaise(const Json& json) {
  RaiseRequest request;
  request.row = json.at("row");
  if (json.contains("handle")) request.handle = ToWord(json["handle"]);
  request.null_record = json.value("null_record", false);
  if (!request.null_record) request.record = ToMemory(json.at("record"));
  request.count = json.value("count", 1);
  request.threads = json.value("threads", 1);
  request.stale = json.value("stale", false);
  request.serial = json.value("serial", true);
  return request;
}

Json FromCall(const Call& call) {
  Json json{{"row", call.row},
            {"seq", call.sequence},
            {"thread", call.thread},
            {"done", call.done},
            {"result", FromWord(call.result)},
            {"ms", call.milliseconds},
            {"stale", call.stale_handle}};
  Json& arguments = json["args"] = Json::array();
  for (const Argument& argument : call.arguments) arguments.push_back(FromArgument(argument));
  for (const FilterStep& step : call.filter) {
    json["filter"].push_back(
        {ToBase64(step.first), ToBase64(step.second), std::string(1, step.outcome), ToBase64(step.name)});
  }
  return json;
}

Json FromRaiseResult(const RaiseResult& result) {
  return {{"delivered", result.delivered},
          {"result", result.result},
          {"sum", result.sum},
          {"after", ToBase64(result.after)},
          {"ms", result.milliseconds}};
}

}  // namespace recorder
