// The built `kalviro` command run as a user runs it: through the shell, in
// a fresh directory per test, its exit status and both output streams
// captured.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

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

    // Runs `kalviro ARGS` in the test's directory through the shell.
    Result run(const std::string& args) const {
        const std::string cmd =
            "cd '" + dir_.string() + "' && '" KALVIRO_CLI "' " + args + " >stdout.txt 2>stderr.txt";
        const int status = std::system(cmd.c_str());
        Result r;
        r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        r.out = slurp(dir_ / "stdout.txt");
        r.err = slurp(dir_ / "stderr.txt");
        fs::remove(dir_ / "stdout.txt");
        fs::remove(dir_ / "stderr.txt");
        return r;
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
};

}  // namespace kalviro::cli_test
