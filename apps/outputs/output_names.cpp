#include "outputs/output_names.hpp"

#include "frames/failure.hpp"

namespace kalviro::cli {

std::string stemOf(const std::string& input) {
    if (input == "-") return "stdin";
    const size_t slash = input.rfind('/');
    std::string base = slash == std::string::npos ? input : input.substr(slash + 1);
    const size_t dot = base.rfind('.');
    if (dot != std::string::npos && dot > 0) base.erase(dot);
    return base;
}

bool hasPlaceholder(const std::string& target, const char* name) {
    return target.find("{" + std::string(name) + "}") != std::string::npos;
}

std::string replacePlaceholder(const std::string& target, const char* name, const std::string& value) {
    const std::string key = "{" + std::string(name) + "}";
    std::string out = target;
    for (size_t at = out.find(key); at != std::string::npos; at = out.find(key, at + value.size())) {
        out.replace(at, key.size(), value);
    }
    return out;
}

void checkPlaceholders(const std::string& target) {
    for (size_t open = target.find('{'); open != std::string::npos; open = target.find('{', open + 1)) {
        const size_t close = target.find('}', open);
        const std::string key = close == std::string::npos ? "" : target.substr(open + 1, close - open - 1);
        if (key != "stem" && key != "frame") {
            throw Failure("bad output name '" + target + "': the placeholders are {stem} and {frame}");
        }
    }
}

}  // namespace kalviro::cli
