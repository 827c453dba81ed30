// The rows of the boundary as data: names and types as text, which is what tells a handle from a buffer.
#ifndef KILN_TEST_RECORDER_ROWS_H_
#define KILN_TEST_RECORDER_ROWS_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace recorder {

struct Parameter {
  std::string type;  // as written, with single blanks: "const char*"
  std::string name;
};

struct Row {
  std::string family;
  std::string result;
  std::string name;
  std::vector<Parameter> parameters;

  // Index of the parameter of that name, or -1.
  int Find(std::string_view parameter) const;
};

const std::vector<Row>& Rows();

// Index of the row, or -1.
int FindRow(std::string_view name);

}  // namespace recorder

#endif
