// What each editor shows in each mode: frames, rows, captions, items, and what is greyed.
#include "editors/editor_driver.h"

namespace kx3::test {
namespace {

std::string caption(const Control &control) { return "'" + toUtf8(control.caption()) + "'"; }

std::string rowText(const Form &form, const FormRow &row) {
    const Control &field = *row.field;
    std::string text = caption(row.label != nullptr ? *row.label : field);
    if (row.label != nullptr && form.isEnabled(*row.label) != form.isEnabled(field)) text += " label and field differ ";
    if (!form.isEnabled(field)) text += '-';
    text += ' ' + field.name();
    if (field.index() != noIndex) text += std::to_string(field.index());
    return text;
}

/// A line for each shown frame: its caption, then its rows ("-" marks a greyed one).
std::vector<std::string> outline(const Form &form, const Control *frame = nullptr) {
    std::vector<std::string> lines;
    if (frame != nullptr) lines.push_back(caption(*frame));
    for (const FormRow &row : form.rows(frame)) {
        if (row.field->kind() == ControlKind::frame) {
            for (std::string &line : outline(form, row.field))
                lines.push_back(std::move(line));
        } else if (frame != nullptr) {
            lines.front() += ", " + rowText(form, row);
        }
    }
    return lines;
}

using Lines = std::vector<std::string>;

const std::string cksel = "'CKSEL0:' Combo10, 'CKSEL1:' Combo11, ";
const std::string cksel23 = "'CKSEL2:' Combo12, 'CKSEL3:' Combo13, ";
const std::string lowFuse = "'Fuse Low Byte', " + cksel + cksel23 + "'SUT0:' Combo14, 'SUT1:' Combo15, ";
const std::string lowEnd = "'CKOUT:' Combo16, 'CKDIV8:' Combo17";
const std::string brownOut = "'Fuse High Byte', 'BODLEVEL0:' Combo20, 'BODLEVEL1:' Combo21, 'BODLEVEL2:' Combo22, "
                             "'EESAVE:' Combo23, 'WDTON:' Combo24, ";
const std::string highEnd = "'DWEN:' Combo26, 'RSTDISBL:' Combo27";
const std::string boot = "'Fuse High Byte', 'BOOTRST:' Combo20, 'BOOTSZ0:' Combo21, 'BOOTSZ1:' Combo22, ";
const std::string bootWatchdog = boot + "'EESAVE:' Combo23, 'WDTON:' Combo24, ";
const std::string levels = "'Fuse Extended Byte', 'BODLEVEL0:' Combo30, 'BODLEVEL1:' Combo31, 'BODLEVEL2:' Combo32";
const std::string calib = "'Calibration byte', 'Calib byte(read only):'- Text10, ";
const std::string calibEnd =
    "'Calib value write to device memory' Check1, 'Calib value write to buffer address:'- Text11";
const std::string clock5 = "'Calib byte value for:' Combo5, ";
const std::string lock63 = "'Lock Bit Byte', 'LB1:' Combo40, 'LB2:' Combo41";
const std::string lock65 = lock63 + ", 'BLB01:' Combo42, 'BLB02:' Combo43, 'BLB11:' Combo44, 'BLB12:' Combo45";

const std::string bootPower = "'Fuse Extended Byte', 'BOOTRST:' Combo30, 'BOOTSZ0:' Combo31, 'BOOTSZ1:' Combo32, "
                              "'PSCRV:' Combo33, 'PSC0RB:' Combo34, 'PSC1RB:' Combo35, 'PSC2RB:' Combo36";

const struct {
    std::vector<int> modes;
    Integer pins;
    Byte figvol;
    Lines expected;
} outlines[] = {
    {{1},
     40,
     0,
     {"'Option Register 0 ', 'HWBS2(Eable RST force MCU to boot from ISP)' Check10, 'HWBS(Eable boot from ISP when "
      "Power-up)' Check11, 'LOCK(Eable code and ID is locked)' Check12, 'ISP start address:' Combo1",
      "'Option Register 1 ', 'OSCDN(Eable The oscillator is reduced)' Check20, 'ENRCO(Eable the internal oscillator)' "
      "Check21, 'EN6T(Eable MCU runs at 6T mode) ' Check22",
      "'Option Register 2 ', 'WDSFWP(Eable WDTCR will be write-protected)' Check30, 'HWENW(Eable WDT when power-up) ' "
      "Check31, 'HWWIDL(Enable WDT stops counting)' Check32, 'WDT Prescalar:' Combo2"}},
    {{2},
     40,
     0,
     {"'Option Register 0 ', 'HWBS(Eable boot from ISP when Power-up)' Check10, 'LOCK(Eable code and ID is locked)' "
      "Check11, 'ISP start address:' Combo1",
      "'Option Register 1 ', 'BODRE' Check20, 'HWBS2(Eable RST force MCU to boot from ISP)' Check21, 'OSCDN(Eable The "
      "oscillator is reduced) ' Check22, 'ENRCO' Check23",
      "'Option Register 2 ', 'WDSFWP' Check30, 'WDTRCO(Eable WDT running)' Check31, 'HWENW(Eable WDT prescaler when "
      "power-up) ' Check32, 'HWWIDL' Check33, 'WDT Prescalar:' Combo2",
      "'Option Register 7', 'IAP boundary:' Text1"}},
    {{3},
     20,
     0,
     {"'Fuse Low Byte', " + cksel + "'SUT0:' Combo14, 'SUT1:' Combo15, " + lowEnd,
      brownOut + "'SPIEN:' Combo25, " + highEnd, "'Fuse Extended Byte', 'SELFPRGEN:' Combo30", calib + calibEnd,
      lock63}},
    {{4, 6},
     20,
     38,
     {lowFuse + lowEnd, brownOut + "'SPIEN:'- Combo25, " + highEnd, "'Fuse Extended Byte', 'SELFPRGEN:' Combo30",
      calib + calibEnd, lock63}},
    {{10},
     20,
     14,
     {"'Fuse Low Byte', " + cksel + cksel23 + "'SUT0:' Combo14, " + lowEnd, brownOut + "'SPIEN:'- Combo25, " + highEnd,
      "'Fuse Extended Byte', 'SELFPRGEN:' Combo30, 'BODACT0:' Combo31, 'BODACT1:' Combo32, 'BODPD0:' Combo33, "
      "'BODPD1:' Combo34",
      calib + calibEnd, lock63}},
    {{12},
     14,
     0,
     {"'Configuration bytes', 'RSTDISBL:' Combo10, 'WDTON:' Combo11, 'CKOUT:' Combo12, 'BODLEVEL0:' Combo13, "
      "'BODLEVEL1:' Combo14, 'BODLEVEL2:' Combo15",
      "'Lock bit byte', 'NVLB1:' Combo20, 'NVLB2:' Combo21"}},
    {{12},
     13,
     0,
     {"'Configuration bytes', 'RSTDISBL:' Combo10, 'WDTON:' Combo11, 'CKOUT:' Combo12",
      "'Lock bit byte', 'NVLB1:' Combo20, 'NVLB2:' Combo21"}},
    {{13},
     40,
     0,
     {lowFuse + "'BODEN:' Combo16, 'BODLEVEL:' Combo17",
      boot + "'EESAVE:' Combo23, 'CKOPT:' Combo24, 'SPIEN:'- Combo25, 'JTAGEN:' Combo26, 'OCDEN:' Combo27",
      calib + clock5 + calibEnd, lock65}},
    {{14},
     64,
     0,
     {lowFuse + "'BODEN:' Combo16, 'BODLEVEL:' Combo17",
      boot + "'EESAVE:' Combo23, 'CKOPT:' Combo24, 'SPIEN:'- Combo25, 'JTAGEN:' Combo26, 'OCDEN:' Combo27",
      "'Fuse Extended Byte', 'WDTON:' Combo30, 'M103C:' Combo31", calib + clock5 + calibEnd, lock65}},
    {{15},
     40,
     14,
     {lowFuse + lowEnd, bootWatchdog + "'SPIEN:'- Combo25, 'JTAGEN:' Combo26, 'OCDEN:' Combo27", levels,
      calib + calibEnd, lock65}},
    {{18},
     32,
     0,
     {lowFuse + lowEnd, bootWatchdog + "'SPIEN:'- Combo25, 'RSTDISBL:' Combo26, 'RSTDISBL:' Combo27",
      levels + ", 'HWBE:' Combo33", calib + calibEnd, lock65}},
    {{18},
     64,
     0,
     {lowFuse + lowEnd, bootWatchdog + "'SPIEN:'- Combo25, 'JTAGEN:' Combo26, 'RSTDISBL:' Combo27",
      levels + ", 'HWBE:' Combo33", calib + calibEnd, lock65}},
    {{31},
     64,
     0,
     {lowFuse + lowEnd, bootWatchdog + "'SPIEN:' Combo25, 'JTAGEN:'- Combo26, 'OCDEN:' Combo27", levels,
      calib + calibEnd, lock65}},
    {{30},
     64,
     0,
     {lowFuse + lowEnd, bootWatchdog + "'SPIEN:' Combo25, 'JTAGEN:' Combo26, 'OCDEN:' Combo27", levels,
      calib + calibEnd, lock65}},
    {{32},
     64,
     0,
     {lowFuse + lowEnd, bootWatchdog + "'SPIEN:'- Combo25, 'JTAGEN:' Combo26, 'OCDEN:' Combo27", levels,
      calib + calibEnd, lock65}},
    {{55, 56},
     32,
     0,
     {lowFuse + lowEnd, bootWatchdog + "'SPIEN:' Combo25, " + highEnd,
      levels + ", 'PSCRVB:' Combo33, 'PSCRVA:' Combo34, 'PSCRB:' Combo35", calib + calibEnd, lock65}},
    {{58}, 32, 0, {lowFuse + lowEnd, brownOut + "'SPIEN:' Combo25, " + highEnd, bootPower, calib + calibEnd, lock65}},
    {{59}, 32, 0, {lowFuse + lowEnd, brownOut + "'SPIEN:'- Combo25, " + highEnd, bootPower, calib + calibEnd, lock65}},
    {{60, 61},
     32,
     0,
     {lowFuse + lowEnd, brownOut + "'SPIEN:' Combo25, " + highEnd,
      "'Fuse Extended Byte', 'BOOTRST:' Combo30, 'BOOTSZ0:' Combo31, 'BOOTSZ1:' Combo32", calib + calibEnd, lock65}},
    {{62},
     32,
     0,
     {"'Fuse Low Byte', 'OSCSEL0:' Combo10, 'OSCSEL1:' Combo11, 'SUT0:' Combo12, 'SUT1:' Combo13, 'SUT2:' Combo14, "
      "'SPIEN:' Combo15, 'EESAVE:' Combo16, 'WDTON:' Combo17",
      boot + "'DWEN:' Combo23, 'DUVRDINIT:' Combo24", calib + calibEnd, lock65}},
    {{22},
     48,
     0,
     {"'Write Lock Protection Bits ', 'Boot Block Lock :' Combo1, '      Lock Size :' Combo2, 'Debug Lock Bit :' "
      "Combo3"}},
    {{26},
     48,
     0,
     {"'Write Lock Protection Bits ', 'Boot Block Lock :' Combo1, '      Lock Size :' Combo2, 'SPI Read Flash :' "
      "Combo3"}},
    {{23},
     40,
     0,
     {"'Option Register 0', 'HWBS:' Combo13, 'LOCK:' Combo14, 'ISP_S0:' Combo15, 'ISP_S1:' Combo16, 'ISP_S2:' Combo17",
      "'Option Register 1', 'BO1S0O:' Combo20, 'BO1S1O:' Combo21, 'HWBS2:' Combo25, 'BO0REO:' Combo26, 'BO1REO:' "
      "Combo27",
      "'Option Register 2', 'HWPS0:' Combo30, 'HWPS1:' Combo31, 'HWPS2:' Combo32, 'HWWIDL:' Combo33, 'WRENO:' Combo34, "
      "'HWENW:' Combo35, 'NSWDT:' Combo36, 'WDSFWP:' Combo37",
      "'Option Register 3', 'IAPLB0:' Combo41, 'IAPLB1:' Combo42, 'IAPLB2:' Combo43, 'IAPLB3:' Combo44, 'IAPLB4:' "
      "Combo45, 'IAPLB5:' Combo46, 'IAPLB6:' Combo47"}},
    {{24, 25},
     40,
     0,
     {"'Option Register 0', 'HWBS:' Combo13, 'LOCK:' Combo14, 'ISP_S0:' Combo15, 'ISP_S1:' Combo16, 'ISP_S2:' Combo17",
      "'Option Register 1', 'HWBS2:' Combo25, 'BO0REO:' Combo26",
      "'Option Register 2', 'HWPS0:' Combo30, 'HWPS1:' Combo31, 'HWPS2:' Combo32, 'HWWIDL:' Combo33, 'WRENO:' Combo34, "
      "'HWENW:' Combo35, 'NSWDT:' Combo36, 'WDSFWP:' Combo37",
      "'Option Register 3/4', 'P36EN:' Combo40, 'IAPLB0:' Combo41, 'IAPLB1:' Combo42, 'IAPLB2:' Combo43, 'IAPLB3:' "
      "Combo44, 'IAPLB4:' Combo45, 'IAPLB5:' Combo46, 'IAPLB6:' Combo47"}},
    {{39, 40, 43, 44},
     48,
     0,
     {"'', '  COP WTD System :' Combo10, '     On Chip ROM :' Combo11, '  On Chip EEPROM :' Combo12"}},
    {{41}, 48, 0, {"'', '  COP WTD System :' Combo10, ' EEPROM mapped at:' Combo11, '  On Chip EEPROM :' Combo12"}},
    {{45}, 48, 0, {"'OTP register', 'FMPRE:' Text10, 'FMPPE:' Text14"}},
    {{46},
     48,
     0,
     {"'OTP register', 'FMPRE0:' Text10, 'FMPRE1:' Text11, 'FMPRE2:' Text12, 'FMPRE3:' Text13, 'FMPPE0:' Text14, "
      "'FMPPE1:' Text15, 'FMPPE2:' Text16, 'FMPPE3:' Text17, 'USER_REG0:' Text18, 'USER_REG1:' Text19, 'USER_DBG:' "
      "Text110"}},
    {{47},
     48,
     0,
     {"'OTP register', 'FMPRE0:' Text10, 'FMPRE1:' Text11, 'USER_REG2:' Text12, 'USER_REG3:' Text13, 'FMPPE0:' Text14, "
      "'FMPPE1:' Text15, 'USER_REG0:' Text18, 'USER_REG1:' Text19, 'USER_DBG:' Text110"}},
    {{48},
     48,
     0,
     {"'OTP register', 'FMPRE0:' Text10, 'FMPPE0:' Text14, 'USER_REG0:' Text18, 'USER_REG1:' Text19, 'USER_DBG:' "
      "Text110"}},
    {{49},
     48,
     0,
     {"'OTP register', 'FMPRE0:' Text10, 'FMPRE1:' Text11, 'FMPPE0:' Text14, 'FMPPE1:' Text15, 'USER_REG0:' Text18, "
      "'USER_REG1:' Text19, 'USER_DBG:' Text110"}},
    {{50},
     64,
     0,
     {"'Fuses and Lock Bits'", "'Fuse Byte 0', 'JTAGUID:' Text1",
      "'Fuse Byte 1', 'WDWPER3:' Combo10, 'WDWPER2:' Combo11, 'WDWPER1:' Combo12, 'WDWPER0:' Combo13, 'WDPER3:' "
      "Combo20, 'WDPER2:' Combo21, 'WDPER1:' Combo22, 'WDPER0:' Combo23",
      "'Fuse Byte 2', 'BOOTRST:' Combo3, 'BODPD1:' Combo4, 'BODPD0:' Combo5",
      "'Fuse Byte 4', 'JTAGEN:' Combo60, 'WDLOCK:' Combo61, 'SUT0:' Combo62, 'SUT1:' Combo63, 'RSTDISBL:' Combo64",
      "'Fuse Byte 5', 'BODLEVEL0:' Combo70, 'BODLEVEL1:' Combo71, 'BODLEVEL2:' Combo72, 'EESAVE:' Combo73, 'BODACT0:' "
      "Combo74, 'BODACT1:' Combo75",
      "'Lock Bits', 'LB0:' Combo80, 'LB1:' Combo81, 'BLBAT0:' Combo82, 'BLBAT1:' Combo83, 'BLBA0:' Combo84, 'BLBA1:' "
      "Combo85, 'BLBB0:' Combo86, 'BLBB1:' Combo87"}},
    {{51},
     48,
     0,
     {"'Config Register', 'EEPROM mapped at :' Combo10, 'EEPROM Security :' Combo11, ' COP WTD System :' Combo12, ' On "
      "Chip EEPROM :' Combo13"}},
    {{64},
     48,
     0,
     {"'CCFG register', 'BL_CONFIG:' Text10, 'ERASE_CONF:' Text11, 'CCFG_TI_OPTIONS:' Text12, 'CCFG_TAP_DAP_0:' "
      "Text13, 'CCFG_TAP_DAP_1:' Text14, 'IMAGE_VALID_CONF:' Text15, 'CCFG_PROT_31_0:' Text16"}},
};

TEST_F(EditorTest, ShownRowsByMode) {
    for (const auto &c : outlines) {
        for (const int mode : c.modes) {
            device(static_cast<Byte>(mode), 2048, c.pins, c.figvol);
            open([&](Person &person) { EXPECT_EQ(outline(person.form), c.expected) << "mode " << mode; });
        }
    }
}

TEST_F(EditorTest, TitlesButtonsAndPositions) {
    const struct {
        Byte mode;
        Long language;
        const char16_t *title, *ok, *cancel;
        StartPosition position;
    } cases[] = {
        {1, 0, u"Edit Configuration\\User_Code", u"OK", u"Cancel", StartPosition::centerOwner},
        {2, 33000, u"Редактировать Configuration \\ User_Code ", u"OK", u"Отменить", StartPosition::centerOwner},
        {12, 3000, u"配置位编辑", u"确定", u"取消", StartPosition::centerOwner},
        {13, 6000, u"配置位編輯", u"確定", u"取消\t", StartPosition::centerScreen},
        {64, 15000, u"Edit Configuration", u"OK", u"Cancel", StartPosition::centerScreen},
    };
    for (const auto &c : cases) {
        device(c.mode);
        plugin.host.Language(0) = c.language;
        open([&](Person &person) {
            EXPECT_EQ(person.form.caption(), c.title);
            EXPECT_EQ(person.form.defaultButton()->caption(), c.ok);
            EXPECT_EQ(person.form.cancelButton()->caption(), c.cancel);
            EXPECT_EQ(person.form.startPosition(), c.position);
        });
    }
    device(50);
    open([](Person &person) { EXPECT_EQ(person.at("Frame3").columns(), 4) << "two lines of four periods"; });
    for (const Byte mode : {Byte{45}, Byte{64}, Byte{50}}) {
        device(mode);
        const Integer ok = mode == 50 ? noIndex : Integer{0};
        const Integer cancel = mode == 50 ? noIndex : Integer{1};
        open([&](Person &person) {
            EXPECT_EQ(&person.at("OKButton", ok), person.form.defaultButton());
            EXPECT_EQ(&person.at("CancelButton", cancel), person.form.cancelButton());
        });
    }
}

std::string items(const Control &list) {
    std::string text;
    for (const std::u16string &item : list.items())
        text += (text.empty() ? "" : "|") + toUtf8(item);
    return text;
}

TEST_F(EditorTest, Items) {
    const struct {
        Byte mode;
        Long tlength;
        Integer pins;
        Long language;
        const char *control;
        Integer index;
        const char *expected;
    } cases[] = {
        {50, 2048, 64, 0, "Combo1", 0, "Enable(0)|Disable(1)"},
        {23, 2048, 64, 3000, "Combo1", 3, "有效(0)|无效(1)"},
        {12, 2048, 64, 9000, "Combo2", 0, "Enable (0)|Disable (1)"},
        {39, 2048, 64, 0, "Combo1", 1, "Enable|Disable"},
        {51, 2048, 64, 27000, "Combo1", 3, "Aktif|Devre dışı"},
        {13, 2048, 64, 0, "Combo5", noIndex, "1 MHz|2 MHz|4 MHz|8 MHz"},
        {1, 2048, 40, 0, "Combo1", noIndex,
         "[000] 1200(3.5K)|[001] 1400(3K)|[010] 1600(2.5K)|[011] 1800(2K)|[100] 1A00(1.5K)|[101] 1C00(1K)|[110] "
         "1E00(0.5K)|[111] NO ISP"},
        {2, 2048, 40, 0, "Combo1", noIndex,
         "[000] F000(4K)|[001] F200(3.5K)|[010] F400(3K)|[011] F600(2.5K)|[100] F800(2K)|[101] FA00(1.5K)|[110] "
         "FC00(1K)|[111] NO ISP"},
        {2, 2048, 40, 0, "Combo2", noIndex,
         "[000] Fosc/2|[001] Fosc/4|[010] Fosc/8|[011] Fosc/16|[100] Fosc/32|[101] Fosc/64|[110] Fosc/128|[111] "
         "Fosc/256"},
        {41, 2048, 48, 0, "Combo1", 1,
         "0E00--0FFF|1E00--1FFF|2E00--2FFF|3E00--3FFF|4E00--4FFF|5E00--5FFF|6E00--6FFF|7E00--7FFF|8E00--8FFF|"
         "9E00--9FFF|AE00--AFFF|BE00--BFFF|CE00--CFFF|DE00--DFFF|EE00--EFFF|FE00--FFFF"},
        {51, 2048, 48, 0, "Combo1", 0,
         "0800--0FFF|1800--1FFF|2800--2FFF|3800--3FFF|4800--4FFF|5800--5FFF|6800--6FFF|7800--7FFF|8800--8FFF|"
         "9800--9FFF|A800--AFFF|B800--BFFF|C800--CFFF|D800--DFFF|E800--EFFF|F800--FFFF"},
        {26, 2048, 20, 0, "Combo2", noIndex, "0 k|0.5 k|1 k|2 k|4 k|8 k|16 k|32 k"},
        {22, 131072, 20, 0, "Combo2", noIndex, "0 k|2 k|4 k|8 k|16 k|32 k|64 k|128 k"},
        {22, 65536, 48, 0, "Combo2", noIndex, "0 k|1 k|2 k|4 k|8 k|16 k|32 k|64 k"},
        {22, 32768, 48, 0, "Combo2", noIndex, "0 k|0.5 k|1 k|2 k|4 k|8 k|16 k|32 k"},
        {22, 32768, 32, 0, "Combo2", noIndex, "0 k|1 k|2 k|4 k|8 k|16 k|24 k|32 k"},
        {22, 8192, 32, 0, "Combo2", noIndex, "0 k| 8k"},
        {22, 1536, 32, 0, "Combo2", noIndex, "0 k| 1.5k"},
        {22, 40000, 32, 0, "Combo2", noIndex, ""},
        {22, 2048, 32, 0, "Combo3", noIndex, "Enable debug commands|Disable debug commands"},
        {26, 2048, 32, 0, "Combo3", noIndex, "Enable SPI commands|Disable SPI commands"},
        {26, 2048, 32, 0, "Combo1", noIndex, "writeable|write protected"},
    };
    plugin.attach(140000);
    for (const auto &c : cases) {
        device(c.mode, c.tlength, c.pins);
        plugin.host.Language(0) = c.language;
        open([&](Person &person) {
            const Control &list = person.at(c.control, c.index);
            EXPECT_EQ(items(list), c.expected) << "mode " << int(c.mode);
            EXPECT_EQ(list.enabled(), *c.expected != '\0');
        });
    }
}

TEST_F(EditorTest, WholeSizeListShowsWhatItKnows) {
    for (const auto &[field, shown] : {std::pair{7, 0}, {6, 1}, {0, 1}, {1, -1}, {5, -1}}) {
        device(22, 8192);
        poke(8192, {field << 1});
        open([&, shown = shown](Person &person) {
            const Control &sizes = person.at("Combo2");
            EXPECT_EQ(sizes.listIndex(), shown);
            EXPECT_EQ(sizes.text(), shown < 0 ? u"" : shown == 0 ? u"0 k" : u" 8k");
        });
    }
}

} // namespace
} // namespace kx3::test
