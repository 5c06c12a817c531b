#include "command_line.h"

#include "../failure.h"
#include "../options.h"

#include <CLI/CLI.hpp>
#include <array>
#include <fmt/format.h>
#include <string_view>

namespace kx3console::config {

namespace {

struct VerbRow {
    Verb verb;
    std::string_view name;
    std::string_view summary;
    std::string_view details;
    std::string_view example;
};

constexpr std::string_view changeDetails =
    "The changes are shown before anything is written, and a question asks for consent; --yes\n"
    "answers it. The image is changed in place unless --output names another file; all of its\n"
    "other data stay as they are, and it is replaced only when all is well.";

constexpr std::string_view editDetails =
    "Needs a display and libkx3mpu6-qt.so. After OK the changes are shown before anything is written,\n"
    "and a question asks for consent, in a window where there is no terminal; --yes answers it. Changes\n"
    "that can lock you out are confirmed on the terminal, or by --accept-danger.";

constexpr std::array verbs{
    VerbRow{Verb::list, "list", "list the fields of a device and what they can hold",
            "FIELD is a caption or its beginning, \"Frame/Caption\", \"Frame/\" for all fields of a frame,\n"
            "or a control's name such as \"Combo1(3)\".",
            "mpu6 config list --mode 15 --size 0x4000"},
    VerbRow{Verb::show, "show", "show fields and bytes", "Bytes that the image does not have count as erased.",
            "mpu6 config show --mode 15 --size 0x4000 --input uno.hex"},
    VerbRow{Verb::get, "get", "print the values of fields alone", "One value a line.",
            "mpu6 config get --mode 15 --size 0x4000 --input board.hex CKDIV8"},
    VerbRow{Verb::set, "set", "change fields through the device's editor", changeDetails,
            "mpu6 config set --mode 15 --size 0x4000 --input board.hex CKDIV8=enable \"Lock Bit Byte/LB1\"=1 --yes"},
    VerbRow{Verb::defaults, "defaults", "write the device's default configuration bytes", changeDetails,
            "mpu6 config defaults --mode 15 --size 0x4000 --output fuses.hex --yes"},
    VerbRow{Verb::edit, "edit", "change fields in the device's own dialog", editDetails,
            "mpu6 config edit --mode 15 --size 0x4000 --input board.hex"},
};

constexpr std::string_view valueHelp =
    "FIELD=VALUE. VALUE of a list: the text of an item or its beginning, or its index (#2 where a\n"
    "number could be a text, too); of a check box: checked or unchecked; of a hex box: its digits, or\n"
    "0x and a number";

} // namespace

/// What the options are read into, before it is turned into a request.
struct CommandLine::Values {
    Request request;
    CLI::App *config = nullptr;
    CLI::App *notes = nullptr;
    std::optional<int> mode;
    std::optional<std::int64_t> size;
    int pins = 0;
    int figvol = 0;
    std::optional<int> note;
    std::string format;
    std::string base;
    std::string language = "en";
};

namespace {

void addDevice(CLI::App &app, auto &values) {
    CLI::Option *device = app.add_option("-d,--device", values.request.device, "the device, as `mpu6 devices` names it")
                              ->type_name("NAME");
    app.add_option("--profiles", values.request.profiles, "file with more device profiles; may be repeated")
        ->type_name("FILE")
        ->allow_extra_args(false); // the words behind it are fields
    CLI::Option *mode = app.add_option("--mode", values.mode, "without a profile: the family, 0 to 255")
                            ->check(CLI::Range(0, 255))
                            ->type_name("N")
                            ->excludes(device);
    CLI::Option *size = app.add_option("--size", values.size, "without a profile: size in addresses")
                            ->check(CLI::Range(std::int64_t{1}, std::int64_t{0x20000000}))
                            ->type_name("N")
                            ->needs(mode);
    mode->needs(size);
    app.add_option("--pins", values.pins, "without a profile: pin count")
        ->check(CLI::Range(0, 32767))
        ->type_name("N")
        ->needs(mode);
    app.add_option("--figvol", values.figvol, "without a profile: option of the editors")
        ->check(CLI::Range(0, 255))
        ->type_name("N")
        ->needs(mode);
}

void addImage(CLI::App &app, auto &values, bool changes) {
    app.add_option("-i,--input", values.request.input, "image with the configuration bytes: Intel HEX, S-record or raw")
        ->type_name("FILE");
    if (changes)
        app.add_option("-o,--output", values.request.output,
                       "write a changed copy here; without it the image is changed in place")
            ->type_name("FILE");
    app.add_option("--format", values.format, "ihex, srec or raw; told from the content or the file name when left out")
        ->type_name("NAME");
    app.add_option("--base", values.base, "load address of the first byte of a raw file")->type_name("ADDRESS");
    app.add_option("--chip", values.request.chip, "file of the simulated chip, instead of an image")->type_name("FILE");
    app.add_option("--algorithm-dir", values.request.algorithmDirectory,
                   "with --chip, for ARM devices: directory of the algorithm folders; sample images when left out")
        ->type_name("DIR");
}

void addConsent(CLI::App &app, Request &request) {
    app.add_flag("-y,--yes", request.yes, "write without a question");
    app.add_flag("--accept-danger", request.acceptDanger, "write also what can lock you out of the device");
    app.add_flag("-n,--dry-run", request.dryRun, "show the changes only");
}

void addCommon(CLI::App &app, auto &values) {
    app.add_option("--language", values.language,
                   "language of the plug-in's words: en, zh-cn, zh-tw, ko, pl, default, it, nl, pt-br, tr, hu, ru or "
                   "its number")
        ->type_name("NAME");
    app.add_flag("--json", values.request.json, "standard output is one JSON object, also for errors");
}

void addNames(CLI::App &app, Request &request, Verb verb) {
    if (verb == Verb::defaults || verb == Verb::edit) return;
    CLI::Option *names =
        verb == Verb::set
            ? app.add_option("assignments", request.names, std::string(valueHelp))->type_name("FIELD=VALUE")
            : app.add_option("fields", request.names, "only these fields")->type_name("FIELD");
    if (verb == Verb::set || verb == Verb::get) names->required();
}

/// A value of "" is a slip in a script, not a request to leave the option out.
void refuseEmptyValues(const CLI::App &chosen) {
    for (const CLI::Option *option : chosen.get_options())
        for (const std::string &value : option->results())
            if (value.empty()) throw Failure(Exit::usage, fmt::format("{}: the value is empty", option->get_name()));
}

} // namespace

CommandLine::CommandLine(CLI::App &program) : values_(std::make_unique<Values>()) {
    Values &values = *values_;
    values.config =
        program.add_subcommand("config", "show and change configuration bytes by the names of their fields");
    values.config->require_subcommand(1);
    values.config->footer("\n`mpu6 config COMMAND --help` lists the options of a command.");
    for (const VerbRow &row : verbs) {
        CLI::App &app = *values.config->add_subcommand(std::string(row.name), std::string(row.summary));
        app.footer(fmt::format("\n{}\n\nExample:\n  {}", row.details, row.example));
        const bool changes = isChange(row.verb);
        addNames(app, values.request, row.verb);
        addDevice(app, values);
        if (row.verb != Verb::list) addImage(app, values, changes);
        if (changes) addConsent(app, values.request);
        addCommon(app, values);
    }
    values.notes = program.add_subcommand("notes", "show what is particular about a device");
    values.notes->footer("\nExample:\n  mpu6 notes --device ARM80-256K 75");
    values.notes->add_option("number", values.note, "number of the note; the device's own when left out")
        ->check(CLI::Range(0, 127))
        ->type_name("NUMBER");
    values.notes->add_flag("--window", values.request.window,
                           "show the note in a window, where there is a display and libkx3mpu6-qt.so");
    addDevice(*values.notes, values);
    addCommon(*values.notes, values);
}

CommandLine::~CommandLine() = default;

std::optional<Request> CommandLine::request() const {
    const Values &values = *values_;
    Request request = values.request;
    if (values.notes->parsed()) {
        refuseEmptyValues(*values.notes);
        request.verb = Verb::notes;
        request.command = "notes";
    } else if (values.config->parsed()) {
        const CLI::App *chosen = values.config->get_subcommands().front();
        refuseEmptyValues(*chosen);
        for (const VerbRow &row : verbs)
            if (row.name == chosen->get_name()) request.verb = row.verb;
        request.command = "config " + chosen->get_name();
    } else {
        return std::nullopt;
    }
    if (values.mode && values.size)
        request.plain = PlainDevice{static_cast<std::uint8_t>(*values.mode), static_cast<std::int32_t>(*values.size),
                                    static_cast<std::int16_t>(values.pins), static_cast<std::uint8_t>(values.figvol)};
    if (values.note) request.note = static_cast<std::uint8_t>(*values.note);
    if (!values.format.empty()) request.format = requireFormat(values.format);
    if (!values.base.empty()) request.base = requireAddress(values.base);
    request.language = requireLanguage(values.language);
    return request;
}

} // namespace kx3console::config
