// The long table (--table NAME.csv): one row per frame and measured thing,
// in the long form pandas, R and spreadsheets read as they are. Columns:
// input, frame, upTime, name, kind, the statistics of an area (min, max,
// mean, std, hottest and coldest with their places, valid and invalid
// pixels) or the value at a point. Numbers are those of the JSON report,
// digit for digit. One table may take the rows of a whole batch.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "outputs/outputs.hpp"

namespace kalviro::cli {

// One thing measured on a frame: an area with its statistics, or a point
// with its value. `kind` names the shape ("frame", "roi", "spot", ...).
struct Measured {
    std::string name;
    std::string kind;
    const Stats* stats = nullptr;  // areas
    std::optional<float> value;    // points
};

// What a frame's table rows hold, in order: the whole frame (named
// "frame"), then each rectangle, then each ellipse, polygon and line in the
// order given, then each spot (spot1, spot2, ... unless named).
std::vector<Measured> measurements(const RunInfo& run, const FrameResult& r);

class TableFile {
public:
    // A temporary file for `target` from `files`, with the header written.
    TableFile(std::string target, PendingFiles& files);
    ~TableFile();
    TableFile(const TableFile&) = delete;
    TableFile& operator=(const TableFile&) = delete;

    void add(const std::string& input, const FrameResult& r, const Measured& m);
    // The rows of one input of a batch: kept, or taken back when it fails.
    void mark();
    void rollback();
    void close();
    const std::string& target() const { return target_; }

private:
    [[noreturn]] void fail() const;
    void write(const std::string& text);

    std::string target_;
    std::FILE* file_ = nullptr;
    long long mark_ = 0;
};

// Rows of every frame of a run into `table`; an owned table is closed with
// the run, a shared one stays open for the batch's next input.
std::unique_ptr<Output> makeTableOutput(TableFile& table, const RunInfo& run);
std::unique_ptr<Output> makeTableOutput(std::unique_ptr<TableFile> table, const RunInfo& run);

}  // namespace kalviro::cli
