#include "support/bare_session.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <unistd.h>

namespace kx3::bench {

namespace {

constexpr Byte algorithmGroup = 0x33;
constexpr Byte runGroup = 0x34;
constexpr Byte firstServiceCode = 0x1A; // version query and identity read; run codes are smaller
constexpr Byte readRun = 2;
constexpr Byte verifyRun = 6;
constexpr std::size_t algorithmBytes = 0x6000;

class SilentUi final : public Ui {
  public:
    MessageBoxResult messageBox(std::u16string_view prompt, Long, std::optional<std::u16string_view>) override {
        std::cerr << toUtf8(prompt) << '\n';
        return MessageBoxResult::abort;
    }
    void yield() override {}
    void showModal(Form &) override {}
};

class StoppedClock final : public Clock {
  public:
    float secondsSinceMidnight() override { return 0; }
};

void writeAlgorithm(const std::filesystem::path &path) {
    std::filesystem::create_directories(path.parent_path());
    const std::vector<char> image(algorithmBytes, 0x55);
    std::ofstream(path, std::ios::binary).write(image.data(), static_cast<std::streamsize>(image.size()));
}

} // namespace

Integer ImmediateProgrammer::usbcomwrite(Byte *packet, Long) {
    toAlgorithm_ = packet[0] == algorithmGroup;
    if (packet[0] == runGroup && packet[1] < firstServiceCode) {
        const std::size_t block = packet[3] + 256U * packet[4];
        const bool offersData = packet[1] == readRun || packet[1] == verifyRun;
        place_ = (offersData ? block : block + 1) * blockBytes;
    }
    return 0;
}

Integer ImmediateProgrammer::usbbulkwrite(Byte *data, Long count) {
    const auto bytes = static_cast<std::size_t>(count);
    if (toAlgorithm_) {
        std::memcpy(algorithm_.data(), data, std::min(bytes, algorithm_.size()));
        place_ = 0;
    } else {
        const std::size_t room = device.size() - std::min(place_, device.size());
        std::memcpy(device.data() + place_, data, std::min(bytes, room));
        place_ += bytes;
    }
    return 0;
}

void ImmediateProgrammer::usbbulkread(Byte *destination, Long count, Byte *state) {
    const std::vector<Byte> &source = toAlgorithm_ ? algorithm_ : device;
    const std::size_t place = toAlgorithm_ ? 0 : place_;
    std::memcpy(destination, source.data() + place, static_cast<std::size_t>(count));
    place_ = toAlgorithm_ ? 0 : place_ + static_cast<std::size_t>(count);
    *state = 2;
}

std::u16string ImmediateProgrammer::datstr(Long value, Long) { return hex(value); }

bool ImmediateSessionHost::PollStatus(Long) {
    report[0] = 100;
    report[1] = 0;
    report[2] = firmwareVersion;
    return true;
}

// As a host compares: a look into its own copy of the buffer, and out of the way on a difference.
Long ImmediateSessionHost::CompareByte(Byte data, Long address, Long) {
    const auto index = static_cast<std::size_t>(address);
    if (index < expected.size() && expected[index] == data) [[likely]]
        return 0;
    return ++differences, 0;
}

Long ImmediateSessionHost::CompareWord(Byte low, Byte high, Long address, Long, Long mask) {
    const std::size_t index = static_cast<std::size_t>(address) * 2;
    if (index + 1 < expected.size() && expected[index] == low && ((expected[index + 1] ^ high) & mask) == 0) [[likely]]
        return 0;
    return ++differences, 0;
}

Outside BareSession::outside() {
    auto io = std::make_unique<ImmediateProgrammer>();
    programmer = io.get();
    return {std::move(io), [this] { return sessionHost; }, std::make_unique<SilentUi>(),
            std::make_unique<StoppedClock>()};
}

BareSession::BareSession(const Device &device) : apartment_(outside()) {
    SilentUi ui;
    const Integer instance = 1;
    host.MapSharedBlocks(instance, ui);
    host.buflength(0) = static_cast<Long>(device.bytes());
    host.MapDeviceBuffer(host.buflength(0) + deviceBufferExtra, ui);
    mpu_.bufcommpu6(instance);

    host.modeltype(0) = device.modelType;
    host.selmode(0) = 0x40;
    host.tlength(0) = device.addresses;
    host.ramlg(0) = device.blockAddresses;
    host.wordmode(0) = device.bytesPerAddress;
    host.wsign(1) = sessionHost->firmwareVersion;
    storeText(host.algorithm, 0, u"none");
    storeText(host.algorithm, 1, u"bench");
    storeText(host.algorithm, 2, u"image");
    sessionHost->report = host.ibuf1.range(0, 20).data();
    programmer->device.assign(device.bytes(), 0xFF);
    programmer->blockBytes = static_cast<std::size_t>(device.blockAddresses) * device.bytesPerAddress;
    const std::span<Byte> data = host.ibuffer.range(0, static_cast<Long>(device.bytes()));
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<Byte>(i * 31 >> 3);
    sessionHost->expected = data;
}

void BareSession::run(Byte number) {
    host.prgresult(0) = 0;
    host.prgresult(1) = number;
    storeText(host.MainRtstr, 0, {});
    Boolean unused;
    mpu_.runMpu6Prg(unused);
    const bool passed = apartment_.sessionFailure().empty() && host.prgresult(0) == 0;
    if (passed && sessionHost->differences == 0) return;
    std::cerr << "session failed: " << toUtf8(apartment_.sessionFailure()) << '\n';
    std::abort();
}

void prepareSurroundings() {
    ::setenv("KX3MPU6_NAMESPACE", ("bench" + std::to_string(::getpid())).c_str(), 1);
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("kx3mpu6-bench-" + std::to_string(::getpid()));
    writeAlgorithm(folder / "algo4" / "bench" / "image.alg");
    writeAlgorithm(folder / "algo" / "bench" / "image.bin");
    std::filesystem::current_path(folder);
    static const struct Cleanup {
        std::filesystem::path folder;
        ~Cleanup() {
            std::error_code ignored;
            std::filesystem::remove_all(folder, ignored);
        }
    } cleanup{folder};
}

} // namespace kx3::bench
