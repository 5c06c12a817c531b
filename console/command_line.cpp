#include "command_line.h"

#include "failure.h"
#include "texts.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <string_view>

namespace kx3console {

namespace {

const std::vector<std::string> &progressNames() {
    static const std::vector<std::string> names{"auto", "always", "never"}; // as in ProgressMode
    return names;
}
const std::vector<std::string> &wrongIdNames() {
    static const std::vector<std::string> names{"abort", "retry", "ignore"}; // from KX3_BUTTON_ABORT on
    return names;
}

std::int32_t indexIn(const std::vector<std::string> &names, const std::string &name) {
    return static_cast<std::int32_t>(std::find(names.begin(), names.end(), name) - names.begin());
}

constexpr const char *assignmentHelp =
    "FIELD=VALUE. VALUE of a list: the text of an item or its beginning, or its index (#2 where a\n"
    "number could be a text, too); of a check box: checked or unchecked; of a hex box: its digits, or\n"
    "0x and a number";

/// "en, zh-cn or ru"
std::string languageNames(std::string_view last) {
    const auto known = languages();
    std::string names;
    for (const kx3_language_info &language : known)
        names += fmt::format("{}{}", names.empty() ? "" : &language == &known.back() ? last : ", ", language.name);
    return names;
}

FileFormat requireFormat(const std::string &name) {
    if (const auto format = formatFromName(name)) return *format;
    throw Failure(Exit::usage, fmt::format("--format: there is no load file format \"{}\"", name),
                  "Choose ihex, srec or raw.");
}

std::int32_t requireLanguage(const std::string &text) {
    for (const kx3_language_info &language : languages())
        if (language.name == text || std::to_string(language.block) == text) return language.block;
    throw Failure(Exit::usage, fmt::format("--language: there is no language \"{}\"", text),
                  fmt::format("Choose {}.", languageNames(" or ")));
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

/// A value of "" is a slip in a script, not a request to leave the option out.
void refuseEmptyValues(const CLI::App &chosen) {
    for (const CLI::Option *option : chosen.get_options())
        for (const std::string &value : option->results())
            if (value.empty() && option->get_expected_max() > 0)
                throw Failure(Exit::usage, fmt::format("{}: the value is empty", option->get_name()));
}

/// The options of every command, and what was read into them.
class Parser {
  public:
    Parser() : app_("mpu6: programs, reads and checks devices through the kx3mpu6 plug-in.\n", "mpu6") {
        app_.require_subcommand(1);
        app_.footer(footer());
        app_.set_version_flag("--version", std::string("mpu6 ") + kx3_version());
        for (const Command &command : commandTable)
            addCommand(command);
    }

    Options parse(int argc, const char *const *argv) {
        try {
            app_.parse(argc, argv);
        } catch (const CLI::ParseError &error) {
            if (error.get_exit_code() != 0) throw Failure(Exit::usage, error.what(), "See `mpu6 --help`.");
            throw HelpShown{dynamic_cast<const CLI::CallForVersion *>(&error) != nullptr
                                ? std::string(error.what()) + "\n"
                                : app_.help()};
        }
        for (std::size_t i = 0; i < commandTable.size(); ++i)
            if (commands_[i]->parsed()) takeValues(commandTable.at(i), *commands_[i]);
        return options_;
    }

  private:
    static std::string footer() {
        std::string text = "\nExamples:\n";
        for (const Command &command : commandTable)
            if (command.runs() || command.verb == Verb::devices) text += fmt::format("  {}\n", command.example);
        text += "\nExit status:\n";
        for (const ExitRow &row : exitTable)
            text += fmt::format("  {:>3}  {}\n", static_cast<int>(row.code), row.meaning);
        return text + "\n`mpu6 COMMAND --help` lists the options of a command.";
    }

    template <class Value>
    static CLI::Option *add(CLI::App &app, const char *names, const char *type, Value &value, const std::string &help) {
        return app.add_option(names, value, help)->type_name(type);
    }

    /// The command line's command, below `config` when its name says so.
    CLI::App &subcommand(const Command &command) {
        const std::string_view name = command.name.substr(command.isConfig() ? command.name.find(' ') + 1 : 0);
        if (!command.isConfig()) return *app_.add_subcommand(std::string(name), std::string(command.summary));
        if (config_ == nullptr) {
            config_ = app_.add_subcommand("config", "show and change configuration bytes by the names of their fields");
            config_->require_subcommand(1);
            config_->footer("\n`mpu6 config COMMAND --help` lists the options of a command.");
        }
        return *config_->add_subcommand(std::string(name), std::string(command.summary));
    }

    void addCommand(const Command &command) {
        CLI::App &app = subcommand(command);
        commands_.push_back(&app);
        app.footer(fmt::format("\n{}{}Example:\n  {}", command.details, command.details.empty() ? "" : "\n\n",
                               command.example));
        switch (command.verb) {
        case Verb::run: addRun(app, command); [[fallthrough]];
        case Verb::devices: addCommon(app); break;
        case Verb::notes: addNote(app); break;
        case Verb::blocks: addBlocks(app); break;
        default: addConfig(app, command);
        }
    }

    // What several commands have.

    CLI::Option *addDevice(CLI::App &app) {
        return add(app, "-d,--device", "NAME", options_.device, "the device, as `mpu6 devices` names it");
    }

    CLI::Option *addProfiles(CLI::App &app) {
        return add(app, "--profiles", "FILE", options_.profiles, "file with more device profiles; may be repeated");
    }

    void addFormat(CLI::App &app) {
        add(app, "--format", "NAME", format_,
            "ihex, srec or raw; told from the content or the file name when left out");
        add(app, "--base", "ADDRESS", base_, "load address of the first byte of a raw file");
    }

    void addLanguage(CLI::App &app, const char *what) {
        add(app, "--language", "NAME", language_, fmt::format("{}: {} or its number", what, languageNames(", ")));
    }

    // Commands on a device.

    void addRun(CLI::App &app, const Command &command) {
        addDevice(app)->required();
        add(app, "--chip", "FILE", options_.chip, "file that keeps the simulated chip; created when missing");
        add(app, "--algorithm-dir", "DIR", options_.algorithmDirectory,
            "directory that holds the algorithm folders algo4 and algo; sample images when left out");
        add(app, "--faults", "LIST", options_.faults, "faults of the simulated programmer");
        add(app, "--seed", "N", options_.seed, "seed of the faults");
        if (command.needsInput() || command.needsOutput()) addFiles(app, command);
        if (command.needsInput()) addConfigurationBytes(app);
        if (command.operation == Operation::program)
            app.add_flag("--verify", options_.verify, "compare the device with the load file afterwards");
        addLanguage(app, "language of the log");
        add(app, "--instance", "N", options_.instance, "instance number of this host; the first free one when left out")
            ->check(CLI::Range(-32768, 32767));
        add(app, "--progress", "WHEN", progress_,
            "auto: a bar on a terminal; always: whole lines in a pipe, too; never")
            ->check(CLI::IsMember(progressNames()));
        add(app, "--trace", "FILE", options_.trace, "write every outside call into this file, one JSON object a line");
        addQuestions(app);
    }

    void addFiles(CLI::App &app, const Command &command) {
        if (command.needsInput()) {
            add(app, "-i,--input", "FILE", options_.input, "load file")->required();
            app.add_flag("--skip-outside", options_.skipOutside, "leave out data that lie outside the device");
        } else {
            add(app, "-o,--output", "FILE", options_.output, "file to write; it is replaced only when all is well")
                ->required();
        }
        add(app, "--eeprom", "FILE", options_.eeprom,
            command.needsInput() ? "load file of the EEPROM, from address 0 on; without it the EEPROM is erased bytes"
                                 : "file to write the EEPROM into");
        addFormat(app);
    }

    void addConfigurationBytes(CLI::App &app) {
        add(app, "--fuse", "NAME=VALUE", options_.configuration.fuses,
            "configuration byte by its name (low, high, extended, lock, ...) or offset, such as low=0xFF; may be "
            "repeated; the device's defaults when left out")
            ->expected(1)
            ->take_all();
        add(app, "--config-bytes", "HEX", options_.configuration.bytes,
            "configuration bytes from the first one on, in hexadecimal: FF DE FD")
            ->expected(1, 16);
    }

    void addQuestions(CLI::App &app) {
        app.add_flag("-y,--yes", options_.yes,
                     "never ask: go on with a device that is not blank; other questions get their safe answer");
        app.add_flag("--window", options_.window,
                     "ask in windows, where there is a display and libkx3mpu6-qt.so; else on the terminal");
        add(app, "--on-wrong-id", "WHAT", onWrongId_,
            "abort, retry or ignore when the chip's identifier is not the device's; asked when left out")
            ->check(CLI::IsMember(wrongIdNames()));
        add(app, "--retries", "N", options_.answers.retries,
            "how often --on-wrong-id retry tries again before it aborts")
            ->check(CLI::Range(0, 1000))
            ->capture_default_str();
    }

    void addCommon(CLI::App &app) {
        addProfiles(app);
        addJson(app);
        auto *quiet = app.add_flag("-q,--quiet", options_.display.quiet, "errors only");
        app.add_flag("-v,--verbose", options_.display.verbose, "say what is done")->excludes(quiet);
    }

    void addJson(CLI::App &app) {
        app.add_flag("--json", options_.json, "standard output is one JSON object, also for errors");
    }

    // Configuration and notes.

    void addAnyDevice(CLI::App &app) {
        CLI::Option *device = addDevice(app);
        addProfiles(app)->allow_extra_args(false); // the words behind it are fields
        CLI::Option *mode = add(app, "--mode", "N", mode_, "without a profile: the family, 0 to 255")
                                ->check(CLI::Range(0, 255))
                                ->excludes(device);
        CLI::Option *size = add(app, "--size", "N", size_, "without a profile: size in addresses")
                                ->check(CLI::Range(std::int64_t{1}, std::int64_t{0x20000000}))
                                ->needs(mode);
        mode->needs(size);
        add(app, "--pins", "N", pins_, "without a profile: pin count")->check(CLI::Range(0, 32767))->needs(mode);
        add(app, "--figvol", "N", figvol_, "without a profile: option of the editors")
            ->check(CLI::Range(0, 255))
            ->needs(mode);
    }

    void addConfig(CLI::App &app, const Command &command) {
        if (command.verb == Verb::set)
            add(app, "assignments", "FIELD=VALUE", options_.names, assignmentHelp)->required();
        else if (command.verb != Verb::defaults && command.verb != Verb::edit)
            add(app, "fields", "FIELD", options_.names, "only these fields")->required(command.verb == Verb::get);
        addAnyDevice(app);
        if (command.verb != Verb::list) addImage(app, command);
        if (command.changes()) {
            app.add_flag("-y,--yes", options_.yes, "write without a question");
            app.add_flag("--accept-danger", options_.acceptDanger, "write also what can lock you out of the device");
            app.add_flag("-n,--dry-run", options_.dryRun, "show the changes only");
        }
        addLanguage(app, "language of the plug-in's words");
        addJson(app);
    }

    void addImage(CLI::App &app, const Command &command) {
        add(app, "-i,--input", "FILE", options_.input,
            "image with the configuration bytes: Intel HEX, S-record or raw");
        if (command.changes())
            add(app, "-o,--output", "FILE", options_.output,
                "write a changed copy here; without it the image is changed in place");
        addFormat(app);
        add(app, "--chip", "FILE", options_.chip, "file of the simulated chip, instead of an image");
        add(app, "--algorithm-dir", "DIR", options_.algorithmDirectory,
            "with --chip, for ARM devices: directory of the algorithm folders; sample images when left out");
    }

    void addNote(CLI::App &app) {
        add(app, "number", "NUMBER", options_.note, "number of the note; the device's own when left out")
            ->check(CLI::Range(0, 127));
        app.add_flag("--window", options_.window,
                     "show the note in a window, where there is a display and libkx3mpu6-qt.so");
        addAnyDevice(app);
        addLanguage(app, "language of the plug-in's words");
        addJson(app);
    }

    void addBlocks(CLI::App &app) {
        add(app, "name", "NAME", options_.names, "one block, with or without tamsel")->expected(0, 1);
        addJson(app);
    }

    void takeValues(const Command &command, const CLI::App &chosen) {
        options_.command = &command;
        refuseEmptyValues(chosen);
        if (mode_ && size_)
            options_.plain =
                kx3_device{sizeof(kx3_device), static_cast<std::int32_t>(*size_), static_cast<std::int16_t>(pins_),
                           static_cast<std::uint8_t>(*mode_), static_cast<std::uint8_t>(figvol_)};
        if (!format_.empty()) options_.format = requireFormat(format_);
        if (!base_.empty()) options_.base = requireAddress(base_);
        options_.language = requireLanguage(language_);
        options_.display.progress = static_cast<ProgressMode>(indexIn(progressNames(), progress_));
        if (!onWrongId_.empty()) options_.answers.onWrongId = KX3_BUTTON_ABORT + indexIn(wrongIdNames(), onWrongId_);
        options_.answers.goOn = command.runs() && options_.yes;
    }

    CLI::App app_;
    CLI::App *config_ = nullptr;
    std::vector<CLI::App *> commands_; ///< beside commandTable
    Options options_;

    // Texts and numbers that are turned into options after the parse.
    std::string format_;
    std::string base_;
    std::string language_ = "en";
    std::string progress_ = "auto";
    std::string onWrongId_;
    std::optional<int> mode_;
    std::optional<std::int64_t> size_;
    int pins_ = 0;
    int figvol_ = 0;
};

} // namespace

Options parseOptions(int argc, const char *const *argv) { return Parser().parse(argc, argv); }

bool wantsJson(int argc, const char *const *argv) {
    return std::any_of(argv, argv + argc, [](const char *word) { return std::string_view(word) == "--json"; });
}

} // namespace kx3console
