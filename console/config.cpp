#include "config.h"

#include "config_report.h"
#include "medium.h"
#include "plugin.h"
#include "profile.h"
#include "question.h"
#include "report.h"
#include "text.h"
#include "texts.h"
#include "window.h"
#include "workbench.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <memory>
#include <set>
#include <unistd.h>

namespace kx3console {

namespace {

/// Configuration is edited in blocks of our own, so that no other host stands in the way, unless the
/// user has chosen a world.
void useOwnBlocks() { ::setenv("KX3MPU6_NAMESPACE", fmt::format("config-{}", ::getpid()).c_str(), 0); }

Profile deviceOf(const Options &options) {
    if (options.plain) return plainDevice(*options.plain);
    if (!options.device.empty()) return loadProfiles(options.profiles).find(options.device);
    throw Failure(Exit::usage, "no device is given",
                  "Name one with --device, or describe one with --mode, --size and, where it matters, --pins and "
                  "--figvol.");
}

/// The device's editor, whose bytes lie in the device buffer.
Editor editorOf(const Profile &device, std::int32_t language) {
    auto editor = describeEditor(device.traits(), language);
    if (!editor)
        throw Failure(Exit::usage,
                      fmt::format("device {} has no configuration editor: its family is {}", device.name,
                                  device.integer(ProfileKey::family)),
                      "Choose another device, or another family in its profile.");
    const std::int64_t bufferBytes = std::int64_t{bufferData(device, *editor)} + deviceBufferExtra;
    for (const kx3_config_byte_info &byte : editor->bytes) {
        if (byte.address >= 0 && byte.address < bufferBytes) continue;
        const std::string what =
            fmt::format("device {}: its configuration byte at {} lies outside the device buffer of {} bytes",
                        device.name, byte.address, bufferBytes);
        if (device.isPlain()) throw Failure(Exit::usage, what, "Give a larger --size.");
        throw Failure(Exit::badFile, fmt::format("{}: {}", device.place, what),
                      "Correct the profile's size, bytes_per_address or family.");
    }
    return *std::move(editor);
}

FieldList selectedFields(const Editor &editor, const std::vector<std::string> &names) {
    if (names.empty()) return visibleFields(editor);
    FieldList selected;
    for (const std::string &name : names)
        for (const Field *field : findFields(editor, name))
            if (std::find(selected.begin(), selected.end(), field) == selected.end()) selected.push_back(field);
    return selected;
}

std::vector<Assignment> assignmentsOf(const Options &options, const Editor &editor) {
    std::vector<Assignment> assignments;
    if (options.command->verb != Verb::set) return assignments;
    for (const std::string &text : options.names) {
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos)
            throw Failure(Exit::usage, fmt::format("\"{}\" is no assignment", text), "Write FIELD=VALUE.");
        const Field &field = findField(editor, std::string_view(text).substr(0, equals));
        const std::string value = text.substr(equals + 1);
        if (field.read_only != 0)
            throw Failure(Exit::usage, fmt::format("{} can only be read", field.fullName()), "Leave it out.");
        const bool twice = std::any_of(assignments.begin(), assignments.end(),
                                       [&field](const Assignment &each) { return each.field == &field; });
        if (twice)
            throw Failure(Exit::usage, fmt::format("{} is set more than once", field.fullName()),
                          "Give one value to each field.");
        assignments.push_back({&field, parseEntry(field, value), value});
    }
    return assignments;
}

/// The addresses that a change writes.
std::set<std::int32_t> writtenAddresses(const Options &options, const Profile &device, const Editor &editor) {
    std::set<std::int32_t> addresses;
    if (options.command->verb == Verb::defaults) {
        for (const auto &[address, value] : defaultBytes(device.traits()))
            addresses.insert(address);
        return addresses;
    }
    for (const kx3_config_byte_info &byte : editor.bytes)
        if (byte.written != 0) addresses.insert(byte.address);
    if (editor.mirror) addresses.insert(*editor.mirror);
    return addresses;
}

constexpr std::string_view dangerWord = "lock me out";

/// One line from the terminal, in lower case.
std::string answerTo(const std::string &question) {
    fmt::print(stderr, "{} ", question);
    return normalName(readLine());
}

/// The changes that can lock the user out; empty when none can.
std::string dangersOf(const Changes &changes) {
    std::vector<std::string> names;
    for (const FieldChange &change : changes.fields)
        if (change.locksOut)
            names.push_back(
                fmt::format("{} = {} ({})", change.field->fullName(), change.after, change.field->hazardName()));
    if (names.empty()) return {};
    return fmt::format("this can lock you out of the device: {}", fmt::join(names, ", "));
}

std::string boxText(const ConfigReport &report) {
    std::string text = fmt::format("Write this to {}?\r", report.target);
    for (const FieldChange &change : report.changes->fields)
        text += fmt::format("\r{}: {} -> {}", change.field->fullName(), change.before, change.after);
    return text;
}

/// Why the changes of the report must not be written; nothing when they may be: by the options, or by
/// what a person types. Where nobody can type, a box in `window` (which may be null) asks, but not for
/// what is dangerous: Enter answers it too easily.
std::optional<Failure> refusal(const Options &options, const ConfigReport &report, const Window *window) {
    const Failure notConfirmed(Exit::refused, "not confirmed", "Nothing was written.");
    const bool canAsk = !options.yes && onTerminal();
    const std::string dangers = options.acceptDanger ? "" : dangersOf(*report.changes);
    bool confirmed = options.yes;
    if (!dangers.empty()) {
        if (!canAsk)
            return Failure(Exit::refused, dangers, "If you mean it, add --accept-danger. Nothing was written.");
        fmt::print(stderr, "Careful: {}\n", dangers);
        confirmed = answerTo(fmt::format("Type \"{}\" to go on:", dangerWord)) == dangerWord;
    } else if (canAsk) {
        confirmed = hasWord("y yes", answerTo(fmt::format("Write this to {}? [y/N]", report.target)));
    } else if (!confirmed && window == nullptr) {
        return Failure(Exit::refused, fmt::format("nobody can be asked whether {} may be changed", report.target),
                       "Add --yes to write without a question. Nothing was written.");
    } else if (!confirmed) {
        confirmed = window->ask("mpu6", boxText(report), okCancelQuestion) == KX3_BUTTON_OK;
    }
    return confirmed ? std::nullopt : std::optional(notConfirmed);
}

/// A command on the configuration bytes of a file or chip.
class ConfigCommand {
  public:
    explicit ConfigCommand(const Options &options)
        : options_(options), window_(options.command->verb == Verb::edit ? std::make_unique<Window>() : nullptr),
          device_(deviceOf(options)),
          editor_(editorOf(device_, options.language)), report_{.command = std::string(options.command->name),
                                                                .device = device_,
                                                                .editor = editor_} {}

    Exit run() {
        if (options_.command->verb == Verb::list) {
            report_.fields = selectedFields(editor_, options_.names);
            print(options_.json ? reportJson(report_) : fieldsText(report_));
            return Exit::done;
        }
        assignments_ = assignmentsOf(options_, editor_);
        workbench_ = std::make_unique<Workbench>(device_, editor_, options_.language);
        medium_ = mediumOf(options_, device_, workbench_->blocks());
        report_.source = medium_->source();
        if (options_.command->changes())
            change();
        else
            show();
        return report_.failure ? report_.failure->code() : Exit::done;
    }

  private:
    void show() {
        report_.fields = selectedFields(editor_, options_.names);
        medium_->load();
        report_.values = workbench_->look();
        // The bytes that hold the fields, and, when all fields are shown, those that hold none.
        std::set<std::int32_t> addresses;
        for (const Field *field : report_.fields)
            addresses.insert(field->places().begin(), field->places().end());
        if (options_.names.empty())
            for (const kx3_config_byte_info &byte : editor_.bytes)
                addresses.insert(byte.address);
        for (const std::int32_t address : addresses)
            report_.bytes.push_back({address, report_.values->bytes.at(address), medium_->holds(address)});
        if (options_.json)
            print(reportJson(report_));
        else
            print(options_.command->verb == Verb::get ? valuesText(report_) : fieldsText(report_));
    }

    void change() {
        medium_->load();
        const Snapshot before = workbench_->look();
        act();
        report_.target = medium_->target();
        report_.changes.emplace();
        if (!report_.failure) {
            const Snapshot after = workbench_->look();
            requireStored(after);
            report_.changes = changesBetween(editor_, before, after);
            store(after);
        }
        if (report_.failure) fmt::print(stderr, "{}\n", errorText(*report_.failure));
        if (options_.json)
            print(reportJson(report_));
        else if (report_.written)
            print(fmt::format("Written to {}.\n", report_.target));
        else if (options_.dryRun)
            print("Nothing was written (--dry-run).\n");
    }

    /// Change the device buffer.
    void act() {
        if (options_.command->verb == Verb::set) {
            workbench_->edit(assignments_);
        } else if (options_.command->verb == Verb::edit) {
            if (!workbench_->letEdit(*window_))
                report_.failure.emplace(Exit::refused, "the dialog was cancelled", "Nothing was written.");
        } else if (defaultBytes(device_.traits()).empty()) {
            throw Failure(Exit::usage, fmt::format("there are no default configuration bytes for {}", device_.name),
                          "Set the fields by name with `mpu6 config set`.");
        } else {
            workbench_->writeDefaults();
        }
    }

    /// What OK has stored must be what was asked for.
    void requireStored(const Snapshot &after) const {
        for (const auto &[field, entry, value] : assignments_) {
            const FieldState &state = after.states[report_.indexOf(*field)];
            if (shows(*field, state, entry)) continue;
            throw Failure(Exit::usage,
                          fmt::format("{}: the device cannot hold \"{}\"; it would become {}", field->fullName(), value,
                                      valueText(*field, state)),
                          "Nothing was written. Choose another value.");
        }
    }

    void store(const Snapshot &after) {
        Bytes bytes;
        for (const ByteChange &change : report_.changes->bytes)
            bytes[change.address] = change.after;
        for (const std::int32_t address : writtenAddresses(options_, device_, editor_))
            if (!medium_->holds(address) && bytes.emplace(address, after.bytes.at(address)).second)
                report_.added.push_back(address);
        if (!options_.json) print(changesText(report_));
        if ((bytes.empty() && !medium_->isCopy()) || options_.dryRun) return;
        medium_->requireRoom(bytes);
        if (options_.json && !options_.yes && onTerminal()) fmt::print(stderr, "{}", changesText(report_));
        static_cast<void>(std::fflush(stdout)); // before the question
        report_.failure = refusal(options_, report_, window_.get());
        if (report_.failure) return;
        medium_->store(bytes);
        report_.written = true;
    }

    const Options &options_;
    std::unique_ptr<Window> window_; ///< when the editor is opened for a person
    Profile device_;
    Editor editor_;
    ConfigReport report_;
    std::vector<Assignment> assignments_;
    std::unique_ptr<Workbench> workbench_;
    std::unique_ptr<Medium> medium_;
};

std::uint8_t noteNumber(const Options &options, const Profile &device) {
    if (options.note) return static_cast<std::uint8_t>(*options.note);
    const std::int64_t number = device.integer(ProfileKey::note);
    if (number == 0)
        throw Failure(Exit::usage, fmt::format("device {} has no note of its own", device.name),
                      "Give the number of a note.");
    return static_cast<std::uint8_t>(number & 0x7F);
}

/// False, with the reason, when no window can be drawn.
bool showInWindow(const Note &note) {
    try {
        static_cast<void>(Window().ask(note.title, fmt::format("{}", fmt::join(note.lines, "\r")), note.style));
        return true;
    } catch (const Failure &failure) {
        fmt::print(stderr, "mpu6: {}; the note is shown here instead\n", failure.message());
        return false;
    }
}

} // namespace

Exit runConfig(const Options &options) {
    useOwnBlocks();
    return ConfigCommand(options).run();
}

Exit runNotes(const Options &options) {
    useOwnBlocks();
    const Profile device = deviceOf(options);
    const std::uint8_t number = noteNumber(options, device);
    SharedBlocks blocks(std::nullopt, static_cast<std::int32_t>(device.bufferBytes()));
    storeProfile(blocks, device);
    storeTexts(blocks, options.language);
    const std::optional<Note> note = Plugin(blocks).note(number);
    const bool seen = note && options.window && showInWindow(*note);
    if (options.json)
        print(noteJson(device, number, note));
    else if (!seen)
        print(noteText(device, number, note));
    return Exit::done;
}

} // namespace kx3console
