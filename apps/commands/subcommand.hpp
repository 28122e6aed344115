// A subcommand of `kalviro`: its file registers its own options and says how
// to run it once the command line is parsed (main.cpp lists them).
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace kalviro::cli {

struct Subcommand {
    CLI::App* cmd = nullptr;
    std::function<void()> run;  // throws Failure on bad input
    // A stop signal is its usual end (Ctrl-C), not news for the exit status.
    bool endsOnSignal = false;
};

Subcommand addListCommand(CLI::App& app);
Subcommand addInfoCommand(CLI::App& app);
Subcommand addConvertCommand(CLI::App& app);
Subcommand addSynthCommand(CLI::App& app);
Subcommand addTemp2GrayCommand(CLI::App& app);
Subcommand addViewCommand(CLI::App& app);

// Options several subcommands share: FILE, --caltype and --size of a raw
// frame file, and the size alone.
void addFileOptions(CLI::App* cmd, std::string& file, int32_t& calType, std::optional<std::string>& size);
CLI::Option* addSizeOption(CLI::App* cmd, std::optional<std::string>& size);
// A frame number: CLI11 would wrap a negative one into a huge unsigned one.
CLI::Validator frameNumber();

}  // namespace kalviro::cli
