#include "block_reference.h"

#include "command_line.h"
#include "report.h"
#include "text.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <span>

namespace kx3console {

using Json = nlohmann::ordered_json;
using kx3::BlockRow;
using kx3::BlockText;
using kx3::blockTexts;
using kx3::ElementText;

namespace {

/// The block that `name` means, with or without the prefix of full names.
const BlockText &find(std::string_view name) {
    std::string_view root = name;
    if (root.starts_with(kx3::blockPrefix)) root.remove_prefix(kx3::blockPrefix.size());
    const auto *const block =
        std::ranges::find(blockTexts, root, [](const BlockText &each) { return kx3::rowOf(each.block).root; });
    if (block != blockTexts.end()) return *block;
    std::vector<std::string> roots;
    std::ranges::transform(blockTexts, std::back_inserter(roots),
                           [](const BlockText &each) { return std::string(kx3::rowOf(each.block).root); });
    throw Failure(Exit::usage, fmt::format("there is no block \"{}\"", name),
                  fmt::format("{} See `mpu6 blocks`.", nearIt(root, roots)));
}

std::string listText() {
    std::string text;
    for (const BlockText &each : blockTexts) {
        const BlockRow &row = kx3::rowOf(each.block);
        text += fmt::format("{:<17}  {:<7}  {:>8} elements  {:>8} bytes  {}\n", row.root, typeName(row.type),
                            sizeText(row.count), sizeText(row.bytes), each.text);
    }
    return text;
}

std::string blockText(const BlockText &block) {
    const BlockRow &row = kx3::rowOf(block.block);
    std::string text = fmt::format("{0}: {1}\n{2} elements of type {3}, {4} bytes; full name {5}{0}{6}\n", row.root,
                                   block.text, sizeText(row.count), typeName(row.type), sizeText(row.bytes),
                                   kx3::blockPrefix, kx3::isNumbered(block.block) ? " and the instance number" : "");
    for (const ElementText &element : kx3::elementTexts)
        if (element.block == block.block)
            text += fmt::format("\n{}({})\n  values      {}\n  written by  {}\n  meaning     {}\n", row.root,
                                placeText(element), element.values, element.writer, element.meaning);
    return text;
}

Json sizeJson(kx3::Long size) { return size == 0 ? Json() : Json(size); }
Json indexJson(kx3::Long index) { return index < 0 ? Json() : Json(index); }

Json blockJson(const BlockText &block) {
    const BlockRow &row = kx3::rowOf(block.block);
    Json elements = Json::array();
    for (const ElementText &element : kx3::elementTexts)
        if (element.block == block.block)
            elements.push_back({{"place", placeText(element)},
                                {"first", indexJson(element.first)},
                                {"last", indexJson(element.last)},
                                {"values", element.values},
                                {"written_by", element.writer},
                                {"meaning", element.meaning}});
    return {{"name", row.root},
            {"numbered", kx3::isNumbered(block.block)},
            {"type", typeName(row.type)},
            {"count", sizeJson(row.count)},
            {"bytes", sizeJson(row.bytes)},
            {"meaning", block.text},
            {"elements", std::move(elements)}};
}

std::string blocksJson(std::span<const BlockText> blocks) {
    Json json = statusJson(nullptr);
    json["command"] = "blocks";
    std::ranges::transform(blocks, std::back_inserter(json["blocks"]), blockJson);
    return dump(json);
}

} // namespace

std::string_view typeName(kx3::ElementType type) {
    using enum kx3::ElementType;
    switch (type) {
    case byte: return "Byte";
    case boolean: return "Boolean";
    case integer: return "Integer";
    case longInteger: return "Long";
    case doubleFloat: return "Double";
    case string: return "String";
    }
    return {};
}

std::string sizeText(kx3::Long size) {
    return size == 0 ? fmt::format("n + {}", kx3::deviceBufferExtra) : std::to_string(size);
}

std::string placeText(const ElementText &element) {
    if (!element.place.empty()) return std::string(element.place);
    return element.first == element.last ? std::to_string(element.first)
                                         : fmt::format("{} to {}", element.first, element.last);
}

Exit runBlocks(const Options &options) {
    if (options.names.empty()) {
        print(options.json ? blocksJson(blockTexts) : listText());
    } else {
        const BlockText &block = find(options.names.front());
        print(options.json ? blocksJson({&block, 1}) : blockText(block));
    }
    return Exit::done;
}

} // namespace kx3console
