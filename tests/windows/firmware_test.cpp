// Whole operations through COM: both registered classes, the simulated programmer, a real firmware for
// an ARM device and a real boot loader with its board's fuses for one that the session window drives.

#include "windows/suite_host.h"

namespace kx3::test {
namespace {

constexpr SHORT instance = 41;
constexpr Byte automatic = 0, readOperation = 2, program = 3, verify = 5;
constexpr Byte blankCheck = 4, erase = 8, programFuses = 9;

TEST(Firmware, IsProgrammedVerifiedAndReadThroughCom) {
    constexpr Long deviceBytes = 0x40000;
    std::ifstream file(KX3_FIRMWARE);
    if (!file) GTEST_SKIP() << KX3_FIRMWARE << " is not installed";
    const Image image = imageOf(file, deviceBytes);

    const Suite suite;
    SuiteHost host(instance, deviceBytes);
    host.setArmDevice(80, deviceBytes, 0xC000);
    host.setText("algorithm", 0, L"clock");
    const auto mpu = host.plugIn();
    Programmer programmer;
    programmer.open(instance);

    std::copy(image.begin(), image.end(), host.buffer());
    ASSERT_EQ(host.run(*mpu, program), S_OK);
    EXPECT_EQ(host.at<Byte>("prgresult"), 0);
    EXPECT_TRUE(programmer.passed());

    ASSERT_EQ(host.run(*mpu, verify), S_OK);
    EXPECT_EQ(host.at<Byte>("prgresult"), 0);
    EXPECT_TRUE(programmer.passed());

    constexpr std::size_t place = 0x1234;
    host.buffer()[place] ^= 0x10;
    ASSERT_EQ(host.run(*mpu, verify), S_OK);
    EXPECT_EQ(host.at<Byte>("prgresult"), 1);
    EXPECT_FALSE(programmer.passed());

    std::fill_n(host.buffer(), deviceBytes, Byte{0});
    ASSERT_EQ(host.run(*mpu, readOperation), S_OK);
    EXPECT_TRUE(programmer.passed());
    EXPECT_TRUE(std::equal(image.begin(), image.end(), host.buffer()));
    EXPECT_NE(host.log().find(L"Sec"), std::wstring::npos);
    programmer.close();
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
}

/// A board's boot loader as the package of its makers describes it.
struct BootLoader {
    static constexpr const char *package = "/usr/share/arduino/hardware/arduino/avr/";

    BootLoader() {
        std::ifstream boards(std::string(package) + "boards.txt");
        for (std::string line; std::getline(boards, line);)
            if (const std::size_t equals = line.find('='); equals != std::string::npos)
                entries_[line.substr(0, equals)] = line.substr(equals + 1);
    }
    /// Value of the board's processor, else of the board; empty without the package.
    [[nodiscard]] std::string value(const std::string &key) {
        for (const char *board : {"diecimila.menu.cpu.atmega328.bootloader.", "diecimila.bootloader."})
            if (const auto found = entries_.find(board + key); found != entries_.end()) return found->second;
        return {};
    }
    [[nodiscard]] Byte byte(const std::string &key) { return static_cast<Byte>(std::stoul(value(key), nullptr, 16)); }
    [[nodiscard]] std::string file() { return package + ("bootloaders/" + value("file")); }

  private:
    std::map<std::string, std::string> entries_;
};

/// The device of that board in the simulated socket: 16 Ki words of flash, four configuration bytes.
class BoardDevice {
  public:
    static constexpr Long words = 0x4000;
    static constexpr std::size_t bytes = 2 * words;
    static constexpr Byte maker = 0x1E, deviceCode = 0x95;

    explicit BoardDevice(const wchar_t *faults = L"") {
        host.setPinDrivenDevice(50, words, 2, {erase, blankCheck, program, verify, programFuses});
        host.at<Byte>("prgmode") = 55;
        host.at<Integer>("compid") = maker;
        host.at<Integer>("typeid") = deviceCode;
        host.at<Integer>("chipidtestmode") = -1;
        mpu = host.plugIn();
        programmer.insert(maker, deviceCode);
        programmer.open(instance, faults);
    }
    ~BoardDevice() {
        programmer.close(); // the process's one programmer goes on to the next device
        EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
    }
    BoardDevice(const BoardDevice &) = delete;
    BoardDevice &operator=(const BoardDevice &) = delete;

    Suite suite;
    SuiteHost host{instance, bytes};
    com::ComPtr<::_clsMPU> mpu;
    Programmer programmer;
    AnnouncementWatch watch{host, programmer, 5};
};

TEST(BootLoader, IsProgrammedWithItsFusesThroughCom) {
    BootLoader loader;
    std::ifstream file(loader.file());
    if (!file) GTEST_SKIP() << BootLoader::package << " is not installed";
    Image image = imageOf(file, BoardDevice::bytes);
    image.resize(BoardDevice::bytes + 16, 0xFF);
    const std::pair<std::size_t, const char *> fuses[] = {
        {0, "low_fuses"}, {1, "high_fuses"}, {2, "extended_fuses"}, {7, "lock_bits"}};
    for (const auto &[place, key] : fuses)
        image[BoardDevice::bytes + place] = loader.byte(key);

    BoardDevice device;
    std::copy(image.begin(), image.end(), device.host.buffer());
    ASSERT_EQ(device.host.run(*device.mpu, automatic), S_OK);
    EXPECT_TRUE(device.programmer.passed()) << std::string(device.host.log().begin(), device.host.log().end());
    EXPECT_EQ(device.watch.taken(), (std::vector<Byte>{erase, blankCheck, program, verify, programFuses}));

    std::fill_n(device.host.buffer(), image.size(), Byte{0});
    ASSERT_EQ(device.host.run(*device.mpu, readOperation), S_OK);
    EXPECT_TRUE(device.programmer.passed());
    EXPECT_TRUE(std::equal(image.begin(), image.begin() + BoardDevice::bytes, device.host.buffer()));
    for (const auto &[place, key] : fuses)
        EXPECT_EQ(device.host.buffer()[BoardDevice::bytes + place], loader.byte(key)) << key;
}

TEST(BootLoader, AnotherChipIsAskedAbout) {
    struct Case {
        const char *name;
        const wchar_t *faults;
        std::vector<int> buttons;
        bool runs;
    };
    const Case cases[] = {
        {"abort", L"chipid@1+:wrong", {IDABORT}, false},
        {"retry finds the right one", L"chipid@1:wrong", {IDRETRY}, true},
        {"retry, then ignore", L"chipid@1+:wrong", {IDRETRY, IDIGNORE}, true},
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.name);
        BoardDevice device(test.faults);
        BoxPresser presser(test.buttons);
        ASSERT_EQ(device.host.run(*device.mpu, erase), S_OK);
        EXPECT_EQ(device.watch.taken().size(), test.runs ? 1U : 0U);
        EXPECT_EQ(device.programmer.passed(), test.runs);
        EXPECT_EQ(presser.texts().size(), test.buttons.size());
    }
}

TEST(Firmware, MissingSessionHostIsNamed) {
    const Registered plugin(L"kx3mpu6.dll");
    const ComThread com;
    SuiteHost host(instance, 0x1000);
    const auto mpu = host.plugIn();
    host.at<Integer>("modeltype") = 45; // the session window, whose errors reach the host
    EXPECT_EQ(host.run(*mpu, program), static_cast<HRESULT>(0x800A01AD));
    EXPECT_EQ(takeErrorText(), L"Component can't create object: kx3host.SessionHost");
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
}

} // namespace
} // namespace kx3::test
