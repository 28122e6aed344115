// The options and checks of arguments that several commands share.
#include "commands/commands.hpp"
#include "commands/subcommand.hpp"
#include "frames/failure.hpp"

namespace kalviro::cli {

void addFileOptions(CLI::App* cmd, std::string& file, int32_t& calType, std::optional<std::string>& size) {
    cmd->add_option("FILE", file,
                    "raw frame file: WxH little-endian uint16 pixels then the 512-byte block, "
                    "one frame or a sequence; - reads standard input")
        ->required();
    cmd->add_option("--caltype", calType, "the camera's CalType")->required();
    addSizeOption(cmd, size);
}

CLI::Option* addSizeOption(CLI::App* cmd, std::optional<std::string>& size) {
    return cmd->add_option("--size", size,
                           "frame size WxH; inferred from the file size for common sensor sizes");
}

CLI::Validator frameNumber() {
    return CLI::Validator(
        [](std::string& text) {
            return text.find('-') == std::string::npos ? std::string() : "frames count from 0, not " + text;
        },
        "", "frame number");
}

std::optional<FrameSize> optionalSize(const std::optional<std::string>& text) {
    if (!text) return std::nullopt;
    return parseSize(*text);
}

}  // namespace kalviro::cli
