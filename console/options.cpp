#include "options.h"

#include "config/command_line.h"
#include "failure.h"
#include "language.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <kx3mpu6.h>
#include <string_view>

namespace kx3console {

namespace {

/// Texts of options whose value is one of a set of names; they are turned into values after the parse.
struct NamedValues {
    std::string format;
    std::string language = "en";
    std::string progress = "auto";
    std::string base;
    std::string onWrongId;
    int instance = 0;
};

void addDeviceOptions(CLI::App &app, Options &options) {
    app.add_option("-d,--device", options.device, "the device, as `mpu6 devices` names it")
        ->required()
        ->type_name("NAME");
    app.add_option("--chip", options.chip, "file that keeps the simulated chip; created when missing")
        ->type_name("FILE");
    app.add_option("--algorithm-dir", options.algorithmDirectory,
                   "directory that holds the algorithm folders algo4 and algo; sample images when left out")
        ->type_name("DIR");
    app.add_option("--faults", options.faults, "faults of the simulated programmer")->type_name("LIST");
    app.add_option("--seed", options.seed, "seed of the faults")->type_name("N");
}

void addFileOptions(CLI::App &app, Options &options, NamedValues &values, const Command &command) {
    if (command.needsInput) {
        app.add_option("-i,--input", options.input, "load file")->required()->type_name("FILE");
        app.add_flag("--skip-outside", options.skipOutside, "leave out data that lie outside the device");
    }
    if (command.needsOutput)
        app.add_option("-o,--output", options.output, "file to write; it is replaced only when all is well")
            ->required()
            ->type_name("FILE");
    app.add_option("--eeprom", options.eeprom,
                   command.needsInput
                       ? "load file of the EEPROM, from address 0 on; without it the EEPROM is erased bytes"
                       : "file to write the EEPROM into")
        ->type_name("FILE");
    app.add_option("--format", values.format, "ihex, srec or raw; told from the content or the file name when left out")
        ->type_name("NAME");
    app.add_option("--base", values.base, "load address of the first byte of a raw file")->type_name("ADDRESS");
}

void addConfigurationOptions(CLI::App &app, Options &options) {
    app.add_option(
           "--fuse", options.configuration.fuses,
           "configuration byte by its name (low, high, extended, lock, ...) or offset, such as low=0xFF; may be "
           "repeated; the device's defaults when left out")
        ->type_name("NAME=VALUE")
        ->expected(1)
        ->take_all();
    app.add_option("--config-bytes", options.configuration.bytes,
                   "configuration bytes from the first one on, in hexadecimal: FF DE FD")
        ->type_name("HEX")
        ->expected(1, 16);
}

void addQuestionOptions(CLI::App &app, Options &options, NamedValues &values) {
    app.add_flag("-y,--yes", options.neverAsk,
                 "never ask: go on with a device that is not blank; other questions get their safe answer");
    app.add_flag("--window", options.window,
                 "ask in windows, where there is a display and libkx3mpu6-qt.so; else on the terminal");
    app.add_option("--on-wrong-id", values.onWrongId,
                   "abort, retry or ignore when the chip's identifier is not the device's; asked when left out")
        ->check(CLI::IsMember({"abort", "retry", "ignore"}))
        ->type_name("WHAT");
    app.add_option("--retries", options.answers.retries, "how often --on-wrong-id retry tries again before it aborts")
        ->check(CLI::Range(0, 1000))
        ->capture_default_str()
        ->type_name("N");
}

void addRunOptions(CLI::App &app, Options &options, NamedValues &values) {
    app.add_option("--language", values.language,
                   "language of the log: en, zh-cn, zh-tw, ko, pl, default, it, nl, pt-br, tr, hu, ru or its number")
        ->type_name("NAME");
    app.add_option("--instance", values.instance, "instance number of this host; the first free one when left out")
        ->check(CLI::Range(-32768, 32767))
        ->type_name("N");
    app.add_option("--progress", values.progress,
                   "auto: a bar on a terminal; always: whole lines in a pipe, too; never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->type_name("WHEN");
    app.add_option("--trace", options.trace, "write every outside call into this file, one JSON object a line")
        ->type_name("FILE");
    addQuestionOptions(app, options, values);
}

void addCommonOptions(CLI::App &app, Options &options) {
    app.add_option("--profiles", options.profiles, "file with more device profiles; may be repeated")
        ->type_name("FILE");
    app.add_flag("--json", options.json, "standard output is one JSON object, also for errors");
    auto *quiet = app.add_flag("-q,--quiet", options.quiet, "errors only");
    app.add_flag("-v,--verbose", options.verbose, "say what is done")->excludes(quiet);
}

std::string footer() {
    std::string text = "\nExamples:\n";
    for (const Command &command : commandTable)
        text += fmt::format("  {}\n", command.example);
    text += "\nExit status:\n";
    for (const ExitRow &row : exitTable)
        text += fmt::format("  {:>3}  {}\n", static_cast<int>(row.code), row.meaning);
    text += "\n`mpu6 COMMAND --help` lists the options of a command.";
    return text;
}

ProgressMode progressMode(const std::string &name) {
    if (name == "always") return ProgressMode::always;
    return name == "never" ? ProgressMode::never : ProgressMode::automatic;
}

std::optional<WrongId> wrongIdAnswer(const std::string &name) {
    if (name.empty()) return std::nullopt;
    if (name == "retry") return WrongId::retry;
    return name == "ignore" ? WrongId::ignore : WrongId::abort;
}

void takeValues(Options &options, const NamedValues &values, const CLI::App &chosen) {
    if (!values.format.empty()) options.format = requireFormat(values.format);
    if (!values.base.empty()) options.base = requireAddress(values.base);
    options.language = requireLanguage(values.language);
    options.progress = progressMode(values.progress);
    options.answers.onWrongId = wrongIdAnswer(values.onWrongId);
    options.answers.goOn = options.neverAsk;
    const CLI::Option *instance = chosen.get_option_no_throw("--instance");
    if (instance != nullptr && instance->count() > 0) options.instance = static_cast<std::int16_t>(values.instance);
}

/// A value of "" is a slip in a script, not a request to leave the option out.
void refuseEmptyValues(const CLI::App &chosen) {
    for (const CLI::Option *option : chosen.get_options())
        for (const std::string &value : option->results())
            if (value.empty() && option->get_expected_max() > 0)
                throw Failure(Exit::usage, fmt::format("{}: the value is empty", option->get_name()));
}

} // namespace

FileFormat requireFormat(const std::string &name) {
    if (const auto format = formatFromName(name)) return *format;
    throw Failure(Exit::usage, fmt::format("--format: there is no load file format \"{}\"", name),
                  "Choose ihex, srec or raw.");
}

std::int32_t requireLanguage(const std::string &name) {
    if (const auto offset = languageOffset(name)) return *offset;
    throw Failure(Exit::usage, fmt::format("--language: there is no language \"{}\"", name),
                  "Choose en, zh-cn, zh-tw, ko, pl, default, it, nl, pt-br, tr, hu or ru.");
}

std::uint64_t requireAddress(const std::string &text) {
    std::size_t used = 0;
    try {
        const std::uint64_t value = std::stoull(text, &used, 0);
        if (used == text.size() && text.front() != '-' && value <= UINT32_MAX) return value;
    } catch (const std::logic_error &) {
    }
    throw Failure(Exit::usage, fmt::format("--base: \"{}\" is no address", text),
                  "Give a number from 0 to 0xFFFFFFFF, such as 0x8000.");
}

Options parseOptions(int argc, const char *const *argv) {
    Options options;
    NamedValues values;
    CLI::App app("mpu6: programs, reads and checks devices through the kx3mpu6 plug-in.\n", "mpu6");
    app.require_subcommand(1);
    app.footer(footer());
    app.set_version_flag("--version", std::string("mpu6 ") + kx3_version());
    for (const Command &command : commandTable) {
        CLI::App &sub = *app.add_subcommand(std::string(command.name), std::string(command.summary));
        sub.footer(fmt::format("\nExample:\n  {}", command.example));
        if (command.runs) addDeviceOptions(sub, options);
        if (command.needsInput || command.needsOutput) addFileOptions(sub, options, values, command);
        if (command.needsInput) addConfigurationOptions(sub, options);
        if (command.operation == Operation::program && command.runs)
            sub.add_flag("--verify", options.verify, "compare the device with the load file afterwards");
        if (command.runs) addRunOptions(sub, options, values);
        addCommonOptions(sub, options);
    }

    const config::CommandLine configCommands(app);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() != 0) throw Failure(Exit::usage, error.what(), "See `mpu6 --help`.");
        throw HelpShown{dynamic_cast<const CLI::CallForVersion *>(&error) != nullptr ? std::string(error.what()) + "\n"
                                                                                     : app.help()};
    }

    options.config = configCommands.request();
    if (options.config) return options;
    const CLI::App *chosen = app.get_subcommands().front();
    const auto *row = std::find_if(commandTable.begin(), commandTable.end(),
                                   [chosen](const Command &command) { return command.name == chosen->get_name(); });
    options.command = &*row;
    refuseEmptyValues(*chosen);
    takeValues(options, values, *chosen);
    return options;
}

bool wantsJson(int argc, const char *const *argv) {
    return std::any_of(argv, argv + argc, [](const char *word) { return std::string_view(word) == "--json"; });
}

} // namespace kx3console
