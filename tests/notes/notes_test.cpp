#include "host/error_of.h"
#include "rig/apartment.h"

#include <gtest/gtest.h>

#include <map>

namespace kx3 {
namespace {

using test::errorOf;

constexpr Long english = 0;
constexpr Long chinese = 3000;
constexpr Long traditional = 6000;

/// What the host has put into the blocks when it asks for a note.
struct Device {
    Long language = english;
    Long length = 0x10000; ///< `tlength`(0)
    Integer size = 0;      ///< `bvcch`(0)
    Integer page = 0;      ///< `pagelength`(0)
    Byte mode = 0;
    Byte option = 0;
};

class Notes : public testing::Test {
  protected:
    Notes() { t.attach(1000); }

    /// The prompt of the one box that note `no` shows; empty when it shows none.
    std::string prompt(const Device &device, Byte no) {
        t.host.Language(0) = device.language;
        t.host.tlength(0) = device.length;
        t.host.bvcch(0) = device.size;
        t.host.pagelength(0) = device.page;
        t.host.prgmode(0) = device.mode;
        t.host.woption(0) = device.option;
        t.ui->boxes.clear();
        t.mpu.mpu6warn(no);
        EXPECT_LE(t.ui->boxes.size(), 1U);
        return t.ui->boxes.empty() ? "" : toUtf8(t.ui->boxes.front().prompt);
    }

    test::TestApartment t;
};

struct Case {
    Byte no;
    Device device;
    std::string prompt;
};

const std::string information =
    "Note: Information memory is located in buffer 1800h --- 19FFh and Main memory is located in buffer ";

const std::string otherAreas =
    "   EEPROM2:      600h - 7FFh .\r   EEPROM1:      800h - 9FFh .\r   FLASH1:          8000h - FDFFh .\r";
const std::string security = " .\r\r This device has 8-byte security feature at OxFFF6-OxFFFD,\r"
                             "to read a programmed  device with the security feature ,\r"
                             "must be filled with correct data.";

const Case cases[] = {
    {61,
     {.length = 0x1200, .size = 0x200},
     "                 Device         Buffer\r\rProgram Memory:000H---FFFH    000H---1FFFH   \r\r"
     "   Data Memory:000H---03FFH   2000H---23FFH   \r\r"},
    {62, {.length = 0x10000}, information + "8000h ---FFFFh"},
    {62, {.length = 0x9000}, information + "4400h ---8FFFh"},
    {62, {.length = 0}, information + "4400h ---FFFFFFFFh"},
    {63, {.length = 5, .size = 0}, information + "8000h ---FFFFh"},
    {63, {.length = 5, .size = 1}, information + "A000h ---FFFFh"},
    {63, {.length = 5, .size = 2}, information + "C000h ---FFFFh"},
    {63, {.length = 5, .size = 3}, information + "E000h ---FFFFh"},
    {64, {.length = 0xE000, .option = 0}, information + "4000h ---DFFFh"},
    {64, {.length = 0xE000, .option = 1}, information + "C000h ---DFFFh"},
    {64, {.length = 0xE000, .option = 2}, information + "8000h ---DFFFh"},
    {64, {.length = 0xE000, .option = 3}, information + "4000h ---DFFFh"},
    {65,
     {.mode = 0x1B},
     "   FLASH2:          450h - 4FFh,580-5FF, E00h - 7FFFh .\r" + otherAreas + "   User vectors:   FFCCh - FFFFh" +
         security},
    {65,
     {.mode = 0x1C},
     "   FLASH2:          450h - 5FFh, E00h - 7FFFh .\r" + otherAreas + "   User vectors:   FFDAh - FFFFh" + security},
    {65,
     {.mode = 0x1D},
     "   FLASH2:          450h - 5FFh, E00h - 7FFFh .\r" + otherAreas + "   User vectors:   FFD2-FFD3, FFDAh - FFFFh" +
         security + " "},
    {66,
     {.length = 0x4000, .mode = 0x21},
     "\r  USER EPROM is located in buffer 20h --- 4Fh and  100h ---1EFFh\r\r"
     "  USER VECTORS is located in buffer 3FF0h --- 3FFFh"},
    {67,
     {.length = 0x2000},
     "\r  USER EPROM is located in buffer 1000h ---1EFFh\r\r  USER VECTORS is located in buffer 1FF0h --- 1FFFh"},
    {68,
     {.mode = 0x29},
     "\r  EEPROM is located in buffer FE00h ---FFFFh\r\r  Config is located in buffer 103FH\r\r"
     "  The CONFIG register's EE3--EE0 and EEON bits can not to be read use programmer"},
    {68, {.mode = 0x28}, "\r  EEPROM is located in buffer B600h ---B7FFh\r\r  Config is located in buffer 103FH"},
    {72,
     {},
     "\rthe chip's register can only be written one time, once change of register, it will never change again. "},
    {73,
     {.length = 0x8480, .size = 0x400, .page = 0x80},
     "\rFlash is located in buffer 0h ---7FFFh\r\rEEPROM is located in buffer 8000h ---83FFh\r\r"
     "User Signature Row is located in buffer 8400h ---847Fh\r"},
    {74,
     {.language = traditional}, // texts of its own it has only where a table gives them
     "\r  EEPROM is located in buffer F800h ---FFFFh\r  Config is located in buffer 103FH"},
    {75,
     {},
     "\r The CCFG registers are located in buffer from 1FFA8h to 1FFFFh,and CCFG bits can only be change from 1 to 0."},
    {62, {.language = chinese, .length = 0x10000}, information + "8000h ---FFFFh"},
    {65,
     {.language = chinese, .mode = 0x1C},
     "   FLASH2:          450h - 5FFh, E00h - 7FFFh .\r" + otherAreas + "   User vectors:   FFDAh - FFFFh .\r\r" +
         " 该芯片有八位保密位，位于OxFFF6-OxFFFD,如果要正确读\r出已加密的芯片，须在保密位上填充正确的数据。"},
    {66,
     {.language = chinese, .length = 0x4000, .mode = 0x26},
     "\r  USER EPROM 位于缓冲区的地址是 20h --- 4Fh 和  100h ---12FFh\r\r"
     "  USER VECTORS 位于缓冲区的地址是 3FF0h --- 3FFFh"},
    {67,
     {.language = chinese, .length = 0x2000},
     "\r  USER EPROM 位于缓冲区的地址是 1000h ---1EFFh\r\r  USER VECTORS 位于缓冲区的地址是 1FF0h --- 1FFFh"},
    {68,
     {.language = chinese, .mode = 0x29},
     "\r  EEPROM 位于缓冲区的地址是 FE00h ---FFFFh\r\r  Config 位于缓冲区的地址是 103FH\r\r"
     "编程器不能读出 CONFIG 寄存器的 EE3--EE0 和 EEON 位"},
    {69, {.language = chinese}, "\r  EPROM 位于缓冲区的地址是 F000h ---FFFFh\r\r  Config 位于缓冲区的地址是 003FH"},
    {70,
     {.language = chinese},
     "\r  EEPROM 位于缓冲区的地址是 B600h ---B7FFh\r\r  EPROM 位于缓冲区的地址是 D000H--FFFFH\r\r"
     "  Config 位于缓冲区的地址是 103FH"},
    {71,
     {.language = chinese},
     "\r  EEPROM 位于缓冲区的地址是 B600h ---B7FFh\r\r"
     "  EPROM 位于缓冲区的地址是 9000H--AFFFH 和 D000H--FFFFH\r\r  Config 位于缓冲区的地址是 103FH"},
};

TEST_F(Notes, ShowTheirTextsAndLookLikeANoteExceptThreeAboutMainMemory) {
    const std::map<Long, std::u16string> titles = {{english, u"Note!"}, {chinese, u"提示！"}, {traditional, u"提示﹗"}};
    for (const Case &c : cases) {
        SCOPED_TRACE("note " + std::to_string(c.no) + " language " + std::to_string(c.device.language));
        EXPECT_EQ(prompt(c.device, c.no), c.prompt);
        ASSERT_EQ(t.ui->boxes.size(), 1U);
        const bool plain = c.no >= 62 && c.no <= 64;
        EXPECT_EQ(t.ui->boxes[0].style, plain ? 0 : 64);
        std::optional<std::u16string> title;
        if (!plain) title = titles.at(c.device.language);
        EXPECT_EQ(t.ui->boxes[0].title, title);
    }
    EXPECT_TRUE(prompt({.language = traditional}, 61).starts_with("                 晶片         暫存區\t\r\r程序儲"));
}

TEST_F(Notes, UserEpromEndsByMode) {
    for (const auto &[mode, end] : {std::pair(0x22, "3EFFh"), {0x23, "10FFh"}, {0x25, "8FFh"}})
        EXPECT_NE(prompt({.mode = static_cast<Byte>(mode)}, 66).find(std::string(" 100h ---") + end + "\r"),
                  std::string::npos)
            << mode;
}

TEST_F(Notes, WithoutAVariantForTheDeviceShowNothing) {
    // The language has no texts and the length overflows: neither is looked at.
    const std::pair<Byte, Device> devices[] = {
        {63, {.size = -1}},   {63, {.size = 4}},    {65, {.mode = 0x1A}}, {65, {.mode = 0x1E}},
        {66, {.mode = 0x20}}, {66, {.mode = 0x24}}, {66, {.mode = 0x27}},
    };
    for (auto [no, device] : devices) {
        device.language = 1;
        device.length = INT32_MIN;
        EXPECT_EQ(prompt(device, no), "") << "note " << int{no};
    }
}

TEST_F(Notes, TheNumberIsMaskedInTheCallersVariable) {
    struct Row {
        Byte before, after;
        std::size_t boxes;
    };
    for (const Row &row : {Row{0xBD, 61, 1}, Row{61, 61, 1}, Row{0xBC, 60, 0}, Row{76, 76, 0}, Row{0xFF, 127, 0}}) {
        t.ui->boxes.clear();
        Byte no = row.before;
        t.mpu.mpu6warn(no);
        EXPECT_EQ(no, row.after);
        EXPECT_EQ(t.ui->boxes.size(), row.boxes) << int{row.before};
    }
}

TEST_F(Notes, OddBlockValuesEndOrderly) {
    struct Row {
        Byte no;
        Device device;
        ErrorNumber error;
    };
    const Row rows[] = {
        {61, {.length = INT32_MIN, .size = 1}, ErrorNumber::overflow},
        {61, {.length = 0x40000000}, ErrorNumber::overflow},
        {66, {.length = INT32_MIN + 15, .mode = 0x21}, ErrorNumber::overflow},
        {73, {.length = INT32_MAX, .size = -1}, ErrorNumber::overflow},
        {72, {.language = 3001}, ErrorNumber::resourceNotFound},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(errorOf([&] { prompt(row.device, row.no); }), row.error) << int{row.no};
        EXPECT_TRUE(t.ui->boxes.empty());
    }
}

} // namespace
} // namespace kx3
