// Allocations of the plug-in, which can fail.
#include "faults.h"

#include <cstdlib>
#include <new>

void *operator new(std::size_t size) {
    void *memory = kx3::torture::injector().strikeAllocation() ? nullptr : std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}
void operator delete(void *memory) noexcept { std::free(memory); }
void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }
