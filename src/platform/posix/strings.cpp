// The process-wide store of texts behind 32-bit handles.

#include "platform/strings.h"

#include "base/error.h"

#include <mutex>
#include <unistd.h>
#include <unordered_map>

namespace kx3::platform {

namespace {

class StringStore {
  public:
    // Handles of two processes should not look alike: a block left by another host then holds
    // handles that are unknown here instead of somebody else's texts.
    StringStore() : next_((static_cast<std::uint32_t>(::getpid()) << 16) | 1) {}

    String add(std::u16string_view text) {
        const std::lock_guard lock(mutex_);
        while (next_ == 0 || texts_.contains(next_))
            ++next_;
        texts_.emplace(next_, text);
        return {next_++};
    }

    std::u16string read(String string) {
        const std::lock_guard lock(mutex_);
        const auto found = texts_.find(string.handle);
        if (found == texts_.end()) raise(ErrorNumber::invalidCall, u"A String element holds an invalid handle");
        return found->second;
    }

    void remove(String string) noexcept {
        const std::lock_guard lock(mutex_);
        texts_.erase(string.handle);
    }

  private:
    std::mutex mutex_;
    std::unordered_map<std::uint32_t, std::u16string> texts_;
    std::uint32_t next_;
};

// Never destroyed: a host may free its texts after the plug-in's own end.
StringStore &store() {
    static auto *const instance = new StringStore;
    return *instance;
}

} // namespace

String allocateString(std::u16string_view text) { return store().add(text); }

std::u16string readString(String string) { return string.handle == 0 ? std::u16string() : store().read(string); }

void freeString(String string) noexcept {
    if (string.handle != 0) store().remove(string);
}

} // namespace kx3::platform
