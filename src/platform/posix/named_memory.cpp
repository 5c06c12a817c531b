// Named shared memory with the lifetime that Windows gives it, on top of tmpfs files.
//
// A block is a file that only its user can open. Every holder keeps a shared lock on its own open
// file description, so the system itself counts the holders and forgets a killed one. Whoever gets
// the exclusive lock knows that nobody holds the block: the last one to close removes the name, and
// an opener that finds a dead host's block removes it and sees none. A lock counts only while the
// file still has its name, since it may have been removed between the open and the lock.
//
// Inside one process all holders of a block share one open file and one view, so that a plug-in finds
// the blocks of its own host without asking the system, and their pages count once.

#include "platform/named_memory.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <string>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace kx3::platform {

namespace {

constexpr const char *directory = "/dev/shm";
/// Hosts with another value of this variable live in a world of their own.
constexpr const char *namespaceVariable = "KX3MPU6_NAMESPACE";
constexpr std::size_t longestName = 200;
/// Openers and closers hold an exclusive lock for an instant; more rounds than these mean that
/// somebody else interferes with the file.
constexpr int mostRounds = 64;
constexpr useconds_t retryMicroseconds = 1000;

class Descriptor {
  public:
    explicit Descriptor(int fd) noexcept : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    Descriptor &operator=(Descriptor &&) = delete;

    [[nodiscard]] int get() const noexcept { return fd_; }
    [[nodiscard]] bool valid() const noexcept { return fd_ >= 0; }
    [[nodiscard]] int release() noexcept { return std::exchange(fd_, -1); }

  private:
    int fd_;
};

bool isPlainName(std::string_view text) {
    constexpr std::string_view allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
    return text.size() <= longestName && text.find_first_not_of(allowed) == std::string_view::npos;
}

std::string_view namespaceOfHost() {
    const char *setting = std::getenv(namespaceVariable);
    return setting == nullptr ? "" : setting;
}

/// Path of the block's file.
std::string pathOf(std::string_view name) {
    const std::string_view space = namespaceOfHost();
    std::string path = directory;
    path.append("/kx3mpu6-").append(std::to_string(::geteuid())).append("-").append(space);
    return path.append(space.empty() ? "" : "-").append(name);
}

enum class Holders { none, some, gone };

/// Take a shared lock beside other holders' (`some`), or the exclusive one when there are none
/// (`none`); `gone` when the file has lost its name or cannot be locked.
Holders lockAsHolder(int fd, struct stat &status) {
    const bool exclusive = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
    if (!exclusive && (errno != EWOULDBLOCK || ::flock(fd, LOCK_SH | LOCK_NB) != 0)) return Holders::gone;
    if (::fstat(fd, &status) != 0 || status.st_nlink == 0) return Holders::gone;
    return exclusive ? Holders::none : Holders::some;
}

/// A block that this process holds open; a MappingHandle is its address.
struct Mapping {
    Descriptor file;
    std::string path;
    std::size_t bytes; ///< whole pages
    std::size_t holders = 1;
    pid_t owner = ::getpid();
    void *view = nullptr;
    std::size_t views = 0; ///< that were mapped and not yet unmapped
};

/// The blocks that this process holds open, by path.
struct OpenBlocks {
    std::mutex mutex;
    std::unordered_map<std::string_view, std::unique_ptr<Mapping>> byPath; ///< keys lie in the mappings
};

// Never destroyed: a host may close its blocks after the plug-in's own end.
OpenBlocks &openBlocks() {
    static auto *const instance = new OpenBlocks;
    return *instance;
}

std::size_t wholePages(std::size_t bytes) { return (bytes + pageSize - 1) / pageSize * pageSize; }

/// Keep a freshly opened or created block. The registry is locked.
MappingHandle keep(Descriptor file, const std::string &path, std::size_t bytes) {
    auto mapping = std::make_unique<Mapping>(Mapping{std::move(file), path, wholePages(bytes)});
    Mapping *const kept = mapping.get();
    openBlocks().byPath.emplace(kept->path, std::move(mapping));
    return reinterpret_cast<MappingHandle>(kept);
}
Mapping &mappingOf(MappingHandle handle) { return *reinterpret_cast<Mapping *>(handle); }

/// One holder more of a block that this process holds already; 0 when it does not. The registry is
/// locked.
MappingHandle holdAgain(const std::string &path) {
    const auto found = openBlocks().byPath.find(path);
    if (found == openBlocks().byPath.end()) return 0;
    ++found->second->holders;
    return reinterpret_cast<MappingHandle>(found->second.get());
}

bool isNameOf(const std::string &path, int fd) {
    struct stat open {};
    struct stat named {};
    return ::fstat(fd, &open) == 0 && ::lstat(path.c_str(), &named) == 0 && open.st_ino == named.st_ino &&
           open.st_dev == named.st_dev;
}

/// One holder less; the last one of all processes removes the name. The registry is locked.
void release(MappingHandle handle) noexcept {
    Mapping &mapping = mappingOf(handle);
    if (--mapping.holders != 0) return;
    // The exclusive lock comes only to the last process. A forked copy of it shares its lock and
    // leaves it alone. The name may be another file's by now, when somebody removed this one by hand.
    if (mapping.owner == ::getpid() && ::flock(mapping.file.get(), LOCK_EX | LOCK_NB) == 0 &&
        isNameOf(mapping.path, mapping.file.get()))
        ::unlink(mapping.path.c_str());
    openBlocks().byPath.erase(openBlocks().byPath.find(mapping.path));
}

/// No handle, for a reason that the system has not given.
MappingHandle failed(int reason) noexcept {
    errno = reason;
    return 0;
}

MappingHandle openPath(const std::string &path) {
    if (const MappingHandle held = holdAgain(path)) return held;
    for (int round = 0; round < mostRounds; ++round) {
        Descriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
        if (!file.valid()) return 0;
        struct stat status {};
        const Holders holders = lockAsHolder(file.get(), status);
        if (holders == Holders::gone) {
            ::usleep(retryMicroseconds);
            continue;
        }
        if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) return failed(EACCES);
        if (holders == Holders::some) return keep(std::move(file), path, static_cast<std::size_t>(status.st_size));
        ::unlink(path.c_str()); // its last holder died without closing it
    }
    return 0;
}

/// A new file without a name, of full size and locked: it appears to others all at once.
Descriptor makeUnnamed(std::int32_t size) {
    Descriptor file(::open(directory, O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
    const auto bytes = static_cast<off_t>(wholePages(static_cast<std::size_t>(size)));
    // Reserving the pages now turns a full memory into a failed create instead of a fault later.
    if (!file.valid() || ::flock(file.get(), LOCK_SH) != 0) return Descriptor(-1);
    if (const int error = ::posix_fallocate(file.get(), 0, bytes); error != 0) {
        errno = error;
        return Descriptor(-1);
    }
    return file;
}

bool giveName(const Descriptor &file, const std::string &path) {
    const std::string self = "/proc/self/fd/" + std::to_string(file.get());
    return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

enum class IfExists { open, fail };

MappingHandle createPath(const std::string &path, std::int32_t size, IfExists ifExists) {
    if (size < 1) return failed(EINVAL);
    if (openBlocks().byPath.contains(path)) return ifExists == IfExists::open ? holdAgain(path) : failed(EEXIST);
    Descriptor file = makeUnnamed(size);
    for (int round = 0; file.valid() && round < mostRounds; ++round) {
        if (giveName(file, path)) return keep(std::move(file), path, static_cast<std::size_t>(size));
        if (errno != EEXIST) return 0;
        const MappingHandle existing = openPath(path); // removes a dead block
        if (existing == 0) continue;
        if (ifExists == IfExists::open) return existing;
        release(existing);
        return failed(EEXIST);
    }
    return 0;
}

/// What the system's error number says about a block.
MappingError errorOf(int number) {
    switch (number) {
    case ENOENT: return MappingError::notFound;
    case EEXIST: return MappingError::exists;
    case EINVAL: return MappingError::badSize;
    case EMFILE:
    case ENFILE: return MappingError::tooManyFiles;
    case ENOSPC:
    case EDQUOT: return MappingError::noSpace;
    case ENOMEM: return MappingError::noMemory;
    case EACCES:
    case EPERM:
    case EISDIR:
    case ELOOP: return MappingError::denied;
    default: return MappingError::other;
    }
}

thread_local MappingError lastError = MappingError::other;

/// No exception leaves: a name that cannot be built is a block that cannot be had.
template <class Action> MappingHandle withPath(std::string_view name, Action action) noexcept {
    lastError = MappingError::other;
    if (!isPlainName(namespaceOfHost()))
        lastError = MappingError::badNamespace;
    else if (name.empty() || !isPlainName(name))
        lastError = MappingError::badName;
    if (lastError != MappingError::other) return 0;
    try {
        const std::string path = pathOf(name);
        const std::lock_guard lock(openBlocks().mutex);
        const MappingHandle handle = action(path);
        if (handle == 0) lastError = errorOf(errno);
        return handle;
    } catch (...) {
        lastError = MappingError::noMemory;
        return 0;
    }
}

} // namespace

MappingError lastMappingError() noexcept { return lastError; }

MappingHandle openMapping(std::string_view name) noexcept {
    return withPath(name, [](const std::string &path) { return openPath(path); });
}

MappingHandle createMapping(std::string_view name, std::int32_t size) noexcept {
    return withPath(name, [size](const std::string &path) { return createPath(path, size, IfExists::open); });
}

MappingHandle createMappingExclusively(std::string_view name, std::int32_t size) noexcept {
    return withPath(name, [size](const std::string &path) { return createPath(path, size, IfExists::fail); });
}

void *mapView(MappingHandle mapping) noexcept {
    if (mapping == 0 || mappingOf(mapping).bytes == 0) return nullptr;
    const std::lock_guard lock(openBlocks().mutex);
    Mapping &object = mappingOf(mapping);
    if (object.views == 0) {
        void *view = ::mmap(nullptr, object.bytes, PROT_READ | PROT_WRITE, MAP_SHARED, object.file.get(), 0);
        if (view == MAP_FAILED) return nullptr;
        object.view = view;
    }
    ++object.views;
    return object.view;
}

std::size_t viewSize(MappingHandle mapping, const void *view) noexcept {
    return mapping == 0 || view == nullptr ? 0 : mappingOf(mapping).bytes;
}

bool unmapView(MappingHandle mapping, void *view) noexcept {
    if (mapping == 0 || view == nullptr) return false;
    const std::lock_guard lock(openBlocks().mutex);
    Mapping &object = mappingOf(mapping);
    if (object.views == 0 || view != object.view) return false;
    return --object.views != 0 || ::munmap(view, object.bytes) == 0;
}

void closeMapping(MappingHandle mapping) noexcept {
    const std::lock_guard lock(openBlocks().mutex);
    release(mapping);
}

} // namespace kx3::platform
