#include "failing_allocation.h"

#include <cstdlib>
#include <new>

thread_local int failingAllocation = 0;

// Replaced for the whole process.
void *operator new(std::size_t size) {
    if (failingAllocation > 0 && --failingAllocation == 0) throw std::bad_alloc();
    void *const memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}
void operator delete(void *memory) noexcept { std::free(memory); }
void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }
