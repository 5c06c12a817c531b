#include "simulator/chip_file.h"

#include "simulator/failure.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <span>

namespace kx3sim {

namespace {

constexpr std::array<Byte, 8> magic{'K', 'X', '3', 'C', 'H', 'I', 'P', 0x1A};
constexpr std::uint32_t layoutVersion = 1;
constexpr std::size_t headerBytes = 64;
constexpr std::uint64_t largestArea = std::uint64_t{1} << 30U;

/// Places of the header's fields.
namespace at {
constexpr std::size_t version = 8;
constexpr std::size_t header = 12;
constexpr std::size_t mainSize = 16;
constexpr std::size_t eepromSize = 24;
constexpr std::size_t configurationSize = 32;
constexpr std::size_t isProtected = 36;
constexpr std::size_t codeCount = 37;
constexpr std::size_t maker = 38;
constexpr std::size_t codes = 39;
constexpr std::size_t checksum = 56;
} // namespace at

using Header = std::array<Byte, headerBytes>;

template <class Number> void put(Header &header, std::size_t place, Number value) {
    for (std::size_t i = 0; i < sizeof value; ++i)
        header[place + i] = static_cast<Byte>(value >> (8 * i));
}

template <class Number> Number get(const Byte *bytes) {
    Number value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i)
        value |= static_cast<Number>(static_cast<Number>(bytes[i]) << (8 * i));
    return value;
}

class Checksum {
  public:
    void add(std::span<const Byte> part) {
        for (; part.size() >= sizeof sum_; part = part.subspan(sizeof sum_))
            addWord(get<std::uint64_t>(part.data()));
        if (part.empty()) return;
        std::array<Byte, sizeof sum_> last{};
        std::copy(part.begin(), part.end(), last.begin());
        addWord(get<std::uint64_t>(last.data()));
    }
    [[nodiscard]] std::uint64_t value() const noexcept { return sum_; }

  private:
    void addWord(std::uint64_t word) { sum_ = std::rotl((sum_ ^ word) * 0x9E3779B97F4A7C15U, 29); }

    std::uint64_t sum_ = 0;
};

std::string quoted(const std::filesystem::path &path) {
    const std::u8string text = path.u8string();
    return std::string("chip file \"").append(text.begin(), text.end()).append("\"");
}

[[noreturn]] void invalid(const std::filesystem::path &path, const std::string &why) {
    throw Failure(KX6SIM_FILE_INVALID, quoted(path) + " " + why);
}

[[noreturn]] void notWritable(const std::filesystem::path &path) {
    throw Failure(KX6SIM_FILE_NOT_WRITABLE, quoted(path) + " cannot be written");
}

Header headerOf(const Chip &chip) {
    Header header{};
    std::copy(magic.begin(), magic.end(), header.begin());
    put(header, at::version, layoutVersion);
    put(header, at::header, static_cast<std::uint32_t>(headerBytes));
    put(header, at::mainSize, std::uint64_t{chip.main.size()});
    put(header, at::eepromSize, std::uint64_t{chip.eeprom.size()});
    put(header, at::configurationSize, static_cast<std::uint32_t>(chip.configuration.size()));
    header[at::isProtected] = chip.isProtected ? 1 : 0;
    header[at::codeCount] = chip.identity.code_count;
    header[at::maker] = chip.identity.maker;
    std::copy_n(chip.identity.codes, chip.identity.code_count, &header[at::codes]);
    return header;
}

/// Sizes that stand in a header.
struct Sizes {
    std::uint64_t main;
    std::uint64_t eeprom;
    [[nodiscard]] std::uint64_t file() const { return headerBytes + KX6SIM_CONFIGURATION_BYTES + main + eeprom; }
};

Sizes checkedSizes(const std::filesystem::path &path, const Header &header, std::uint64_t fileSize) {
    if (!std::equal(magic.begin(), magic.end(), header.begin())) invalid(path, "is no chip file");
    if (const auto version = get<std::uint32_t>(&header[at::version]); version != layoutVersion)
        invalid(path, "has layout version " + std::to_string(version) + "; this program knows " +
                          std::to_string(layoutVersion));
    if (get<std::uint32_t>(&header[at::header]) != headerBytes ||
        get<std::uint32_t>(&header[at::configurationSize]) != KX6SIM_CONFIGURATION_BYTES)
        invalid(path, "has a damaged header");
    const Sizes sizes{get<std::uint64_t>(&header[at::mainSize]), get<std::uint64_t>(&header[at::eepromSize])};
    if (sizes.main > largestArea || sizes.eeprom > largestArea) invalid(path, "has a damaged header");
    if (fileSize < sizes.file())
        invalid(path, "is cut short: " + std::to_string(fileSize) + " of " + std::to_string(sizes.file()) + " bytes");
    if (fileSize > sizes.file()) invalid(path, "has " + std::to_string(fileSize - sizes.file()) + " bytes too many");
    return sizes;
}

kx6sim_identity identityOf(const Header &header) {
    kx6sim_identity identity{};
    identity.maker = header[at::maker];
    identity.code_count = header[at::codeCount];
    std::copy_n(&header[at::codes], KX6SIM_MAX_DEVICE_CODES, identity.codes);
    return identity;
}

std::uint64_t regularFileSize(const std::filesystem::path &path) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        throw Failure(KX6SIM_FILE_MISSING, quoted(path) + " does not exist");
    if (status.type() != std::filesystem::file_type::regular)
        throw Failure(KX6SIM_FILE_UNREADABLE, quoted(path) + " is no readable file");
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error) throw Failure(KX6SIM_FILE_UNREADABLE, quoted(path) + " cannot be read");
    return size;
}

void read(std::ifstream &file, const std::filesystem::path &path, std::span<Byte> destination) {
    file.read(reinterpret_cast<char *>(destination.data()), static_cast<std::streamsize>(destination.size()));
    if (!file) throw Failure(KX6SIM_FILE_UNREADABLE, quoted(path) + " cannot be read");
}

void write(std::ofstream &file, std::span<const Byte> source) {
    file.write(reinterpret_cast<const char *>(source.data()), static_cast<std::streamsize>(source.size()));
}

/// `visit` the main memory, a chunk at a time; chunks are whole groups of the checksum.
template <class Visit> void forChunks(std::size_t size, Visit &&visit) {
    std::array<Byte, FlashArray::sectorBytes> chunk;
    for (std::size_t offset = 0; offset < size; offset += chunk.size())
        visit(offset, std::span(chunk).first(std::min(chunk.size(), size - offset)));
}

std::uint64_t checksumOf(const Header &header, const Chip &chip) {
    Checksum sum;
    sum.add(std::span(header).first(at::checksum));
    sum.add(chip.configuration);
    forChunks(chip.main.size(), [&](std::size_t offset, std::span<Byte> chunk) {
        chip.main.read(offset, chunk);
        sum.add(chunk);
    });
    sum.add(chip.eeprom);
    return sum.value();
}

void writeAll(const std::filesystem::path &path, const Chip &chip) {
    Header header = headerOf(chip);
    put(header, at::checksum, checksumOf(header, chip));
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    write(file, header);
    write(file, chip.configuration);
    forChunks(chip.main.size(), [&](std::size_t offset, std::span<Byte> chunk) {
        chip.main.read(offset, chunk);
        write(file, chunk);
    });
    write(file, chip.eeprom);
    file.close();
    if (!file) notWritable(path);
}

} // namespace

Chip readChipFile(const std::filesystem::path &path) {
    const std::uint64_t fileSize = regularFileSize(path);
    std::ifstream file(path, std::ios::binary);
    if (!file) throw Failure(KX6SIM_FILE_UNREADABLE, quoted(path) + " cannot be read");
    if (fileSize < headerBytes) invalid(path, "is cut short: " + std::to_string(fileSize) + " bytes");
    Header header;
    read(file, path, header);
    const Sizes sizes = checkedSizes(path, header, fileSize);

    const kx6sim_identity identity = identityOf(header);
    if (identity.code_count == 0 || identity.code_count > KX6SIM_MAX_DEVICE_CODES)
        invalid(path, "has a damaged header");
    Chip chip(static_cast<std::size_t>(sizes.main), static_cast<std::size_t>(sizes.eeprom), identity);
    chip.isProtected = header[at::isProtected] != 0;
    read(file, path, chip.configuration);
    forChunks(chip.main.size(), [&](std::size_t offset, std::span<Byte> chunk) {
        read(file, path, chunk);
        chip.main.store(offset, chunk);
    });
    read(file, path, chip.eeprom);
    if (checksumOf(header, chip) != get<std::uint64_t>(&header[at::checksum])) invalid(path, "has a wrong checksum");
    return chip;
}

void writeChipFile(const std::filesystem::path &path, const Chip &chip) {
    std::filesystem::path temporary = path;
    temporary += ".tmp";
    std::error_code error;
    try {
        writeAll(temporary, chip);
    } catch (const Failure &) {
        std::filesystem::remove(temporary, error);
        notWritable(path);
    }
    std::filesystem::rename(temporary, path, error);
    if (!error) return;
    std::error_code ignored;
    std::filesystem::remove(temporary, ignored);
    notWritable(path);
}

} // namespace kx3sim
