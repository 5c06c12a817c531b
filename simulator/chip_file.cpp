#include "simulator/chip_file.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <span>

namespace kx3sim {

namespace {

namespace fs = std::filesystem;

constexpr std::array<Byte, 8> magic{'K', 'X', '3', 'C', 'H', 'I', 'P', 0x1A};
constexpr std::uint32_t layoutVersion = 1;

struct Header {
    std::array<Byte, 8> magic = kx3sim::magic;
    std::uint32_t version = layoutVersion;
    std::uint32_t headerBytes = 64;
    std::uint64_t mainBytes = 0;
    std::uint64_t eepromBytes = 0;
    std::uint32_t configurationBytes = KX6SIM_CONFIGURATION_BYTES;
    Byte isProtected = 0;
    Byte codeCount = 0;
    Byte maker = 0;
    std::array<Byte, KX6SIM_MAX_DEVICE_CODES> codes{};
    std::array<Byte, 10> unused{};
    std::uint64_t checksum = 0;
};
static_assert(sizeof(Header) == 64 && offsetof(Header, checksum) == 56);
static_assert(std::endian::native == std::endian::little, "the header is read and written as it stands in memory");

std::span<Byte> bytesOf(Header &header) { return {reinterpret_cast<Byte *>(&header), sizeof header}; }

class Checksum {
  public:
    explicit Checksum(Header &header) { add(bytesOf(header).first(offsetof(Header, checksum))); }

    void add(std::span<const Byte> part) {
        for (std::size_t i = 0; i < part.size(); i += sizeof sum_) {
            std::uint64_t word = 0;
            std::memcpy(&word, &part[i], std::min(sizeof word, part.size() - i));
            sum_ = std::rotl((sum_ ^ word) * 0x9E3779B97F4A7C15U, 29);
        }
    }
    [[nodiscard]] std::uint64_t value() const noexcept { return sum_; }

  private:
    std::uint64_t sum_ = 0;
};

[[noreturn]] void fail(kx6sim_status status, const fs::path &path, const std::string &why) {
    const std::u8string name = path.u8string();
    throw Failure(status, std::string("chip file \"").append(name.begin(), name.end()).append("\" ").append(why));
}

[[noreturn]] void invalid(const fs::path &path, const std::string &why) { fail(KX6SIM_FILE_INVALID, path, why); }
[[noreturn]] void unreadable(const fs::path &path) { fail(KX6SIM_FILE_UNREADABLE, path, "cannot be read"); }

/// `visit(memory, offset, chunk)` for all data of a chip in the order of the file, a part at a time;
/// parts are whole groups of the checksum.
template <class AChip, class Visit> void forData(AChip &chip, const Visit &visit) {
    std::array<Byte, Memory::sectorBytes> chunk;
    for (auto *memory : {&chip.configuration, &chip.main, &chip.eeprom})
        for (std::size_t offset = 0; offset < memory->size(); offset += chunk.size())
            visit(*memory, offset, std::span(chunk).first(std::min(chunk.size(), memory->size() - offset)));
}

Header headerOf(const Chip &chip) {
    Header header;
    header.mainBytes = chip.main.size();
    header.eepromBytes = chip.eeprom.size();
    header.isProtected = chip.isProtected ? 1 : 0;
    header.codeCount = chip.identity.code_count;
    header.maker = chip.identity.maker;
    std::copy_n(chip.identity.codes, chip.identity.code_count, header.codes.begin());
    return header;
}

/// The erased chip that a header describes, when a file of `fileSize` bytes can hold it.
Chip chipOf(const fs::path &path, const Header &header, std::uint64_t fileSize) {
    constexpr Header expected;
    if (header.magic != expected.magic) invalid(path, "is no chip file");
    if (header.version != expected.version)
        invalid(path, "has layout version " + std::to_string(header.version) + "; this program knows " +
                          std::to_string(expected.version));
    if (header.headerBytes != expected.headerBytes || header.configurationBytes != expected.configurationBytes ||
        header.mainBytes > Memory::most || header.eepromBytes > Memory::most)
        invalid(path, "has a damaged header");
    const std::uint64_t needed = sizeof header + header.configurationBytes + header.mainBytes + header.eepromBytes;
    if (fileSize < needed)
        invalid(path, "is cut short: " + std::to_string(fileSize) + " of " + std::to_string(needed) + " bytes");
    if (fileSize > needed) invalid(path, "has " + std::to_string(fileSize - needed) + " bytes too many");
    if (header.codeCount == 0 || header.codeCount > header.codes.size()) invalid(path, "has a damaged header");

    kx6sim_identity identity{header.maker, header.codeCount, {}};
    std::copy(header.codes.begin(), header.codes.end(), identity.codes);
    Chip chip(header.mainBytes, header.eepromBytes, identity);
    chip.isProtected = header.isProtected != 0;
    return chip;
}

std::uint64_t regularFileSize(const fs::path &path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) fail(KX6SIM_FILE_MISSING, path, "does not exist");
    if (status.type() != fs::file_type::regular) fail(KX6SIM_FILE_UNREADABLE, path, "is no readable file");
    const std::uintmax_t size = fs::file_size(path, error);
    if (error) unreadable(path);
    return size;
}

void read(std::ifstream &file, const fs::path &path, std::span<Byte> destination) {
    file.read(reinterpret_cast<char *>(destination.data()), static_cast<std::streamsize>(destination.size()));
    if (!file) unreadable(path);
}

void write(std::ofstream &file, std::span<const Byte> source) {
    file.write(reinterpret_cast<const char *>(source.data()), static_cast<std::streamsize>(source.size()));
}

/// False when the file could not be written completely.
bool writeAll(const fs::path &path, const Chip &chip) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    Header header = headerOf(chip);
    Checksum sum(header);
    write(file, bytesOf(header));
    forData(chip, [&](const Memory &memory, std::size_t offset, std::span<Byte> chunk) {
        memory.read(offset, chunk);
        sum.add(chunk);
        write(file, chunk);
    });
    header.checksum = sum.value();
    file.seekp(0);
    write(file, bytesOf(header));
    file.close();
    return !file.fail();
}

} // namespace

Chip readChipFile(const fs::path &path) {
    const std::uint64_t fileSize = regularFileSize(path);
    std::ifstream file(path, std::ios::binary);
    if (!file) unreadable(path);
    Header header;
    if (fileSize < sizeof header) invalid(path, "is cut short: " + std::to_string(fileSize) + " bytes");
    read(file, path, bytesOf(header));
    Chip chip = chipOf(path, header, fileSize);

    Checksum sum(header);
    forData(chip, [&](Memory &memory, std::size_t offset, std::span<Byte> chunk) {
        read(file, path, chunk);
        sum.add(chunk);
        memory.store(offset, chunk);
    });
    if (sum.value() != header.checksum) invalid(path, "has a wrong checksum");
    return chip;
}

void writeChipFile(const fs::path &path, const Chip &chip) {
    fs::path temporary = path;
    temporary += ".tmp";
    std::error_code error;
    if (writeAll(temporary, chip)) {
        fs::rename(temporary, path, error);
        if (!error) return;
    }
    fs::remove(temporary, error);
    fail(KX6SIM_FILE_NOT_WRITABLE, path, "cannot be written");
}

} // namespace kx3sim
