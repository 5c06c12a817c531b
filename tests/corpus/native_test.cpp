// Plays editors, forms, defaults and notes through the C interface.
#include "base/text.h"
#include "corpus/corpus.h"
#include "native/native_host.h"

namespace kx3::test {
namespace {

std::string text(const kx3_text &shown) { return toUtf8(view(shown)); }

/// A host that attaches the plug-in to the blocks of a case.
class CaseHost : public NativeHost {
  public:
    /// The device buffer has `size` bytes.
    explicit CaseHost(std::int32_t size) {
        attach(size - 2200);
        setUi();
    }
    explicit CaseHost(const Case &c) : CaseHost(c["size"].get<std::int32_t>()) {
        Bytes content(buffer.size(), c["fill"].get<std::uint8_t>());
        std::ranges::copy(withPieces(content, c.value("init")), buffer.begin());
    }
    template <class T> void set(const Case &c, const char *root) { at<T>(root) = c[root].get<T>(); }
};

/// An open form, by the names that cases give to controls.
class OpenForm {
  public:
    OpenForm(const Case &c, kx3_form *form) : case_(c), form_(form) {}

    [[nodiscard]] kx3_form_info info() const {
        kx3_form_info shown = kx3_form_info_init();
        EXPECT_EQ(kx3_form_describe(form_, &shown), KX3_OK);
        return shown;
    }
    [[nodiscard]] bool isAccepted() const { return kx3_form_accepted(form_) != 0; }
    [[nodiscard]] kx3_control_info control(const std::string &name) const {
        kx3_control_info shown = kx3_control_info_init();
        EXPECT_EQ(kx3_form_control(form_, find(name), &shown), KX3_OK) << name;
        return shown;
    }
    [[nodiscard]] Json items(const std::string &name) const {
        Json texts = Json::array();
        for (std::int32_t i = 0; i < control(name).items; ++i) {
            kx3_text item{};
            EXPECT_EQ(kx3_form_item(form_, find(name), i, &item), KX3_OK);
            texts.push_back(text(item));
        }
        return texts;
    }
    /// Compare the properties that `expected` gives for each control.
    void expect(const std::string &when, const Json &expected) const {
        for (const auto &[name, properties] : expected.items()) {
            const kx3_control_info shown = control(name);
            const Json all = {{"v", shown.visible}, {"e", shown.enabled},    {"i", shown.list_index},
                              {"k", shown.checked}, {"x", text(shown.text)}, {"c", text(shown.caption)}};
            case_.expect(name + " shown" + when, properties.value("v", 1), shown.visible);
            case_.expect(name + " enabled" + when, properties.value("e", 1), shown.visible != 0 ? shown.enabled : 1);
            for (const auto &[property, value] : properties.items())
                if (shown.visible != 0) case_.expect(name + ' ' + property + when, value, all.at(property));
        }
    }
    void act(const Json &action) {
        const auto kind = action.at(0).get<std::string>(), name = action.at(1).get<std::string>();
        const std::int32_t at = find(name);
        const auto number = [&] { return action.at(2).get<std::int32_t>(); };
        const auto typed = [&](std::size_t place) { return fromUtf8(action.at(place).get<std::string>()); };
        if (kind == "select") kx3_form_choose(form_, at, number(), nullptr);
        if (kind == "check" && control(name).checked != number()) kx3_form_click(form_, at, nullptr);
        if (kind == "text") {
            kx3_form_select_text(form_, at, 0, 1000, nullptr);
            kx3_form_paste(form_, at, units(typed(2)), typed(2).size(), nullptr);
        }
        if (kind == "key") {
            kx3_form_select_text(form_, at, number(), 1, nullptr);
            kx3_form_key_press(form_, at, typed(3).at(0), nullptr);
        }
        if (kind == "del") {
            kx3_form_select_text(form_, at, number(), 0, nullptr);
            kx3_form_key_down(form_, at, 46, nullptr);
        }
    }
    void end(const std::string &how) {
        for (std::int32_t i = 0; i < info().controls; ++i) {
            kx3_control_info button = kx3_control_info_init();
            kx3_form_control(form_, i, &button);
            if (how == "ok" ? button.is_default : how == "cancel" && button.is_cancel)
                kx3_form_click(form_, i, nullptr);
        }
        if (how == "close") kx3_form_close(form_, nullptr);
    }

  private:
    [[nodiscard]] std::int32_t find(const std::string &name) const {
        if (name.starts_with("@Label:")) return control(name.substr(7)).label;
        if (name.starts_with("@Frame:")) return findFrame(name.substr(7));
        const std::size_t bracket = name.find('(');
        const std::int32_t index = bracket == std::string::npos ? -1 : std::stoi(name.substr(bracket + 1));
        std::int32_t found = -1;
        (void)kx3_form_find(form_, name.substr(0, bracket).c_str(), index, &found);
        return found;
    }
    [[nodiscard]] std::int32_t findFrame(const std::string &caption) const {
        for (std::int32_t i = 0; i < info().controls; ++i) {
            kx3_control_info frame = kx3_control_info_init();
            kx3_form_control(form_, i, &frame);
            if (frame.kind == KX3_FRAME && text(frame.caption) == caption) return i;
        }
        return -1;
    }

    const Case &case_;
    kx3_form *form_;
};

/// Have the editor of the case's device opened, and look at it with `visit`.
void openEditor(const Case &c, CaseHost &host, const std::function<void(OpenForm &)> &visit) {
    host.set<std::uint8_t>(c, "prgmode");
    host.set<std::int32_t>(c, "tlength");
    host.set<std::int16_t>(c, "chippin");
    host.at<std::int32_t>("Language") = c["language"];
    Json opened;
    host.onForm = [&](kx3_form *shown) {
        OpenForm form(c, shown);
        opened = form.info().name;
        visit(form);
    };
    EXPECT_EQ(kx3_mpu_editfigmpu6(host.mpu), KX3_OK) << kx3_last_error();
    c.expect("dialog", c["dialog"], opened);
}

void playEditor(const Case &c) {
    CaseHost host(c);
    const Bytes before(host.buffer.begin(), host.buffer.end());
    host.at<std::uint8_t>("figvol", 0) = host.at<std::uint8_t>("figvol", 1) = c["figvol"];
    openEditor(c, host, [&](OpenForm &form) {
        form.expect("", c["load"]);
        for (const Json &action : c["actions"])
            form.act(action);
        Json after = c["load"];
        after.update(c.value("after").is_null() ? Json::object() : c["after"]);
        form.expect(" after the actions", after);
        form.end(c["end"]);
        c.expect("open at the end", 0, form.info().loaded);
        c.expect("accepted", c["end"] == "ok", form.isAccepted());
    });
    c.expectBytes(withPieces(before, c["final"].at(0)), host.buffer);
}

void playForm(const Case &c) {
    CaseHost host(2 * c["tlength"].get<std::int32_t>() + 4096);
    openEditor(c, host, [&](OpenForm &form) {
        c.expect("title", c["title"], text(form.info().caption));
        for (const auto &[name, caption] : c["buttons"].items())
            c.expect(name, caption, text(form.control(name).caption));
        for (const Json &list : c["lists"])
            for (const std::string name : list.at("combos"))
                c.expect("items of " + name, list.at("items"), form.items(name));
    });
}

void playDefaults(const Case &c) {
    CaseHost host(c);
    const Bytes before(host.buffer.begin(), host.buffer.end());
    host.set<std::uint8_t>(c, "prgmode");
    host.set<std::int32_t>(c, "tlength");
    c.expectError(c["error"], kx3_mpu_sinitmpu6(host.mpu));
    c.expectBytes(withPieces(before, c["written"]), host.buffer);
}

void playNote(const Case &c) {
    CaseHost host(4096);
    host.set<std::int32_t>(c, "tlength");
    host.at<std::int32_t>("Language") = c["language"];
    host.set<std::int16_t>(c, "bvcch");
    host.set<std::int16_t>(c, "pagelength");
    host.set<std::uint8_t>(c, "prgmode");
    host.set<std::uint8_t>(c, "woption");
    Json box;
    host.onBox = [&](std::u16string_view prompt, std::int32_t style, std::optional<std::u16string_view> title) {
        c.expect("box before this one", nullptr, box);
        box = {{"prompt", toUtf8(prompt)}, {"style", style}, {"title", title ? Json(toUtf8(*title)) : Json()}};
        return kx3_status{KX3_OK};
    };
    auto no = c["no"].get<std::uint8_t>();
    c.expectError(c.value("error"), kx3_mpu_mpu6warn(host.mpu, &no));
    c.expect("number of the note", c["masked"], no);
    c.expect("box", c.value("box"), box);
}

const bool registered =
    registerCases("Editors", "editors.jsonl", playEditor) && registerCases("Forms", "forms.jsonl", playForm) &&
    registerCases("Defaults", "defaults.jsonl", playDefaults) && registerCases("Notes", "notes.jsonl", playNote);

} // namespace
} // namespace kx3::test
