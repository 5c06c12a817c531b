#include "blocks.h"

#include "base/text.h"
#include "load_file.h"

#include <algorithm>
#include <fmt/format.h>
#include <sys/mman.h>

namespace kx3console {

namespace {

constexpr std::string_view prefix = "tamsel";
/// What kx3_findnum gives when every number is taken.
constexpr std::int16_t noInstance = 101;

[[noreturn]] void failToCreate(const std::string &name, kx3_status status, const kx3_block_info &info,
                               std::int16_t instance) {
    constexpr std::string_view elsewhere =
        ", or give this one a world of its own with the environment variable KX3MPU6_NAMESPACE";
    if (status != KX3_ALREADY_EXISTS)
        throw Failure(Exit::noAnswer, fmt::format("the shared block {} cannot be created: {}", name, kx3_last_error()),
                      fmt::format("Free some shared memory{}.", elsewhere));
    if (info.numbered != 0)
        throw Failure(Exit::noAnswer,
                      fmt::format("another host with instance number {} is running: it holds block {}", instance, name),
                      "Wait until it has ended, or choose another number with --instance.");
    throw Failure(Exit::noAnswer, fmt::format("another host holds the device buffer, block {}", name),
                  fmt::format("Wait until it has ended{}.", elsewhere));
}

std::int16_t freeInstance() {
    std::int16_t number = 0;
    if (kx3_findnum(&number) != KX3_OK) throw pluginFailure("looking for a free instance number");
    if (number == noInstance)
        throw Failure(Exit::noAnswer, "all instance numbers from 0 to 100 are in use",
                      "Wait until another host has ended.");
    return number;
}

} // namespace

SharedBlocks::SharedBlocks(std::optional<std::int16_t> instance, std::int32_t dataBytes)
    : instance_(instance ? *instance : freeInstance()) {
    if (kx3_abi_version() != KX3_ABI_VERSION)
        throw Failure(Exit::failed,
                      fmt::format("the plug-in's interface has version {}, this program needs {}", kx3_abi_version(),
                                  KX3_ABI_VERSION),
                      "Install program and plug-in of one release.");
    for (std::int32_t i = 0; i < kx3_block_count(); ++i) {
        kx3_block_info info = kx3_block_info_init();
        if (kx3_block_describe(i, &info) != KX3_OK) throw pluginFailure("describing the shared blocks");
        create(info, dataBytes);
    }
}

SharedBlocks::~SharedBlocks() {
    for (const Block &block : blocks_) {
        if (block.type != KX3_STRING) continue;
        const auto *handles = static_cast<const std::uint32_t *>(kx3_block_data(block.memory.get()));
        std::for_each(handles, handles + block.count, kx3_string_free);
    }
}

void SharedBlocks::create(const kx3_block_info &info, std::int32_t dataBytes) {
    const std::string name =
        fmt::format("{}{}{}", prefix, info.root, info.numbered != 0 ? std::to_string(instance_) : "");
    const bool isDeviceBuffer = info.bytes == 0;
    const std::int32_t bytes = isDeviceBuffer ? dataBytes + deviceBufferExtra : info.bytes;
    kx3_block *memory = nullptr;
    const kx3_status status = kx3_block_create(name.c_str(), bytes, &memory);
    if (status != KX3_OK) failToCreate(name, status, info, instance_);
    blocks_.push_back({info.root, info.type, isDeviceBuffer ? bytes : info.count, {}});
    blocks_.back().memory.reset(memory);
}

const SharedBlocks::Block &SharedBlocks::find(std::string_view root) const {
    const auto block =
        std::find_if(blocks_.begin(), blocks_.end(), [root](const Block &each) { return each.root == root; });
    if (block == blocks_.end())
        throw Failure(Exit::failed, fmt::format("the plug-in has no block \"{}\"", root),
                      "Install program and plug-in of one release.");
    return *block;
}

void SharedBlocks::store(std::string_view root, std::int32_t element, std::int64_t value) const {
    const auto at = static_cast<std::size_t>(element);
    switch (find(root).type) {
    case KX3_BYTE: elements<std::uint8_t>(root)[at] = static_cast<std::uint8_t>(value); break;
    case KX3_BOOLEAN:
    case KX3_INTEGER: elements<std::int16_t>(root)[at] = static_cast<std::int16_t>(value); break;
    case KX3_LONG: elements<std::int32_t>(root)[at] = static_cast<std::int32_t>(value); break;
    case KX3_DOUBLE: elements<double>(root)[at] = static_cast<double>(value); break;
    default: throw Failure(Exit::failed, fmt::format("block \"{}\" holds no numbers", root));
    }
}

void SharedBlocks::storeText(std::string_view root, std::int32_t element, std::u16string_view text) const {
    std::uint32_t handle = 0;
    if (kx3_string_alloc(reinterpret_cast<const std::uint16_t *>(text.data()), text.size(), &handle) != KX3_OK)
        throw pluginFailure("storing a text");
    kx3_string_free(std::exchange(elements<std::uint32_t>(root)[static_cast<std::size_t>(element)], handle));
}

std::u16string SharedBlocks::text(std::string_view root, std::int32_t element) const {
    const std::uint32_t handle = elements<std::uint32_t>(root)[static_cast<std::size_t>(element)];
    std::size_t length = 0;
    if (handle == 0 || kx3_string_read(handle, nullptr, 0, &length) != KX3_OK) return {};
    std::u16string text(length, u'\0');
    if (kx3_string_read(handle, reinterpret_cast<std::uint16_t *>(text.data()), length, &length) != KX3_OK) return {};
    return text;
}

void SharedBlocks::releasePages(std::string_view root) const {
    const kx3_block *block = find(root).memory.get();
    ::madvise(kx3_block_data(block), kx3_block_size(block), MADV_DONTNEED);
}

void storeProfile(SharedBlocks &blocks, const Profile &profile) {
    for (const ProfileRow &row : profileTable) {
        if (row.block.empty()) continue;
        if (row.kind == ValueKind::text) {
            blocks.storeText(row.block, row.element, kx3::fromUtf8(profile.text(row.key)));
        } else if (row.kind == ValueKind::bytes) {
            const auto bytes = profile.bytes(row.key);
            std::copy(bytes.begin(), bytes.end(), blocks.elements<std::uint8_t>(row.block).begin() + row.element);
        } else {
            blocks.store(row.block, row.element, profile.integer(row.key));
        }
    }
    blocks.store("buflength", 0, static_cast<std::int64_t>(blocks.deviceBuffer().size()) - deviceBufferExtra);
    blocks.store("wautonum", 0, static_cast<std::int64_t>(profile.bytes(ProfileKey::auto_sequence).size()));
    blocks.storeText("wtype", 0, kx3::fromUtf8(profile.name));

    const auto behindData = blocks.deviceBuffer().subspan(static_cast<std::size_t>(profile.dataBytes()));
    std::fill(behindData.begin(), behindData.end(), erasedByte);
}

void storeConfiguration(SharedBlocks &blocks, const Profile &profile) {
    const auto configuration = profile.bytes(ProfileKey::configuration);
    std::copy(configuration.begin(), configuration.end(), blocks.deviceBuffer().begin() + profile.dataBytes());
}

Failure pluginFailure(std::string_view what) {
    return {Exit::failed, fmt::format("{} failed: {}", what, kx3_last_error())};
}

} // namespace kx3console
