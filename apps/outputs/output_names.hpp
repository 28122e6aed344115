// Placeholders in output names: {stem}, the input's name without its
// directory and extension (a batch writes 'out/{stem}.json' once per
// input), and {frame}, the frame number of per-frame files ('frames/{frame}.png'
// in place of the default name_0042.png).
#pragma once

#include <string>

namespace kalviro::cli {

// "out/a.TIFF" -> "tiff"; "" when the name has none.
std::string extensionOf(const std::string& target);
// "recordings/a.raw" -> "a"; standard input is "stdin".
std::string stemOf(const std::string& input);
bool hasPlaceholder(const std::string& target, const char* name);  // name: "stem" or "frame"
std::string replacePlaceholder(const std::string& target, const char* name, const std::string& value);
// Failure for any {...} other than {stem} and {frame}, or an unclosed brace.
void checkPlaceholders(const std::string& target);

}  // namespace kalviro::cli
