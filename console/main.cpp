// mpu6: a host of the plug-in for the command line.

#include "config/commands.h"
#include "device_run.h"
#include "display.h"
#include "failure.h"
#include "options.h"
#include "profile.h"
#include "report.h"

#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <unistd.h>

namespace kx3console {

namespace {

/// Failures show when everything is flushed.
void print(const std::string &text) { static_cast<void>(std::fwrite(text.data(), 1, text.size(), stdout)); }

/// There is nowhere to tell that standard error cannot be written.
void complain(const std::string &text) { static_cast<void>(std::fputs((text + "\n").c_str(), stderr)); }

/// Standard output may be a full disk.
Exit flushed(Exit code) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return code;
    complain("mpu6: standard output cannot be written");
    return code == Exit::done ? Exit::failed : code;
}

ProfileStore loadProfiles(const Options &options) {
    ProfileStore store;
    store.add(sampleProfiles(), "built-in profiles");
    for (const auto &path : options.profiles)
        store.addFile(path);
    return store;
}

Exit listDevices(const Options &options) {
    const ProfileStore store = loadProfiles(options);
    print(options.json ? devicesJson(store.all()) : devicesText(store.all()));
    return Exit::done;
}

Exit runOperation(const Options &options) {
    const ProfileStore store = loadProfiles(options);
    Display display(stderr, {options.progress, options.quiet, options.verbose, ::isatty(STDERR_FILENO) != 0});
    const OperationReport report = runOnDevice(options, store.find(options.device), display);
    if (report.outcome.code != Exit::done) display.error(errorText(report.outcome.message, report.outcome.advice));
    if (options.json)
        print(resultJson(*options.command, report));
    else if (report.outcome.code == Exit::done && !options.quiet)
        print(resultText(*options.command, report));
    return report.outcome.code;
}

Exit failed(const Failure &failure, bool json) {
    if (json) print(failureJson(failure));
    complain(errorText(failure.message(), failure.advice()));
    return failure.code();
}

Exit run(int argc, const char *const *argv) {
    const bool json = wantsJson(argc, argv);
    try {
        const Options options = parseOptions(argc, argv);
        if (options.config) return config::run(*options.config);
        return options.command->runs ? runOperation(options) : listDevices(options);
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
