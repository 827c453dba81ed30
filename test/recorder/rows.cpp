// The rows of the boundary as data.
#include "rows.h"

#include <unordered_map>

namespace recorder {
namespace {

std::string OneBlank(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c != ' ') {
      out += c;
    } else if (!out.empty() && out.back() != ' ') {
      out += ' ';
    }
  }
  while (!out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

std::vector<Parameter> ParseParameters(std::string_view text) {
  text = text.substr(1, text.size() - 2);
  std::vector<Parameter> parameters;
  while (!text.empty() && text != "void") {
    const size_t comma = text.find(',');
    const std::string one = OneBlank(text.substr(0, comma));
    const size_t name = one.find_last_of(" *") + 1;
    parameters.push_back({OneBlank(one.substr(0, name)), one.substr(name)});
    text = comma == std::string_view::npos ? std::string_view{} : text.substr(comma + 1);
  }
  return parameters;
}

std::vector<Row> MakeRows() {
  return {
#define KILN_ENTRY(family, result, name, parameters) \
  Row{#family, #result, #name, ParseParameters(#parameters)},
#include "entry_points.def"
  };
}

}  // namespace

int Row::Find(std::string_view parameter) const {
  for (size_t i = 0; i < parameters.size(); ++i) {
    if (parameters[i].name == parameter) return static_cast<int>(i);
  }
  return -1;
}

const std::vector<Row>& Rows() {
  static const auto* const rows = new std::vector<Row>(MakeRows());
  return *rows;
}

int FindRow(std::string_view name) {
  static const auto* const index = [] {
    auto* map = new std::unordered_map<std::string_view, int>;
    for (size_t i = 0; i < Rows().size(); ++i) map->emplace(Rows()[i].name, static_cast<int>(i));
    return map;
  }();
  const auto found = index->find(name);
  return found == index->end() ? -1 : found->second;
}

}  // namespace recorder
