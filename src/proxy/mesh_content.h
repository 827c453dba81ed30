// The content of a mesh file on its way to JavaScript: the record of the exchange, the arrays that the SDK
// fills, and the object that is made of them. Nothing is copied on the way.
#pragma once

#include <cstdlib>
#include <memory>
#include <vector>

#include "binding/environment.h"
#include "proxy.h"

namespace KilnNodeWrapper {

class MeshContent {
 public:
  // flags: ProxyDataFlags.
  explicit MeshContent(uint32_t flags);

  ProxyDataRecord* record() { return record_.get(); }

  // Between the two steps: provides an array for all that is asked for and that the file has. False when a
  // count can't be true or memory is out. Any thread.
  bool Provide();

  // Behind the second step: an object with a key for each array, which take over the memory; without the
  // names when that step failed. JavaScript thread.
  v8::MaybeLocal<v8::Object> MakeObject(Environment& environment, bool filled);

 private:
  struct Free {
    void operator()(void* block) const { std::free(block); }
  };
  using Block = std::unique_ptr<void, Free>;

  bool ProvideArrays();
  bool ProvideNames();
  void SumUvSets();

  std::unique_ptr<ProxyDataRecord> record_;
  std::vector<Block> arrays_;  // one for each row of the table; null for what is left out, or empty
  std::vector<Block> names_;   // the same for the names
};

}  // namespace KilnNodeWrapper
