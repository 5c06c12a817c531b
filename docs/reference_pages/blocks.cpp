#include "block_reference.h"
#include "pages.h"
#include "text.h"

#include <fmt/format.h>

namespace kx3docs {

namespace {

using kx3::BlockRow;
using kx3::BlockText;
using kx3::ElementText;
using kx3console::placeText;
using kx3console::sizeText;
using kx3console::typeName;

std::string listRow(const BlockText &block) {
    const BlockRow &row = kx3::rowOf(block.block);
    const std::string name = block.touched ? fmt::format("[`{}`](#{})", row.root, kx3console::lowered(row.root))
                                           : fmt::format("`{}`", row.root);
    return fmt::format("| {} | {} | {} | {} | {} | {} |\n", static_cast<int>(block.block) + 1, name, typeName(row.type),
                       sizeText(row.count), sizeText(row.bytes), block.text);
}

std::string section(const BlockText &block) {
    std::string text = fmt::format("\n### {}\n\nHolds {}.\n\n"
                                   "| Element | Values | Written by, when | Meaning |\n|---|---|---|---|\n",
                                   kx3::rowOf(block.block).root, block.text);
    for (const ElementText &element : kx3::elementTexts)
        if (element.block == block.block)
            text += fmt::format("| {} | {} | {} | {} |\n", placeText(element), element.values, element.writer,
                                element.meaning);
    return text;
}

} // namespace

Page blocksPage() {
    std::string text = fmt::format(
        "# Shared blocks\n\n"
        "<!-- Made by mpu6-docs from src/blocks/block_texts.inc. Do not edit; run it again. -->\n\n"
        "What host and plug-in keep in their {} shared blocks, for people who write hosts. `mpu6 blocks` lists them,\n"
        "`mpu6 blocks NAME` shows one.\n\n"
        "A block's full name is `{}`, its name below, and the host's instance number in decimal; `ibuffer` and\n"
        "`ibuffer66` have no number. A block is one array; its elements count from 0, and `prgmode(1)` is element 1\n"
        "of `prgmode`. Values are little-endian: Byte 8 bits; Boolean 16 bits, 0 or -1; Integer 16 and Long 32 bits,\n"
        "signed; Double 64 bits, IEEE 754; String a 32-bit text handle.\n\n"
        "The host creates the blocks with the bytes below (they come in whole pages of 4096) and describes the device\n"
        "and the operation in them. Elements are written by\n\n"
        "- *host, with the device*: when a device is selected, before the first call that works on it;\n"
        "- *host, before a run*: before each `runMpu6Prg`;\n"
        "- *session host*: the object that the host hands over, whose operations (`PollStatus` ...) the plug-in "
        "calls;\n"
        "- *I/O library*: `kx6io`, which moves packets and data;\n"
        "- *plug-in*: `kx3mpu6` itself.\n\n"
        "The *ARM drivers* run the devices that `modeltype` and `selmode` give to them, the *session window* all\n"
        "others. The plug-in neither reads nor writes elements that are not named here; what they hold is the "
        "host's.\n\n"
        "## All blocks\n\n"
        "| # | Block | Type | Elements | Bytes | What it holds |\n|---|---|---|---|---|---|\n",
        kx3::blockCount, kx3::blockPrefix);
    for (const BlockText &block : kx3::blockTexts)
        text += listRow(block);
    text += "\n## Their elements\n";
    for (const BlockText &block : kx3::blockTexts)
        if (block.touched) text += section(block);
    return {"blocks.md", std::move(text)};
}

} // namespace kx3docs
