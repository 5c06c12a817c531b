// Registers this module's exception tables with the unwinder that is linked into it.
//
// In a process that has the compiler's shared unwinder loaded (libgcc_s_dw2-1.dll, as programs of that
// compiler have), the start code registers them there. A throw looks in the module's own unwinder, would find
// nothing and end the process.

#include <cstring>
#include <windows.h>

extern "C" {

// Of the compiler's unwinder. `object` is its memory for the registration, six words.
void __register_frame_info(const void *begin, void *object);
void *__deregister_frame_info(const void *begin);
struct FrameBases {
    void *text, *data, *function;
};
const void *_Unwind_Find_FDE(void *address, FrameBases *bases);

extern IMAGE_DOS_HEADER __ImageBase;
}

namespace {

constexpr char framesSection[IMAGE_SIZEOF_SHORT_NAME + 1] = ".eh_fram"; // as long as a section's name can be

void *registration[8];
const void *registered = nullptr;

const void *ownFrames() {
    const auto *const base = reinterpret_cast<const char *>(&__ImageBase);
    const auto *const headers = reinterpret_cast<const IMAGE_NT_HEADERS *>(base + __ImageBase.e_lfanew);
    const auto *const sections = reinterpret_cast<const IMAGE_SECTION_HEADER *>(
        reinterpret_cast<const char *>(&headers->OptionalHeader) + headers->FileHeader.SizeOfOptionalHeader);
    for (const IMAGE_SECTION_HEADER *section = sections; section != sections + headers->FileHeader.NumberOfSections;
         ++section)
        if (std::memcmp(section->Name, framesSection, sizeof section->Name) == 0) return base + section->VirtualAddress;
    return nullptr;
}

/// Behind the start code's own registration and before every other constructor of the module.
[[gnu::constructor(101)]] void registerOwnFrames() {
    FrameBases bases{};
    if (_Unwind_Find_FDE(reinterpret_cast<char *>(&ownFrames) + 1, &bases) != nullptr) return;
    const void *const frames = ownFrames();
    if (frames == nullptr) return;
    __register_frame_info(frames, registration);
    registered = frames;
}

[[gnu::destructor(101)]] void deregisterOwnFrames() {
    if (registered != nullptr) __deregister_frame_info(registered);
}

} // namespace
