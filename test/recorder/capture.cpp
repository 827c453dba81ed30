// Copies what the arguments of a call point to.
#include "capture.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unordered_set>

#include "records.h"

namespace recorder {
namespace {

template <class T>
T Read(const void* address, uint64_t offset) {
  T value;
  std::memcpy(&value, static_cast<const char*>(address) + offset, sizeof(value));
  return value;
}

const void* Pointer(uint64_t bits) {
  return reinterpret_cast<const void*>(bits);
}

std::string Bytes(const void* address, uint64_t size) {
  return {static_cast<const char*>(address), size};
}

// Handles, numbers and addresses that the SDK writes to or only passes on.
bool IsPlain(const std::string& type) {
  static const auto* const plain = new std::unordered_set<std::string>{"KilnRendererHandle",
                                                                       "KilnServerHandle",
                                                                       "KilnImageHandle",
                                                                       "KilnScanHandle",
                                                                       "KilnStringVector",
                                                                       "KilnPropertyDefinition",
                                                                       "KilnPluginId",
                                                                       "KilnFilterFunction",
                                                                       "int32_t",
                                                                       "uint32_t",
                                                                       "int64_t",
                                                                       "uint64_t",
                                                                       "float",
                                                                       "double",
                                                                       "void*",
                                                                       "void**",
                                                                       "uint32_t**",
                                                                       "double**",
                                                                       "PluginLink**",
                                                                       "KilnStatisticsHead**",
                                                                       "KilnPickResult**",
                                                                       "char*",
                                                                       "float*"};
  return plain->count(type) != 0;
}

// Numbers of the host's that the SDK may also read before it writes them.
uint64_t InOutSize(const std::string& type) {
  if (type == "int32_t*") return 4;
  if (type == "uint64_t*" || type == "KilnPluginId*") return 8;
  return 0;
}

uint64_t ElementSize(const std::string& type) {
  if (type == "const int32_t*") return 4;
  if (type == "const KilnPluginId*") return 8;
  return 0;
}

// "const KilnBox*" and "KilnBox*" give "KilnBox"; the parameter may be an array.
std::string RecordName(std::string type) {
  if (type.rfind("const ", 0) == 0) type = type.substr(6);
  if (type.size() < 2 || type.back() != '*') return "";
  type.pop_back();
  return FindRecord(type) != nullptr ? type : "";
}

// "const ProxyMeshData* const*" gives "ProxyMeshData".
std::string PointedRecordName(const std::string& type) {
  constexpr const char* kTail = "* const*";
  const size_t tail = type.find(kTail);
  if (type.rfind("const ", 0) != 0 || tail == std::string::npos) return "";
  const std::string name = type.substr(6, tail - 6);
  return FindRecord(name) != nullptr ? name : "";
}

bool IsArrayOfRecords(const std::string& name) {
  return name == "KilnSceneBuffer" || name == "KilnSubSequence" || name == "KilnContextMenuItem" ||
         name == "ProxyTransform";
}

int32_t CountOfCall(const Row& row, const uint64_t* arguments) {
  const int count = row.Find("count");
  return count < 0 ? 1 : static_cast<int32_t>(arguments[count]);
}

uint64_t FieldCount(const Field& field, const void* record, int32_t count_of_call) {
  int64_t count = 0;
  switch (field.count) {
    case CountKind::kNone:
      break;
    case CountKind::kInt32:
      count = Read<int32_t>(record, field.count_offset);
      break;
    case CountKind::kUint64:
      count = static_cast<int64_t>(Read<uint64_t>(record, field.count_offset));
      break;
    case CountKind::kOfCall:
      count = count_of_call;
      break;
  }
  return count < 0 ? 0 : static_cast<uint64_t>(count);
}

uint64_t RunLength(const char* run, const Field& field, uint64_t count) {
  const char* end = run;
  if (field.count == CountKind::kNone) {
    while (*end != '\0') end += std::strlen(end) + 1;
    return static_cast<uint64_t>(end + 1 - run);
  }
  for (uint64_t i = 0; i < count; ++i) end += std::strlen(end) + 1;
  return static_cast<uint64_t>(end - run);
}

Item CaptureRecord(const Record& record, const void* address, int32_t count_of_call);

// Pointer i of the array leads to as many elements as the neighbouring counts say.
std::vector<Item> CapturePointers(const Field& field, const void* record, const void* pointers,
                                  uint64_t count) {
  const void* const counts = Read<const void*>(record, field.counts_offset);
  std::vector<Item> items;
  for (uint64_t i = 0; i < count; ++i) {
    const void* const data = Read<const void*>(pointers, i * 8);
    const int32_t elements = counts == nullptr ? 0 : Read<int32_t>(counts, i * 4);
    items.push_back({data == nullptr || elements < 0 ? "" : Bytes(data, elements * field.element), {}});
  }
  return items;
}

std::vector<Item> CaptureNames(const void* pointers, uint64_t count) {
  std::vector<Item> items;
  for (uint64_t i = 0; i < count; ++i) {
    const char* const text = Read<const char*>(pointers, i * 8);
    // A null differs from an empty text by its missing nested part.
    if (text == nullptr) {
      items.push_back({});
    } else {
      items.push_back({"", {Nested{0, 't', text, {}}}});
    }
  }
  return items;
}

Nested CaptureField(const Field& field, const void* record, const void* target, int32_t count_of_call) {
  const uint64_t count = FieldCount(field, record, count_of_call);
  switch (field.kind) {
    case FieldKind::kText:
      return {field.offset, 't', static_cast<const char*>(target), {}};
    case FieldKind::kTextRun:
      return {
          field.offset, 'r', Bytes(target, RunLength(static_cast<const char*>(target), field, count)), {}};
    case FieldKind::kArray:
      return {field.offset, 'a', Bytes(target, count * field.element), {}};
    case FieldKind::kPointers:
      return {field.offset, 'i', "", CapturePointers(field, record, target, count)};
    case FieldKind::kNamed:
      return {field.offset, 'i', "", CaptureNames(target, count)};
    case FieldKind::kRecords: {
      Nested nested{field.offset, 'i', "", {}};
      const Record& inner = *FindRecord(field.record);
      for (uint64_t i = 0; i < count; ++i) {
        nested.items.push_back(
            CaptureRecord(inner, static_cast<const char*>(target) + i * inner.size, count_of_call));
      }
      return nested;
    }
  }
  return {};
}

Item CaptureRecord(const Record& record, const void* address, int32_t count_of_call) {
  Item item{Bytes(address, record.size), {}};
  for (const Field& field : record.fields) {
    const void* const target = Read<const void*>(address, field.offset);
    if (target != nullptr) item.nested.push_back(CaptureField(field, address, target, count_of_call));
  }
  return item;
}

void CaptureMemory(const Row& row, const uint64_t* arguments, size_t index, Argument& argument) {
  if (row.parameters[index].name == "stream") {
    argument.kind = 's';
    argument.items.push_back(CaptureStream(Pointer(argument.bits)));
    return;
  }
  argument.kind = 'a';
  const int size = row.Find("size");
  argument.bytes = Bytes(Pointer(argument.bits), size < 0 ? 0 : arguments[size]);
}

void CaptureTexts(const void* texts, int32_t count, Argument& argument) {
  argument.kind = 'i';
  argument.items = CaptureNames(texts, count < 0 ? 0 : static_cast<uint64_t>(count));
}

void CapturePointedRecords(const std::string& name, const void* pointers, int32_t count, Argument& argument) {
  argument.kind = 'i';
  for (int32_t i = 0; i < count; ++i) {
    const void* const address = Read<const void*>(pointers, static_cast<uint64_t>(i) * 8);
    argument.items.push_back(address == nullptr ? Item{} : CaptureRecord(*FindRecord(name), address, count));
  }
}

void CaptureRecords(const std::string& name, const void* address, int32_t count, Argument& argument) {
  argument.kind = 'i';
  const Record& record = *FindRecord(name);
  const int32_t records = IsArrayOfRecords(name) ? count : 1;
  for (int32_t i = 0; i < records; ++i) {
    argument.items.push_back(CaptureRecord(
        record, static_cast<const char*>(address) + static_cast<uint64_t>(i) * record.size, count));
  }
}

[[noreturn]] void UnknownType(const Row& row, const std::string& type) {
  std::fprintf(stderr, "recorder: %s has a parameter of the type \"%s\", which capture.cpp does not know\n",
               row.name.c_str(), type.c_str());
  std::abort();
}

}  // namespace

bool KnowsType(const std::string& type) {
  return IsPlain(type) || InOutSize(type) != 0 || ElementSize(type) != 0 || type == "const char*" ||
         type == "const char* const*" || type == "const void*" || type == "const float*" ||
         !RecordName(type).empty() || !PointedRecordName(type).empty();
}

Argument Capture(const Row& row, const uint64_t* arguments, size_t index) {
  constexpr uint64_t kColor = 12;
  const std::string& type = row.parameters[index].type;
  Argument argument;
  argument.bits = arguments[index];
  if (IsPlain(type)) return argument;
  if (!KnowsType(type)) UnknownType(row, type);
  const void* const address = Pointer(argument.bits);
  if (address == nullptr) return argument;

  const int32_t count = CountOfCall(row, arguments);
  if (type == "const char*") {
    argument.kind = 't';
    argument.bytes = static_cast<const char*>(address);
  } else if (type == "const char* const*") {
    CaptureTexts(address, count, argument);
  } else if (type == "const void*") {
    CaptureMemory(row, arguments, index, argument);
  } else if (type == "const float*") {
    argument.kind = 'a';
    argument.bytes = Bytes(address, kColor);
  } else if (const uint64_t number = InOutSize(type); number != 0) {
    // A destination that is to be filled with ints is not read: it has a count beside it and need not be set
    // up.
    if (row.parameters[index].name != "destination") {
      argument.kind = 'a';
      argument.bytes = Bytes(address, number);
    }
  } else if (const uint64_t element = ElementSize(type); element != 0) {
    argument.kind = 'a';
    argument.bytes = Bytes(address, count < 0 ? 0 : static_cast<uint64_t>(count) * element);
  } else if (const std::string record = RecordName(type); !record.empty()) {
    CaptureRecords(record, address, count, argument);
  } else {
    CapturePointedRecords(PointedRecordName(type), address, count, argument);
  }
  return argument;
}

}  // namespace recorder
