#include "workbench.h"

#include "base/text.h"
#include "load_file.h"
#include "plugin.h"
#include "texts.h"

#include <algorithm>
#include <fmt/format.h>

namespace kx3console {

namespace {

void require(kx3_status status, std::string_view what) {
    if (status != KX3_OK) throw pluginFailure(what);
}

/// A form that is being shown.
class OpenForm {
  public:
    explicit OpenForm(kx3_form *form) : form_(form) {}

    [[nodiscard]] FieldState stateOf(const Field &field) const {
        const kx3_control_info info = at(controlOf(field));
        return {info.list_index, info.checked != 0, shownText(info.text), info.enabled != 0 && info.visible != 0};
    }

    /// Make all entries. One may enable the control of another, so those that cannot be made are tried
    /// again as long as others can.
    void enter(const std::vector<Assignment> &assignments) const {
        std::vector<const Assignment *> waiting(assignments.size());
        std::transform(assignments.begin(), assignments.end(), waiting.begin(),
                       [](const Assignment &each) { return &each; });
        while (!waiting.empty()) {
            const auto made = std::erase_if(waiting, [this](const Assignment *each) { return enter(*each); });
            if (made != 0) continue;
            throw Failure(Exit::usage,
                          fmt::format("{} cannot be changed on this device", waiting.front()->field->fullName()),
                          "The editor greys this field, or another one must be set first.");
        }
    }

    /// Press OK or Cancel.
    void press(bool ok) const {
        for (std::int32_t i = 0; i < form().controls; ++i) {
            const kx3_control_info info = at(i);
            if ((ok ? info.is_default : info.is_cancel) == 0) continue;
            return require(kx3_form_click(form_, i, nullptr), "pressing a button");
        }
        throw Failure(Exit::failed, "the editor has no OK or Cancel button");
    }

    /// After OK: fail when the form has refused it, for an entry of ours or for one that the image
    /// brought along.
    void requireClosed(const std::vector<Assignment> &assignments) const {
        if (kx3_form_loaded(form_) == 0) return;
        const bool ours = std::any_of(assignments.begin(), assignments.end(), [this](const Assignment &each) {
            return at(controlOf(*each.field)).marked != 0;
        });
        throw Failure(ours ? Exit::usage : Exit::badFile,
                      fmt::format("the editor refuses OK: {}", shownText(form().message)),
                      ours ? "Correct the value." : "Set this field, too: what the image holds there is no good.");
    }

  private:
    [[nodiscard]] std::int32_t controlOf(const Field &field) const {
        std::int32_t control = -1;
        require(kx3_form_find(form_, field.control, field.control_index, &control), "looking for a field");
        return control;
    }

    [[nodiscard]] kx3_control_info at(std::int32_t control) const {
        kx3_control_info info = kx3_control_info_init();
        require(kx3_form_control(form_, control, &info), "looking at a field");
        return info;
    }

    [[nodiscard]] kx3_form_info form() const {
        kx3_form_info info = kx3_form_info_init();
        require(kx3_form_describe(form_, &info), "looking at the editor");
        return info;
    }

    /// Make an entry; false when the control takes none now.
    [[nodiscard]] bool enter(const Assignment &assignment) const {
        const Entry &entry = assignment.entry;
        const std::int32_t control = controlOf(*assignment.field);
        const kx3_control_info info = at(control);
        if (info.enabled == 0 || info.visible == 0) return false;
        if (assignment.field->kind == KX3_FIELD_LIST)
            require(kx3_form_choose(form_, control, entry.item, nullptr), "choosing");
        else if (assignment.field->kind != KX3_FIELD_CHECK)
            replaceText(control, info, assignment);
        else if ((info.checked != 0) != entry.checked)
            require(kx3_form_click(form_, control, nullptr), "clicking");
        return true;
    }

    /// Paste over all of the box's text. A box that changes what is pasted would store something else.
    void replaceText(std::int32_t control, const kx3_control_info &before, const Assignment &assignment) const {
        const std::u16string text = kx3::fromUtf8(assignment.entry.text);
        const auto oldLength = static_cast<std::int32_t>(before.text.length);
        require(kx3_form_select_text(form_, control, 0, oldLength, nullptr), "selecting a text");
        require(
            kx3_form_paste(form_, control, reinterpret_cast<const std::uint16_t *>(text.data()), text.size(), nullptr),
            "pasting a text");
        const std::string kept = shownText(at(control).text);
        if (kept == assignment.entry.text) return;
        throw Failure(Exit::usage,
                      fmt::format(R"({}: "{}" does not fit: the box makes "{}" of it)", assignment.field->fullName(),
                                  assignment.value, kept),
                      "Give a shorter hexadecimal number.");
    }

    kx3_form *form_;
};

} // namespace

std::int32_t bufferData(const Profile &device, const Editor &editor) {
    auto bytes = static_cast<std::int32_t>(device.bufferBytes());
    if (!device.isPlain()) return bytes;
    for (const kx3_config_byte_info &byte : editor.bytes)
        bytes = std::max(bytes, byte.address);
    return bytes + 1;
}

Workbench::Workbench(const Profile &device, const Editor &editor, std::int32_t language)
    : editor_(editor), blocks_(std::nullopt, bufferData(device, editor)) {
    storeProfile(blocks_, device);
    storeTexts(blocks_, language);
    const auto size = static_cast<std::int32_t>(blocks_.deviceBuffer().size());
    const auto add = [this, size](std::int32_t address) {
        if (address >= 0 && address < size) addresses_.insert(address);
    };
    for (const kx3_config_byte_info &byte : editor.bytes)
        add(byte.address);
    if (editor.mirror) add(*editor.mirror);
    for (const auto &[address, value] : defaultBytes(device.traits()))
        add(address);
    for (const std::int32_t address : addresses_)
        blocks_.deviceBuffer()[static_cast<std::size_t>(address)] = erasedByte;
    storeConfiguration(blocks_, device);
}

Snapshot Workbench::look() {
    Snapshot snapshot{bytes(), {}, {}};
    for (const Field &field : editor_.fields)
        snapshot.bits.push_back(storedBits(field, blocks_.deviceBuffer()));
    keepingBytes([&] {
        Plugin(blocks_).openEditor([&](kx3_form *shown) {
            const OpenForm form(shown);
            for (const Field &field : editor_.fields)
                snapshot.states.push_back(form.stateOf(field));
            form.press(false);
        });
        return false;
    });
    return snapshot;
}

void Workbench::edit(const std::vector<Assignment> &assignments) {
    Plugin(blocks_).openEditor([&assignments](kx3_form *shown) {
        const OpenForm form(shown);
        form.enter(assignments);
        form.press(true);
        form.requireClosed(assignments);
    });
}

bool Workbench::letEdit(const Window &window) {
    bool accepted = false;
    keepingBytes([&] {
        Plugin(blocks_).openEditor([&](kx3_form *form) { accepted = window.show(form); });
        return accepted;
    });
    return accepted;
}

void Workbench::writeDefaults() { Plugin(blocks_).writeDefaults(); }

Bytes Workbench::bytes() const {
    Bytes bytes;
    for (const std::int32_t address : addresses_)
        bytes[address] = blocks_.deviceBuffer()[static_cast<std::size_t>(address)];
    return bytes;
}

/// Open an editor and put the bytes back unless it has changed them: some editors copy a byte when they open.
void Workbench::keepingBytes(const std::function<bool()> &change) {
    const Bytes before = bytes();
    if (change()) return;
    for (const auto &[address, value] : before)
        blocks_.deviceBuffer()[static_cast<std::size_t>(address)] = value;
}

} // namespace kx3console
