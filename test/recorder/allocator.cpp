// The recorder's own memory.
#include "allocator.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <new>
#include <unordered_set>

#include "state.h"

namespace recorder {
namespace {

constexpr size_t kQuarantine = 4096;  // regions that stay unreadable before their addresses may be used again
constexpr int kFreedPattern = 0xDD;

struct Block {
  uint64_t size;
  void* region;  // of its own pages, or null
  uint64_t region_size;
  std::string origin;
};

struct Memory {
  std::mutex mutex;
  std::map<uint64_t, Block> live;
  std::unordered_set<uint64_t> freed;
  std::deque<std::pair<void*, uint64_t>> quarantine;
  uint64_t live_bytes = 0;
  uint64_t allocated = 0;
  uint64_t freed_count = 0;
  uint64_t fail_skip = 0;
  uint64_t fail_count = 0;
  bool protect = false;
};

Memory& TheMemory() {
  static auto* const memory = new Memory;
  return *memory;
}

uint64_t Key(const void* pointer) {
  return reinterpret_cast<uint64_t>(pointer);
}

void* MapBlock(uint64_t size, Block& block) {
  const uint64_t page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
  const uint64_t rounded = (size + 15) / 16 * 16;
  const uint64_t body = (rounded + page - 1) / page * page + (rounded == 0 ? page : 0);
  block.region_size = body + page;
  block.region = mmap(nullptr, block.region_size, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (block.region == MAP_FAILED) throw std::bad_alloc();
  auto* const start = static_cast<char*>(block.region);
  mprotect(start + body, page, PROT_NONE);
  return start + body - rounded;
}

// With the lock held.
void Retire(Memory& memory, void* pointer, const Block& block) {
  if (block.region == nullptr) {
    std::memset(pointer, kFreedPattern, block.size);
    std::free(pointer);
    return;
  }
  mprotect(block.region, block.region_size, PROT_NONE);
  madvise(block.region, block.region_size, MADV_DONTNEED);
  memory.quarantine.emplace_back(block.region, block.region_size);
  if (memory.quarantine.size() > kQuarantine) {
    munmap(memory.quarantine.front().first, memory.quarantine.front().second);
    memory.quarantine.pop_front();
  }
}

}  // namespace

void* Allocate(uint64_t size, const std::string& origin) {
  Memory& memory = TheMemory();
  const std::lock_guard lock(memory.mutex);
  Block block{size, nullptr, 0, origin};
  void* const pointer = memory.protect ? MapBlock(size, block) : std::calloc(1, size == 0 ? 1 : size);
  if (pointer == nullptr) throw std::bad_alloc();
  memory.freed.erase(Key(pointer));
  memory.live.emplace(Key(pointer), std::move(block));
  memory.live_bytes += size;
  ++memory.allocated;
  return pointer;
}

void Free(void* block) {
  if (block == nullptr) return;
  Memory& memory = TheMemory();
  const std::lock_guard lock(memory.mutex);
  const auto found = memory.live.find(Key(block));
  if (found == memory.live.end()) {
    const bool twice = memory.freed.count(Key(block)) != 0;
    AddFault(twice ? "double free" : "foreign free",
             std::string(twice ? "A block was freed twice: "
                               : "A pointer was freed that is no block of the SDK: ") +
                 Hex(Key(block)));
    return;
  }
  Retire(memory, block, found->second);
  memory.live_bytes -= found->second.size;
  ++memory.freed_count;
  memory.freed.insert(Key(block));
  memory.live.erase(found);
}

void* Reallocate(void* block, uint64_t size) {
  if (block == nullptr) return Allocate(size, "C_memory_realloc");
  const uint64_t old_size = LiveSize(block);
  if (old_size == 0) {
    Free(block);  // an empty block, or the fault that it is none
    return Allocate(size, "C_memory_realloc");
  }
  void* const moved = Allocate(size, "C_memory_realloc");
  std::memcpy(moved, block, std::min(old_size, size));
  Free(block);
  return moved;
}

uint64_t LiveSize(const void* block) {
  Memory& memory = TheMemory();
  const std::lock_guard lock(memory.mutex);
  const auto found = memory.live.find(Key(block));
  return found == memory.live.end() ? 0 : found->second.size;
}

AllocatorCounts Counts() {
  Memory& memory = TheMemory();
  const std::lock_guard lock(memory.mutex);
  return {memory.live.size(), memory.live_bytes, memory.allocated, memory.freed_count};
}

std::vector<LiveBlock> LiveBlocks() {
  Memory& memory = TheMemory();
  const std::lock_guard lock(memory.mutex);
  std::vector<LiveBlock> blocks;
  for (const auto& [address, block] : memory.live) blocks.push_back({address, block.size, block.origin});
  return blocks;
}

void SetProtection(bool on) {
  const std::lock_guard lock(TheMemory().mutex);
  TheMemory().protect = on;
}

void FailAllocations(uint64_t skip, uint64_t count) {
  const std::lock_guard lock(TheMemory().mutex);
  TheMemory().fail_skip = skip;
  TheMemory().fail_count = count;
}

bool TakeFailure() {
  Memory& memory = TheMemory();
  const std::lock_guard lock(memory.mutex);
  if (memory.fail_skip > 0) {
    --memory.fail_skip;
    return false;
  }
  if (memory.fail_count == 0) return false;
  --memory.fail_count;
  return true;
}

void ResetCounts() {
  const std::lock_guard lock(TheMemory().mutex);
  TheMemory().allocated = 0;
  TheMemory().freed_count = 0;
}

}  // namespace recorder
