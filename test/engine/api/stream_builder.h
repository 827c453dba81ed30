// Value streams by hand, as a host makes them.
#pragma once

#include <cstring>
#include <string_view>
#include <type_traits>
#include <vector>

#include "values.h"

namespace kiln::engine::test {

class Stream {
 public:
  Stream& Word(uint32_t word) { return Put(word); }
  Stream& Int(int32_t number) { return Put(number); }
  Stream& Float(float number) { return Put(number); }
  Stream& Double(double number) { return Put(number); }
  Stream& Long(uint64_t number) { return Put(number); }
  Stream& Pointer(const void* pointer) { return Put(pointer); }
  // The length, the bytes, and zeros up to a whole word, one at least.
  Stream& Text(std::string_view text) {
    Word(static_cast<uint32_t>(text.size()));
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    bytes_.resize(bytes_.size() + 4 - text.size() % 4);
    return *this;
  }
  template <class... Numbers>
  Stream& Floats(Numbers... numbers) {
    (Float(static_cast<float>(numbers)), ...);
    return *this;
  }
  Stream& Append(const Stream& other) {
    bytes_.insert(bytes_.end(), other.bytes_.begin(), other.bytes_.end());
    return *this;
  }

  const void* data() const { return bytes_.data(); }
  size_t size() const { return bytes_.size(); }
  const std::vector<char>& bytes() const { return bytes_; }

 private:
  template <class T>
  Stream& Put(const T& field) {
    static_assert(std::is_trivially_copyable_v<T>);
    const auto* bytes = reinterpret_cast<const char*>(&field);
    bytes_.insert(bytes_.end(), bytes, bytes + sizeof(T));
    return *this;
  }

  std::vector<char> bytes_;
};

// Memory that a host lends, and what it hears about it.
template <class T>
struct Loan {
  std::vector<T> elements;
  int releases = 0;
  void* memory = nullptr;
  uint64_t size = 0;

  static void Release(void* memory, uint64_t size, void* cookie) {
    auto& loan = *static_cast<Loan*>(cookie);
    ++loan.releases;
    loan.memory = memory;
    loan.size = size;
  }
  Stream Lend(uint32_t tag, uint32_t count) {
    return Stream()
        .Word(tag)
        .Word(count)
        .Pointer(elements.data())
        .Long(reinterpret_cast<uint64_t>(&Release))
        .Pointer(this);
  }
};

}  // namespace kiln::engine::test
