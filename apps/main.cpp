// kalviro: inspect, convert, export and render thermal-camera frames and
// sequences. Each subcommand registers its own options in its own file
// (commands/cmd_*.cpp, view/); here they are listed, one runs, and its
// failure becomes one line on standard error and the exit status.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>

#include "analysis/alarms.hpp"
#include "commands/subcommand.hpp"
#include "convert/signals.hpp"
#include "frames/failure.hpp"

int main(int argc, char** argv) {
    using namespace kalviro::cli;
    handleSignals();
    CLI::App app{"kalviro: thermal-camera frames to temperatures: inspect, convert, export, render",
                 "kalviro"};
    app.require_subcommand(1);
    app.set_version_flag("--version", "kalviro " KALVIRO_VERSION_TEXT);
    // In the order --help lists them.
    const Subcommand subcommands[] = {addListCommand(app),  addInfoCommand(app),      addConvertCommand(app),
                                      addSynthCommand(app), addTemp2GrayCommand(app), addViewCommand(app)};

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == 0) return app.exit(e);
        // CLI11 says only that a subcommand is required: name the word taken for one.
        if (app.get_subcommands().empty() && argc > 1 && argv[1][0] != '-') {
            std::string names;
            for (const CLI::App* sub : app.get_subcommands({}))
                names += (names.empty() ? "" : ", ") + sub->get_name();
            std::fprintf(stderr, "kalviro: unknown command '%s'; the commands are %s\n", argv[1],
                         names.c_str());
            return 2;
        }
        std::fprintf(stderr, "kalviro: %s\n", e.what());
        return 2;
    }
    bool endsOnSignal = false;
    try {
        for (const Subcommand& s : subcommands) {
            if (!s.cmd->parsed()) continue;
            endsOnSignal = s.endsOnSignal;
            s.run();
        }
    } catch (const Failure& e) {
        std::fprintf(stderr, "kalviro: %s\n", e.what());
        return stopSignal() != 0 ? 128 + stopSignal() : 1;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "kalviro: out of memory\n");
        return 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kalviro: %s\n", e.what());
        return 1;
    }
    // A recording stopped by a signal was kept; the exit says what stopped it,
    // unless the signal is the subcommand's usual end. An alarm that held is
    // news to a script, though nothing failed.
    if (stopSignal() != 0 && !endsOnSignal) return 128 + stopSignal();
    return alarmHeld() ? 3 : 0;
}
