// The built `kalviro` command run as a user runs it: through the shell or
// started for signals to reach it, in a fresh directory per test, its exit
// status and both output streams captured; TIFF outputs read back with
// libtiff.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace kalviro::cli_test {

namespace fs = std::filesystem;

struct Result {
    int code = -1;
    std::string out, err;
};

inline std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class Cli : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string(info->test_suite_name()) + "." + info->name();
        for (char& c : name) c = (c == '/') ? '_' : c;
        dir_ = fs::path(KALVIRO_CLI_WORK) / name;
        fs::remove_all(dir_);
        fs::create_directories(dir_);
    }

    // Runs `kalviro ARGS` in the test's directory through the shell, after
    // the shell command `before` (e.g. "ulimit -f 64;").
    Result run(const std::string& args, const std::string& before = "") const {
        const std::string cmd = "cd '" + dir_.string() + "' && " + before + " '" KALVIRO_CLI "' " + args +
                                " >stdout.txt 2>stderr.txt";
        return collect(std::system(cmd.c_str()));
    }

    // Starts `kalviro ARGS` in the test's directory with standard input from
    // the file or FIFO `input`, for signals to reach it; finish() waits.
    pid_t start(const std::vector<std::string>& args, const std::string& input) const {
        const pid_t pid = ::fork();
        if (pid != 0) return pid;
        std::vector<char*> argv{const_cast<char*>(KALVIRO_CLI)};
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        const int in = ::open((dir_ / input).c_str(), O_RDONLY);
        const int out = ::open((dir_ / "stdout.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = ::open((dir_ / "stderr.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (in < 0 || out < 0 || err < 0 || ::chdir(dir_.c_str()) != 0 || ::dup2(in, 0) < 0 ||
            ::dup2(out, 1) < 0 || ::dup2(err, 2) < 0) {
            ::_exit(127);
        }
        ::execv(KALVIRO_CLI, argv.data());
        ::_exit(127);
    }

    Result finish(pid_t pid) const {
        int status = 0;
        ::waitpid(pid, &status, 0);
        return collect(status);
    }

    // Waits, up to 30 s, for a file whose name starts with `prefix`.
    bool appears(const std::string& prefix) const {
        for (int i = 0; i < 3000; ++i) {
            for (const auto& e : fs::directory_iterator(dir_)) {
                if (e.path().filename().string().rfind(prefix, 0) == 0) return true;
            }
            ::usleep(10000);
        }
        return false;
    }

    Result ok(const std::string& args) const {
        Result r = run(args);
        EXPECT_EQ(r.code, 0) << "kalviro " << args << "\n" << r.err;
        return r;
    }

    fs::path path(const std::string& name) const { return dir_ / name; }

    // Every file of the directory with its size: what a failed run must not
    // change.
    std::map<std::string, uintmax_t> listing() const {
        std::map<std::string, uintmax_t> files;
        for (const auto& e : fs::directory_iterator(dir_)) {
            files[e.path().filename().string()] = e.is_regular_file() ? e.file_size() : 0;
        }
        return files;
    }

    fs::path dir_;

private:
    // The exit code, or 128 + the signal that ended it.
    Result collect(int status) const {
        Result r;
        r.code = WIFEXITED(status) ? WEXITSTATUS(status) : WIFSIGNALED(status) ? 128 + WTERMSIG(status) : -1;
        r.out = slurp(dir_ / "stdout.txt");
        r.err = slurp(dir_ / "stderr.txt");
        fs::remove(dir_ / "stdout.txt");
        fs::remove(dir_ / "stderr.txt");
        return r;
    }
};

struct TiffPage {
    std::vector<float> pixels;
    uint32_t width = 0, height = 0;
    uint16_t bits = 0, format = 0;
    std::string description;
};

inline std::vector<TiffPage> readTiff(const fs::path& p) {
    std::vector<TiffPage> pages;
    TIFF* t = TIFFOpen(p.c_str(), "r");
    if (t == nullptr) return pages;
    do {
        TiffPage page;
        char* desc = nullptr;
        TIFFGetField(t, TIFFTAG_IMAGEWIDTH, &page.width);
        TIFFGetField(t, TIFFTAG_IMAGELENGTH, &page.height);
        TIFFGetField(t, TIFFTAG_BITSPERSAMPLE, &page.bits);
        TIFFGetField(t, TIFFTAG_SAMPLEFORMAT, &page.format);
        if (TIFFGetField(t, TIFFTAG_IMAGEDESCRIPTION, &desc)) page.description = desc;
        page.pixels.resize(static_cast<size_t>(page.width) * page.height);
        for (uint32_t y = 0; y < page.height && page.bits == 32; ++y) {
            TIFFReadScanline(t, &page.pixels[static_cast<size_t>(y) * page.width], y);
        }
        pages.push_back(std::move(page));
    } while (TIFFReadDirectory(t));
    TIFFClose(t);
    return pages;
}

}  // namespace kalviro::cli_test
