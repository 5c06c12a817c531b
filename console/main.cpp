// mpu6: a host of the plug-in for the command line. It drives the simulated programmer.

#include "block_reference.h"
#include "command_line.h"
#include "config.h"
#include "device_run.h"
#include "display.h"
#include "failure.h"
#include "profile.h"
#include "report.h"

#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <unistd.h>

namespace kx3console {

namespace {

/// There is nowhere to tell that standard error cannot be written.
void complain(const std::string &text) { static_cast<void>(std::fputs((text + "\n").c_str(), stderr)); }

/// Standard output may be a full disk.
Exit flushed(Exit code) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return code;
    complain("mpu6: standard output cannot be written");
    return code == Exit::done ? Exit::failed : code;
}

Exit listDevices(const Options &options) {
    const ProfileStore store = loadProfiles(options.profiles);
    print(options.json ? devicesJson(store.all()) : devicesText(store.all()));
    return Exit::done;
}

Exit runOperations(const Options &options) {
    const ProfileStore store = loadProfiles(options.profiles);
    Display::Settings settings = options.display;
    settings.terminal = ::isatty(STDERR_FILENO) != 0;
    Display display(stderr, settings);
    const RunReport report = runOnDevice(options, store.find(options.device), display);
    if (report.failure) display.error(errorText(*report.failure));
    if (options.json)
        print(resultJson(*options.command, report));
    else if (!report.failure && !settings.quiet)
        print(resultText(*options.command, report));
    return report.failure ? report.failure->code() : Exit::done;
}

Exit failed(const Failure &failure, bool json) {
    if (json) print(failureJson(failure));
    complain(errorText(failure));
    return failure.code();
}

Exit run(int argc, const char *const *argv) {
    const bool json = wantsJson(argc, argv);
    try {
        const Options options = parseOptions(argc, argv);
        switch (options.command->verb) {
        case Verb::devices: return listDevices(options);
        case Verb::run: return runOperations(options);
        case Verb::notes: return runNotes(options);
        case Verb::blocks: return runBlocks(options);
        default: return runConfig(options);
        }
    } catch (const HelpShown &help) {
        print(help.text);
        return Exit::done;
    } catch (const Failure &failure) {
        return failed(failure, json);
    } catch (const std::bad_alloc &) {
        return failed(Failure(Exit::failed, "out of memory"), json);
    } catch (const std::exception &error) {
        return failed(Failure(Exit::failed, error.what()), json);
    }
}

} // namespace

} // namespace kx3console

int main(int argc, char **argv) { return static_cast<int>(kx3console::flushed(kx3console::run(argc, argv))); }
