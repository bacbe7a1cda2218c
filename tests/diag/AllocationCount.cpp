// Apart from all other tests: where the compiler sees these functions it takes them for a mismatch.
#include "diag/AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<int> allocations = 0;
std::atomic<std::uint64_t> bytes = 0;
std::atomic<int> failFrom = 0;  // number of the allocation; 0 for none
std::atomic<bool> failAllAfter = false;

bool Fails(int number) {
  const int from = failFrom;
  return from != 0 && (number == from || (failAllAfter && number > from));
}
}  // namespace

int ovs::AllocationCount() noexcept { return allocations; }
std::uint64_t ovs::AllocatedBytes() noexcept { return bytes; }

ovs::AllocationFailure::AllocationFailure(int nth, bool allAfter) noexcept {
  failAllAfter = allAfter;
  failFrom = allocations + nth;
}
ovs::AllocationFailure::~AllocationFailure() { failFrom = 0; }

// Every other form of new and delete ends in these.
void* operator new(std::size_t size) {
  bytes += size;
  if (Fails(++allocations)) throw std::bad_alloc();
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
