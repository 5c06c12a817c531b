#include "commands.h"

#include "../failure.h"
#include "../report.h"
#include "consent.h"
#include "device.h"
#include "dialog.h"
#include "field_names.h"
#include "medium.h"
#include "report.h"
#include "workbench.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <memory>
#include <unistd.h>

namespace kx3console::config {

namespace {

/// An output that cannot be written is seen at the end.
void print(const std::string &text) { static_cast<void>(std::fwrite(text.data(), 1, text.size(), stdout)); }

/// Configuration is edited in blocks of our own, so that no other host stands in the way, unless the
/// user has chosen a world.
void useOwnBlocks() { ::setenv("KX3MPU6_NAMESPACE", fmt::format("config-{}", ::getpid()).c_str(), 0); }

FieldList selectedFields(const Editor &editor, const std::vector<std::string> &names) {
    if (names.empty()) return visibleFields(editor);
    FieldList selected;
    for (const std::string &name : names)
        for (const Field *field : findFields(editor, name))
            if (std::find(selected.begin(), selected.end(), field) == selected.end()) selected.push_back(field);
    return selected;
}

Exit list(const Request &request) {
    const Device device = deviceOf(request);
    const Editor editor = editorOf(device, request.language);
    Report report{.command = request.command, .device = device, .editor = editor};
    report.fields = selectedFields(editor, request.names);
    print(request.json ? reportJson(report) : fieldsText(report));
    return Exit::done;
}

/// The bytes that hold the fields, and, when all fields are shown, those that hold none.
std::vector<ShownByte> shownBytes(const Report &report, const Medium &medium, bool all) {
    std::vector<std::int32_t> addresses;
    for (const Field *field : report.fields)
        addresses.insert(addresses.end(), field->addresses.begin(), field->addresses.end());
    if (all)
        for (const ConfigByte &byte : report.editor.bytes)
            addresses.push_back(byte.address);
    std::sort(addresses.begin(), addresses.end());
    addresses.erase(std::unique(addresses.begin(), addresses.end()), addresses.end());
    std::vector<ShownByte> shown;
    shown.reserve(addresses.size());
    for (const std::int32_t address : addresses)
        shown.push_back({address, report.values->bytes.at(address), medium.holds(address)});
    return shown;
}

Exit show(const Request &request) {
    const Device device = deviceOf(request);
    const Editor editor = editorOf(device, request.language);
    Workbench workbench(device, editor, request.language);
    const auto medium = mediumOf(request, device, workbench.blocks());
    Report report{.command = request.command, .device = device, .editor = editor, .source = medium->source()};
    report.fields = selectedFields(editor, request.names);
    medium->load();
    report.values = workbench.look();
    report.bytes = shownBytes(report, *medium, request.names.empty());
    if (request.json)
        print(reportJson(report));
    else
        print(request.verb == Verb::get ? valuesText(report) : fieldsText(report));
    return Exit::done;
}

std::vector<Assignment> assignmentsOf(const Request &request, const Editor &editor) {
    std::vector<Assignment> assignments;
    for (const std::string &text : request.names) {
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos)
            throw Failure(Exit::usage, fmt::format("\"{}\" is no assignment", text), "Write FIELD=VALUE.");
        const Field &field = findField(editor, std::string_view(text).substr(0, equals));
        const std::string value = text.substr(equals + 1);
        if (field.readOnly)
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

/// What OK has stored must be what was asked for.
void requireStored(const std::vector<Assignment> &assignments, const Report &report, const Snapshot &after) {
    for (const Assignment &assignment : assignments) {
        const Field &field = *assignment.field;
        const FieldState &state = after.states[report.indexOf(field)];
        if (shows(field, state, assignment.entry)) continue;
        throw Failure(Exit::usage,
                      fmt::format("{}: the device cannot hold \"{}\"; it would become {}", field.fullName(),
                                  assignment.value, valueText(field, state)),
                      "Nothing was written. Choose another value.");
    }
}

/// The addresses that the editor writes.
std::vector<std::int32_t> writtenAddresses(const Editor &editor) {
    std::vector<std::int32_t> addresses;
    for (const ConfigByte &byte : editor.bytes)
        if (byte.written) addresses.push_back(byte.address);
    if (editor.mirror) addresses.push_back(*editor.mirror);
    std::sort(addresses.begin(), addresses.end());
    return addresses;
}

/// A change of the configuration, from the request to the file or chip.
class Change {
  public:
    explicit Change(const Request &request)
        : request_(request), window_(request.verb == Verb::edit ? std::make_unique<Window>() : nullptr),
          device_(deviceOf(request)), editor_(editorOf(device_, request.language)),
          assignments_(assignmentsOf(request, editor_)), workbench_(device_, editor_, request.language),
          medium_(mediumOf(request, device_, workbench_.blocks())), report_{.command = request.command,
                                                                            .device = device_,
                                                                            .editor = editor_,
                                                                            .source = medium_->source()} {}

    Exit run() {
        medium_->load();
        const Snapshot before = workbench_.look();
        const std::vector<std::int32_t> written = act();
        if (report_.outcome.code != Exit::done) return cancelled();
        const Snapshot after = workbench_.look();
        requireStored(assignments_, report_, after);
        report_.changes = changesBetween(editor_, before, after);
        report_.target = medium_->target();
        addMissing(written);
        store(after);
        finish();
        return report_.outcome.code;
    }

  private:
    /// Change the device buffer; the addresses that were written.
    std::vector<std::int32_t> act() {
        if (request_.verb == Verb::set) {
            workbench_.edit(assignments_);
            return writtenAddresses(editor_);
        }
        if (request_.verb == Verb::edit) {
            if (!workbench_.letEdit(*window_))
                report_.outcome = {Exit::refused, "the dialog was cancelled", "Nothing was written."};
            return writtenAddresses(editor_);
        }
        const Bytes defaults = workbench_.writeDefaults();
        if (defaults.empty())
            throw Failure(Exit::usage, fmt::format("there are no default configuration bytes for {}", device_.name),
                          "Set the fields by name with `mpu6 config set`.");
        std::vector<std::int32_t> addresses;
        for (const auto &[address, value] : defaults)
            addresses.push_back(address);
        return addresses;
    }

    Exit cancelled() {
        report_.changes.emplace();
        report_.target = medium_->target();
        finish();
        return report_.outcome.code;
    }

    void addMissing(const std::vector<std::int32_t> &written) {
        for (const std::int32_t address : written) {
            const auto &changed = report_.changes->bytes;
            const bool isChanged = std::any_of(changed.begin(), changed.end(), [address](const ByteChange &change) {
                return change.address == address;
            });
            if (!isChanged && !medium_->holds(address)) report_.added.push_back(address);
        }
    }

    void store(const Snapshot &after) {
        if (!request_.json) print(changesText(report_));
        const bool nothing = report_.changes->empty() && report_.added.empty() && !medium_->isCopy();
        if (nothing || request_.dryRun) return;
        Bytes bytes;
        for (const ByteChange &change : report_.changes->bytes)
            bytes[change.address] = change.after;
        for (const std::int32_t address : report_.added)
            bytes[address] = after.bytes.at(address);
        medium_->requireRoom(bytes);
        if (request_.json && mayAsk(request_)) fmt::print(stderr, "{}", changesText(report_));
        static_cast<void>(std::fflush(stdout)); // before the question
        report_.outcome = askConsent(request_, *report_.changes, report_.target, window_.get());
        if (report_.outcome.code != Exit::done) return;
        medium_->store(bytes);
        report_.written = true;
    }

    void finish() const {
        const Outcome &outcome = report_.outcome;
        if (outcome.code != Exit::done) fmt::print(stderr, "{}\n", errorText(outcome.message, outcome.advice));
        if (request_.json)
            print(reportJson(report_));
        else if (report_.written)
            print(fmt::format("Written to {}.\n", report_.target));
        else if (request_.dryRun)
            print("Nothing was written (--dry-run).\n");
    }

    const Request &request_;
    std::unique_ptr<Window> window_; ///< when the editor is opened for a person
    Device device_;
    Editor editor_;
    std::vector<Assignment> assignments_;
    Workbench workbench_;
    std::unique_ptr<Medium> medium_;
    Report report_;
};

std::uint8_t noteNumber(const Request &request, const Device &device) {
    if (request.note) return *request.note;
    const std::int64_t number = device.profile ? device.profile->integer(kx3console::Field::note) : 0;
    if (number == 0)
        throw Failure(Exit::usage, fmt::format("device {} has no note of its own", device.name),
                      "Give the number of a note.");
    return static_cast<std::uint8_t>(number & 0x7F);
}

std::string noteText(const Device &device, std::uint8_t number, const std::optional<Note> &note) {
    if (!note) return fmt::format("Note {} says nothing about {}.\n", number, device.name);
    std::string text = note->title.empty() ? "" : note->title + "\n";
    for (const std::string &line : note->lines)
        text += line + "\n";
    return text;
}

/// False, with a word why, when no window can be drawn.
bool showInWindow(const Note &note) {
    try {
        static_cast<void>(Window().ask(note.title, fmt::format("{}", fmt::join(note.lines, "\r")), note.style));
        return true;
    } catch (const Failure &failure) {
        fmt::print(stderr, "mpu6: {}; the note is shown here instead\n", failure.message());
        return false;
    }
}

Exit showNote(const Request &request) {
    const Device device = deviceOf(request);
    const std::uint8_t number = noteNumber(request, device);
    SharedBlocks blocks(freeInstance(), bufferData(device, nullptr));
    storeDevice(blocks, device, request.language);
    const std::optional<Note> note = Dialogs(blocks).note(number);
    const bool seen = note && request.window && showInWindow(*note);
    if (request.json)
        print(noteJson(device, number, note));
    else if (!seen)
        print(noteText(device, number, note));
    return Exit::done;
}

} // namespace

Exit run(const Request &request) {
    useOwnBlocks();
    switch (request.verb) {
    case Verb::list: return list(request);
    case Verb::show:
    case Verb::get: return show(request);
    case Verb::set:
    case Verb::defaults:
    case Verb::edit: return Change(request).run();
    case Verb::notes: break;
    }
    return showNote(request);
}

} // namespace kx3console::config
