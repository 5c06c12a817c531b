#include "texts.h"

#include <algorithm>
#include <array>
#include <kx3mpu6.h>
#include <span>

namespace kx3console {

namespace {

struct Text {
    std::u16string_view english;
    std::u16string_view chinese;
};

/// `prgnote` from 0 on; the plug-in joins them with captions of operations and texts of its own.
constexpr std::array notes{
    Text{u"", u"正在"},
    Text{u" ...", u"……"},
    Text{u" passed.", u"成功。"},
    Text{u" failed!", u"失败！"},
    Text{u">>Stopped.", u">>操作已停止。"},
    Text{u">>Verify: device against buffer", u">>校验：芯片与缓冲区比较"},
    Text{u">>Differences are listed below; none means equal.", u">>差异列在下面；没有列出即相同。"},
    Text{u"The device is not blank. Go on?", u"芯片不为空。是否继续？"},
    Text{u"Blank Check", u"空白检查"},
    Text{u"Manufacturer code: ", u"厂商码："},
    Text{u"Device code: ", u"芯片码："},
    Text{u"", u""},
    Text{u">>Broken off: the programmer or the device did not do what was asked.",
         u">>操作中断：编程器或芯片没有完成所要求的操作。"},
};

/// `MainmnuPrg`, by operation number; the rest is empty.
constexpr std::array captions{
    Text{u"Auto", u"自动操作"},
    Text{u"", u""},
    Text{u"Read", u"读取"},
    Text{u"Program", u"编程"},
    Text{u"Blank Check", u"空白检查"},
    Text{u"Verify", u"校验"},
    Text{u"Auto Program", u"自动编程"},
    Text{u"Secure", u"加密"},
    Text{u"Erase", u"擦除"},
    Text{u"Program Configuration", u"配置位编程"},
    Text{u"Check Configuration", u"配置位校验"},
};

} // namespace

std::vector<kx3_language_info> languages() {
    std::vector<kx3_language_info> languages(static_cast<std::size_t>(kx3_language_count()));
    std::int32_t index = 0;
    for (kx3_language_info &language : languages) {
        language.struct_size = sizeof language;
        if (kx3_language_describe(index++, &language) != KX3_OK) throw pluginFailure("describing the languages");
    }
    return languages;
}

std::vector<std::u16string_view> operationCaptions() {
    std::vector<std::u16string_view> english(captions.size());
    std::transform(captions.begin(), captions.end(), english.begin(), [](const Text &text) { return text.english; });
    return english;
}

void storeTexts(SharedBlocks &blocks, std::int32_t language) {
    blocks.store("Language", 0, language);
    const auto known = languages();
    const bool chinese = std::any_of(known.begin(), known.end(), [language](const kx3_language_info &each) {
        return each.block == language && each.name == std::string_view("zh-cn");
    });
    const auto store = [&](std::string_view root, std::span<const Text> texts) {
        std::int32_t index = 0;
        for (const Text &text : texts)
            blocks.storeText(root, index++, chinese ? text.chinese : text.english);
    };
    store("prgnote", notes);
    store("MainmnuPrg", captions);
}

} // namespace kx3console
