#include "outputs/table_output.hpp"

#include <sys/types.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cmath>
#include <cstring>

#include "analysis/stats.hpp"
#include "frames/block_fields.hpp"
#include "frames/failure.hpp"
#include "frames/le_bytes.hpp"

namespace kalviro::cli {

namespace {

const char* const kHeader =
    "input,frame,upTime,name,kind,min,max,mean,std,hottestX,hottestY,hottest,coldestX,coldestY,coldest,"
    "valid,invalid,value\n";

// A field as CSV wants it: quoted when it holds a separator, a quote or a
// line break, quotes doubled.
std::string field(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos && (text.empty() || text.front() != ' ')) {
        return text;
    }
    std::string out = "\"";
    for (char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    return out + "\"";
}

// A JSON value as the report prints it; null (no valid temperature) as an
// empty field, which pandas and R read as missing.
std::string number(const nlohmann::ordered_json& j) { return j.is_null() ? "" : j.dump(); }

class TableOutput : public Output {
public:
    TableOutput(TableFile& table, std::unique_ptr<TableFile> owned, const RunInfo& run)
        : table_(table), owned_(std::move(owned)), run_(run) {}

    bool perFrame() const override { return false; }

    void frame(const FrameResult& r) override {
        for (const Measured& m : measurements(run_, r)) table_.add(run_.source, r, m);
    }

    void finish() override {
        if (owned_) owned_->close();
    }

private:
    TableFile& table_;
    std::unique_ptr<TableFile> owned_;
    const RunInfo& run_;
};

}  // namespace

std::vector<Measured> measurements(const RunInfo& run, const FrameResult& r) {
    std::vector<Measured> things;
    things.push_back(Measured{"frame", "frame", &r.whole, std::nullopt});
    for (size_t i = 0; i < r.regions.size() && i < run.regions.size(); ++i) {
        things.push_back(Measured{run.regions[i].name, "roi", &r.regions[i], std::nullopt});
    }
    std::vector<std::string> spotNames;
    for (size_t i = 0; i < run.shapes.size() && i < r.shapeStats.size(); ++i) {
        const Area& s = run.shapes[i];
        if (s.kind == AreaKind::Spot) spotNames.push_back(s.name);
        if (s.kind == AreaKind::Ellipse || s.kind == AreaKind::Polygon || s.kind == AreaKind::Line)
            things.push_back(Measured{s.name, areaKindName(s.kind), &r.shapeStats[i], std::nullopt});
    }
    for (size_t i = 0; i < r.spots.size(); ++i) {
        things.push_back(Measured{i < spotNames.size() ? spotNames[i] : "spot" + std::to_string(i + 1),
                                  "spot", nullptr, r.spots[i]});
    }
    return things;
}

TableFile::TableFile(std::string target, PendingFiles& files) : target_(std::move(target)) {
    const std::string temp = files.create(target_);
    file_ = std::fopen(temp.c_str(), "wb");
    if (file_ == nullptr) fail();
    write(kHeader);
    mark();
}

TableFile::~TableFile() {
    if (file_ != nullptr) std::fclose(file_);
}

void TableFile::fail() const { throw Failure("cannot write " + target_ + ": " + std::strerror(errno)); }

void TableFile::write(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), file_) != text.size()) fail();
}

void TableFile::add(const std::string& input, const FrameResult& r, const Measured& m) {
    std::string row = field(input) + "," + std::to_string(r.index) + "," +
                      std::to_string(loadI32(blockBytes(r.settings) + offsetof(TempFrameInfo, upTime))) +
                      "," + field(m.name) + "," + field(m.kind) + ",";
    if (m.stats != nullptr) {
        const nlohmann::ordered_json s = statsJson(*m.stats);
        const bool any = m.stats->count != 0;
        for (const char* key : {"min", "max", "mean", "std"}) row += number(s[key]) + ",";
        for (const char* key : {"hottest", "coldest"}) {
            if (any) {
                row += s[key]["x"].dump() + "," + s[key]["y"].dump() + "," + number(s[key]["t"]) + ",";
            } else {
                row += ",,,";
            }
        }
        row += std::to_string(m.stats->count) + "," + std::to_string(m.stats->invalid) + ",";
    } else {
        const bool valid = m.value && validTemp(*m.value);
        row += ",,,,,,,,,,";
        row += valid ? "1,0," : "0,1,";
        if (valid) row += nlohmann::ordered_json(hundredths(*m.value)).dump();
    }
    write(row + "\n");
}

void TableFile::mark() {
    if (std::fflush(file_) != 0) fail();
    mark_ = ::ftello(file_);
}

void TableFile::rollback() {
    if (file_ == nullptr) return;
    // A failed input leaves no row behind.
    if (std::fflush(file_) != 0 || ::ftruncate(::fileno(file_), static_cast<off_t>(mark_)) != 0 ||
        ::fseeko(file_, static_cast<off_t>(mark_), SEEK_SET) != 0) {
        fail();
    }
}

void TableFile::close() {
    std::FILE* f = file_;
    file_ = nullptr;
    if (std::fclose(f) != 0) fail();
}

std::unique_ptr<Output> makeTableOutput(TableFile& table, const RunInfo& run) {
    return std::make_unique<TableOutput>(table, nullptr, run);
}

std::unique_ptr<Output> makeTableOutput(std::unique_ptr<TableFile> table, const RunInfo& run) {
    TableFile& t = *table;
    return std::make_unique<TableOutput>(t, std::move(table), run);
}

}  // namespace kalviro::cli
