// kalviro convert over several inputs: files, directories (their .raw
// files and gray-value archives) and globs, each converted on its own with
// the outputs named after it ('out/{stem}.json'). An input that fails is
// reported in one line and the others go on; a summary line ends the batch
// and the exit status says whether any input failed. --skip-existing
// passes over inputs whose outputs all exist, so an interrupted batch
// resumes where it stopped.
#include <glob.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>

#include "commands/commands.hpp"
#include "frames/failure.hpp"
#include "outputs/counts_archive.hpp"
#include "outputs/output_names.hpp"
#include "outputs/table_output.hpp"

namespace kalviro::cli {

namespace {

namespace fs = std::filesystem;

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
    return s;
}

// A directory's inputs: its .raw files and the archives among its TIFFs
// (temperature TIFFs written beside them are outputs, not inputs).
bool isDirectoryInput(const fs::path& p) {
    const std::string ext = lower(p.extension().string());
    if (ext == ".raw") return true;
    if (ext != ".tif" && ext != ".tiff") return false;
    try {
        CountsArchiveReader probe(p.string());
        return true;
    } catch (const Failure&) {
        return false;
    }
}

struct Input {
    std::string path;
    std::string problem;  // set: the argument named no input
};

bool isDirectory(const std::string& path) {
    struct stat st {};
    return path != "-" && ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// A directory's inputs, in name order.
void addDirectory(const std::string& dir, std::vector<Input>& inputs) {
    std::vector<std::string> found;
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        std::error_code fileEc;
        if (it->is_regular_file(fileEc) && it->path().filename().string()[0] != '.' &&
            isDirectoryInput(it->path())) {
            found.push_back(it->path().string());
        }
    }
    if (ec) {
        inputs.push_back(Input{dir, "cannot read the directory: " + ec.message()});
        return;
    }
    if (found.empty()) inputs.push_back(Input{dir, "the directory holds no .raw file or archive"});
    std::sort(found.begin(), found.end());
    for (std::string& f : found) inputs.push_back(Input{std::move(f), ""});
}

// The inputs in the order given, a glob's in name order; a directory,
// named or matched, gives its inputs as the shell's expansion would.
std::vector<Input> expand(const std::vector<std::string>& args) {
    std::vector<Input> inputs;
    for (const std::string& a : args) {
        struct stat st {};
        if (isDirectory(a)) {
            addDirectory(a, inputs);
        } else if (a != "-" && ::stat(a.c_str(), &st) != 0 && a.find_first_of("*?[") != std::string::npos) {
            glob_t g{};
            if (::glob(a.c_str(), 0, nullptr, &g) == 0) {
                for (size_t i = 0; i < g.gl_pathc; ++i) {
                    if (isDirectory(g.gl_pathv[i])) {
                        addDirectory(g.gl_pathv[i], inputs);
                    } else {
                        inputs.push_back(Input{g.gl_pathv[i], ""});
                    }
                }
            } else {
                inputs.push_back(Input{a, "no file matches it"});
            }
            ::globfree(&g);
        } else {
            inputs.push_back(Input{a, ""});
        }
    }
    return inputs;
}

}  // namespace

void runConvert(const ConvertOptions& o) {
    if (o.demo || o.inputs.empty()) {
        convertFile(o, nullptr);
        return;
    }
    for (const std::string& t : o.outputs) checkPlaceholders(t);
    if (o.table) {
        checkPlaceholders(*o.table);
        if (hasPlaceholder(*o.table, "frame"))
            throw Failure("bad table name '" + *o.table +
                          "': the table holds every frame, {frame} cannot name it");
    }
    const std::vector<Input> inputs = expand(o.inputs);
    if (inputs.size() > 1) {
        for (const std::string& t : o.outputs) {
            if (!hasPlaceholder(t, "stem")) {
                throw Failure("-o " + t + " would be written by each of " + std::to_string(inputs.size()) +
                              " inputs: put {stem} in its name, e.g. 'out/{stem}.json'");
            }
        }
    }
    if (inputs.size() == 1) {
        // One input, as the command has always converted it.
        const Input& in = inputs.front();
        if (!in.problem.empty()) throw Failure(in.path + ": " + in.problem);
        ConvertOptions one = o;
        one.file = in.path;
        for (std::string& t : one.outputs) t = replacePlaceholder(t, "stem", stemOf(one.file));
        if (one.table) one.table = replacePlaceholder(*one.table, "stem", stemOf(one.file));
        convertFile(one, nullptr);
        return;
    }
    // A table without {stem} takes the rows of the whole batch.
    std::optional<PendingFiles> tableFiles;
    std::unique_ptr<TableFile> shared;
    if (o.table && !hasPlaceholder(*o.table, "stem")) {
        tableFiles.emplace(o.force);
        tableFiles->check(*o.table);
        shared = std::make_unique<TableFile>(*o.table, *tableFiles);
    }

    size_t converted = 0, skipped = 0;
    std::vector<std::string> failed;
    std::set<std::string> claimed;  // outputs named by earlier inputs
    if (shared) claimed.insert(shared->target());
    for (const Input& in : inputs) {
        ConvertOptions one = o;
        one.file = in.path;
        one.inputs.clear();
        const std::string stem = stemOf(in.path);
        for (std::string& t : one.outputs) t = replacePlaceholder(t, "stem", stem);
        if (one.table)
            one.table = shared ? std::nullopt : std::optional(replacePlaceholder(*one.table, "stem", stem));
        if (shared) shared->mark();
        try {
            if (!in.problem.empty()) throw Failure(in.problem);
            std::vector<std::string> names = one.outputs;
            if (one.table) names.push_back(*one.table);
            for (const std::string& n : names) {
                if (claimed.count(n) != 0) throw Failure(n + " is also the output of an earlier input");
            }
            claimed.insert(names.begin(), names.end());
            if (convertFile(one, shared.get())) {
                ++converted;
            } else {
                ++skipped;
                if (!o.quiet) std::printf("%s: skipped, its outputs exist\n", in.path.c_str());
            }
        } catch (const std::exception& e) {
            if (shared) shared->rollback();
            std::fflush(stdout);
            // One line naming the input, once.
            const std::string what = e.what();
            const bool named = what.rfind(in.path, 0) == 0;
            std::fprintf(stderr, "kalviro: %s%s\n", named ? "" : (in.path + ": ").c_str(), what.c_str());
            failed.push_back(in.path);
        }
    }
    std::vector<std::string> written;
    if (shared && converted != 0) {
        shared->close();
        written = tableFiles->commit();
    }
    char line[200];
    std::snprintf(line, sizeof line, "batch of %zu inputs: %zu converted, %zu skipped, %zu failed",
                  inputs.size(), converted, skipped, failed.size());
    std::string summary = line;
    if (!written.empty()) summary += "; wrote " + written.front();
    if (!failed.empty()) throw Failure(summary);
    if (!o.quiet) std::printf("%s\n", summary.c_str());
}

}  // namespace kalviro::cli
