// Reads the keys of an options object that JavaScript passed. Keys count when inherited too; what can't be
// read or converted leaves its field as it was, and the other keys are read all the same.
#pragma once

#include <v8.h>

#include <cstdint>
#include <span>
#include <string>

namespace KilnNodeWrapper {

// A key that stands for a bit.
struct KeyBit {
  const char* key;
  uint32_t bit;
};

class OptionReader {
 public:
  enum class Lookup : uint8_t {
    kPresent,  // the object is asked whether it has the key before the key is read
    kPlain,    // the key is read at once; a missing one is undefined
  };

  // While a reader stands it catches what getters and conversions throw. Its end forgets that, unless Rethrow
  // was called. Readers are locals of the JavaScript thread and may nest.
  OptionReader(v8::Local<v8::Context> context, v8::Local<v8::Object> object,
               Lookup lookup = Lookup::kPresent);
  OptionReader(const OptionReader&) = delete;
  OptionReader& operator=(const OptionReader&) = delete;

  bool Has(const char* key);
  // The key's value; empty when the object lacks it or reading threw.
  v8::MaybeLocal<v8::Value> Value(const char* key);

  v8::Local<v8::Context> context() const { return context_; }

  // Each writes *field and returns true only when the key was found and converted.
  bool Int(const char* key, int32_t* field);                 // Int32Value
  bool Number(const char* key, double* field);               // NumberValue
  bool Flag(const char* key, bool* field);                   // ToBoolean
  bool String(const char* key, std::string* field);          // ToString, UTF-8
  bool Array(const char* key, v8::Local<v8::Array>* field);  // nothing but an array

  // Sets or clears the bit by ToBoolean; a key that is not found leaves it.
  template <class Bits>
  void Bit(const char* key, Bits bit, Bits* bits) {
    bool on = false;
    if (Flag(key, &on)) *bits = on ? *bits | bit : *bits & ~bit;
  }
  void Bits(std::span<const KeyBit> rows, uint32_t* bits) {
    for (const KeyBit& row : rows) Bit(row.key, row.bit, bits);
  }

  // Reading a key threw, and not merely its conversion.
  bool unreadable() const { return unreadable_; }
  // The last exception stays pending when the reader ends. False when there was none.
  bool Rethrow();

 private:
  v8::Isolate* isolate_;
  v8::Local<v8::Context> context_;
  v8::Local<v8::Object> object_;
  Lookup lookup_;
  bool unreadable_ = false;
  v8::TryCatch try_catch_;
};

}  // namespace KilnNodeWrapper
