#include "field_names.h"

#include "../failure.h"
#include "../nearest.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace kx3console::config {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// How well a typed name fits; more is better.
enum class Fit { none, start, whole };

/// A caption is also named in full by what stands before its explanation: "HWBS" for "HWBS(Eable ...)".
Fit fitOf(const std::string &wanted, std::string_view caption) {
    const std::string known = normalName(caption);
    if (wanted == known || wanted == normalName(caption.substr(0, caption.find('(')))) return Fit::whole;
    return !wanted.empty() && known.starts_with(wanted) ? Fit::start : Fit::none;
}

/// Frame captions themselves may have a slash, so every slash is tried.
Fit fitWithFrame(std::string_view wanted, const Field &field) {
    Fit best = Fit::none;
    for (std::size_t slash = wanted.find('/'); slash != std::string_view::npos; slash = wanted.find('/', slash + 1)) {
        const Fit frame = fitOf(normalName(wanted.substr(0, slash)), field.frame);
        const std::string caption = normalName(wanted.substr(slash + 1));
        // Nothing behind the slash means the whole frame.
        const Fit rest = caption.empty() ? Fit::whole : fitOf(caption, field.caption);
        best = std::max(best, std::min(frame, rest));
    }
    return best;
}

Fit fitOf(std::string_view wanted, const Field &field) {
    const std::string name = normalName(wanted);
    if (name == normalName(field.controlName())) return Fit::whole;
    return std::max(fitOf(name, field.caption), fitWithFrame(wanted, field));
}

/// The fields that fit best.
FieldList candidates(const Editor &editor, std::string_view wanted) {
    FieldList found;
    Fit best = Fit::start;
    for (const Field *field : visibleFields(editor)) {
        const Fit fit = fitOf(wanted, *field);
        if (fit > best) found.clear();
        best = std::max(best, fit);
        if (fit == best) found.push_back(field);
    }
    return found;
}

bool namesFrame(std::string_view wanted) {
    const std::size_t last = wanted.find_last_not_of(" \t");
    return last != std::string_view::npos && wanted[last] == '/';
}

bool shareFrame(const FieldList &fields) {
    return std::all_of(fields.begin(), fields.end(),
                       [&fields](const Field *field) { return field->frame == fields.front()->frame; });
}

[[noreturn]] void failUnknown(const Editor &editor, std::string_view wanted) {
    std::vector<std::string> names;
    for (const Field *field : visibleFields(editor))
        names.push_back(field->caption);
    throw Failure(Exit::usage, fmt::format("this device has no configuration field \"{}\"", wanted),
                  fmt::format("Near it are: {}. `mpu6 config list` lists all.",
                              fmt::join(nearestNames(wanted, std::move(names)), ", ")));
}

[[noreturn]] void failAmbiguous(std::string_view wanted, const FieldList &fields) {
    std::vector<std::string> names;
    for (const Field *field : fields)
        names.push_back(fmt::format("{} [{}]", field->fullName(), field->controlName()));
    throw Failure(Exit::usage, fmt::format("\"{}\" fits more than one field: {}", wanted, fmt::join(names, ", ")),
                  "Give more of the name, the name with its frame, or the control's name in brackets.");
}

} // namespace

FieldList visibleFields(const Editor &editor) {
    FieldList visible;
    for (const Field &field : editor.fields)
        if (field.visible && !field.addresses.empty()) visible.push_back(&field);
    return visible;
}

FieldList findFields(const Editor &editor, std::string_view name) {
    FieldList found = candidates(editor, name);
    if (found.empty()) failUnknown(editor, name);
    const bool wholeFrame = namesFrame(name) && shareFrame(found);
    if (found.size() > 1 && !wholeFrame) failAmbiguous(name, found);
    return found;
}

const Field &findField(const Editor &editor, std::string_view name) {
    if (namesFrame(name))
        throw Failure(Exit::usage, fmt::format("\"{}\" names a frame, not a field", name),
                      "Put the field's caption behind the slash.");
    return *findFields(editor, name).front();
}

std::string normalName(std::string_view text) {
    std::string name;
    for (const char c : text) {
        if (!isBlank(c))
            name.push_back(lower(c));
        else if (!name.empty() && name.back() != ' ')
            name.push_back(' ');
    }
    const auto dropBlank = [&name] {
        if (name.ends_with(' ')) name.pop_back();
    };
    dropBlank();
    if (name.ends_with(':')) name.pop_back();
    dropBlank();
    return name;
}

} // namespace kx3console::config
