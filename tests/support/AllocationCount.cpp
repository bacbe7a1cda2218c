// Apart from all other tests: where the compiler sees these functions it takes them for a mismatch.
#include "support/AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <string_view>

namespace {
std::atomic<int> allocations = 0;
std::atomic<int> live = 0;
std::atomic<std::uint64_t> bytes = 0;
std::atomic<int> failFrom = 0;  // number of the allocation; 0 for none
std::atomic<bool> failAllAfter = false;

bool Fails(int number) {
  const int from = failFrom;
  return from != 0 && (number == from || (failAllAfter && number > from));
}

std::string_view watched;
std::atomic<int> found = 0;
std::atomic<int> searched = 0;

// `step` is the size of a character, of which the other bytes are zero.
bool Holds(std::string_view memory, std::size_t step) {
  for (std::size_t start = 0; start + watched.size() * step <= memory.size(); ++start) {
    std::size_t same = 0;
    while (same < watched.size() && memory[start + same * step] == watched[same]) ++same;
    if (same == watched.size()) return true;
  }
  return false;
}

void Search(const void* block, std::size_t size) {
  if (watched.empty()) return;
  ++searched;
  const std::string_view memory(static_cast<const char*>(block), size);
  if (Holds(memory, 1) || Holds(memory, 2)) ++found;
}
}  // namespace

int ovs::AllocationCount() noexcept { return allocations; }
std::uint64_t ovs::AllocatedBytes() noexcept { return bytes; }
int ovs::LiveAllocations() noexcept { return live; }

ovs::AllocationFailure::AllocationFailure(int nth, bool allAfter) noexcept {
  failAllAfter = allAfter;
  failFrom = allocations + nth;
}
ovs::AllocationFailure::~AllocationFailure() { failFrom = 0; }

ovs::FreedMemoryWatch::FreedMemoryWatch(std::string_view text) noexcept {
  found = searched = 0;
  watched = text;
}
ovs::FreedMemoryWatch::~FreedMemoryWatch() { watched = {}; }
int ovs::FreedMemoryWatch::Found() noexcept { return found; }
int ovs::FreedMemoryWatch::Searched() noexcept { return searched; }

// Every other form of new and delete ends in these.
void* operator new(std::size_t size) {
  bytes += size;
  if (Fails(++allocations)) throw std::bad_alloc();
  if (void* memory = std::malloc(size)) {
    ++live;
    return memory;
  }
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  if (memory != nullptr) --live;
  std::free(memory);
}
void operator delete(void* memory, std::size_t size) noexcept {
  Search(memory, size);
  if (memory != nullptr) --live;
  std::free(memory);
}
