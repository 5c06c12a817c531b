#include "texts.h"

#include "language.h"

#include <array>
#include <string_view>

namespace kx3console {

namespace {

struct Text {
    std::int32_t index;
    std::u16string_view english;
    std::u16string_view chinese;
};

/// `prgnote`; the plug-in joins them with captions of operations and texts of its own.
constexpr std::array notes{
    Text{0, u"", u"正在"},
    Text{1, u" ...", u"……"},
    Text{2, u" passed.", u"成功。"},
    Text{3, u" failed!", u"失败！"},
    Text{4, u">>Stopped.", u">>操作已停止。"},
    Text{5, u">>Verify: device against buffer", u">>校验：芯片与缓冲区比较"},
    Text{6, u">>Differences are listed below; none means equal.", u">>差异列在下面；没有列出即相同。"},
    Text{7, u"The device is not blank. Go on?", u"芯片不为空。是否继续？"},
    Text{8, u"Blank Check", u"空白检查"},
    Text{9, u"Manufacturer code: ", u"厂商码："},
    Text{10, u"Device code: ", u"芯片码："},
    Text{11, u"", u""},
    Text{12, u">>Broken off: the programmer or the device did not do what was asked.",
         u">>操作中断：编程器或芯片没有完成所要求的操作。"},
};

/// `MainmnuPrg`, by operation number.
constexpr std::array captions{
    Text{0, u"Auto", u"自动操作"},
    Text{1, u"", u""},
    Text{2, u"Read", u"读取"},
    Text{3, u"Program", u"编程"},
    Text{4, u"Blank Check", u"空白检查"},
    Text{5, u"Verify", u"校验"},
    Text{6, u"Auto Program", u"自动编程"},
    Text{7, u"Secure", u"加密"},
    Text{8, u"Erase", u"擦除"},
    Text{9, u"Program Configuration", u"配置位编程"},
    Text{10, u"Check Configuration", u"配置位校验"},
};
constexpr std::int32_t captionCount = 20;

} // namespace

void storeTexts(SharedBlocks &blocks, std::int32_t language) {
    blocks.store("Language", 0, language);
    const auto store = [&](std::string_view root, const Text &text) {
        blocks.storeText(root, text.index, language == chineseSimplified ? text.chinese : text.english);
    };
    for (const Text &text : notes)
        store("prgnote", text);
    for (const Text &text : captions)
        store("MainmnuPrg", text);
    for (auto i = static_cast<std::int32_t>(captions.size()); i < captionCount; ++i)
        blocks.storeText("MainmnuPrg", i, u"");
}

} // namespace kx3console
