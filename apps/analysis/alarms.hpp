// --alarm EXPR: a statistic of the frame or of a named region or spot, a
// comparison and a threshold, checked on every frame. Where one holds, one
// JSON line on standard output (flushed at once, for a live stream), and
// the run ends with exit status 3.
//
//   alarm     = [name "."] statistic op number   (the frame when no name)
//             | spot op number                   (a spot's temperature)
//   statistic = "min" | "max" | "mean" | "std"
//   op        = ">" | ">=" | "<" | "<="
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "analysis/frame_result.hpp"

namespace kalviro::cli {

enum class AlarmOp : unsigned char { Greater, GreaterEqual, Less, LessEqual };

struct Alarm {
    std::string text;
    std::string name;       // "frame", a region's or a spot's
    std::string statistic;  // min, max, mean, std; "temperature" for a spot
    AlarmOp op = AlarmOp::Greater;
    double threshold = 0.0;
    int shape = -1;  // index into RunInfo::shapes; -1 for the frame
};

// The expression alone; names are resolved against a run's regions and
// spots by resolveAlarm. Failure, one line, on anything else.
Alarm parseAlarm(const std::string& text);
void resolveAlarm(Alarm& alarm, const std::vector<Area>& shapes);

class AlarmOutput : public Output {
public:
    AlarmOutput(const RunInfo& run, std::vector<Alarm> alarms) : run_(run), alarms_(std::move(alarms)) {}
    bool perFrame() const override { return false; }
    void frame(const FrameResult& r) override;

private:
    const RunInfo& run_;
    std::vector<Alarm> alarms_;
};

// Whether an alarm held on some frame of some input of this run of the
// command: its exit status is then 3.
bool alarmHeld();

}  // namespace kalviro::cli
