// Replays the reference vectors bit for bit. Each sequence starts from
// freshly loaded statics: a new Camera, a new C handle, or a forked child for
// the C entries whose statics of the CalType are set back to those of a fresh
// load.
#include <gtest/gtest.h>
#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "api/module.hpp"
#include "bits.hpp"
#include "kalviro.h"
#include "kalviro.hpp"

namespace {

struct Sequence {
    std::string file;
    int calType = 0;
    int index = 0;
    std::vector<std::pair<int, std::string>> lines;  // line number, text
};

std::vector<Sequence> loadSequences() {
    std::vector<Sequence> all;
    for (const char* name : {"direct_a.txt", "direct_b.txt", "ladder_a.txt", "ladder_b.txt"}) {
        std::ifstream in(std::string(KALVIRO_VECTOR_DIR) + "/" + name);
        std::string line;
        int number = 0;
        while (std::getline(in, line)) {
            ++number;
            if (line.empty() || line[0] == '#') continue;
            if (line.rfind("SEQ ", 0) == 0) {
                Sequence s;
                s.file = name;
                std::istringstream(line.substr(4)) >> s.calType >> s.index;
                all.push_back(s);
            } else if (!all.empty()) {
                all.back().lines.emplace_back(number, line);
            }
        }
    }
    return all;
}

using kalviro::test::asFloat;
using kalviro::test::bitsOf;
using kalviro::test::hex32;
using kalviro::test::hex64;
using kalviro::test::hexBytes;

// The conversion under test: a Camera, a C handle, or the process-wide C
// entries.
using Convert = std::function<float(int32_t, TempFrameInfo*, float, float)>;
struct Target {
    Convert init, once, real;
    std::function<double(TempFrameInfo*)> getIT;
    std::function<int32_t(TempFrameInfo*, TempPara*)> para;
    std::function<int32_t(TempFrameInfo*, int32_t, int32_t, int32_t, int32_t, int32_t, float)> temp2gray;
    // The whole-frame call on the target's per-pixel call.
    std::function<void(const uint16_t*, uint64_t, TempFrameInfo*, float, float, float*, KalviroFrameTable*)>
        frame;
};

Target cameraTarget(kalviro::Camera& cam) {
    return {[&](int32_t g, TempFrameInfo* b, float e, float d) { return cam.init(g, b, e, d); },
            [&](int32_t g, TempFrameInfo* b, float e, float d) { return cam.once(g, b, e, d); },
            [&](int32_t g, TempFrameInfo* b, float e, float d) { return cam.real(g, b, e, d); },
            [&](TempFrameInfo* b) { return cam.getIT(b); },
            [&](TempFrameInfo* b, TempPara* p) { return cam.getTempPara(b, p); },
            [&](TempFrameInfo* b, int32_t t0, int32_t t1, int32_t g0, int32_t g1, int32_t to, float e) {
                return cam.temp2gray(b, t0, t1, g0, g1, to, e);
            },
            [&](const uint16_t* px, uint64_t n, TempFrameInfo* b, float e, float d, float* out,
                KalviroFrameTable* table) { cam.realFrame(px, n, b, e, d, out, *table); }};
}

// A path of plain functions, each taking the same first argument (a handle, a
// CalType); the inverse search is the path's own.
template <typename Key, typename Init, typename Once, typename Real, typename GetIT, typename Para>
Target boundTarget(Key key, Init init, Once once, Real real, GetIT getIT, Para para) {
    using namespace std::placeholders;
    return {std::bind(init, key, _1, _2, _3, _4),
            std::bind(once, key, _1, _2, _3, _4),
            std::bind(real, key, _1, _2, _3, _4),
            std::bind(getIT, key, _1),
            std::bind(para, key, _1, _2),
            nullptr,
            nullptr};
}

Target handleTarget(kalviro_camera* cam) {
    using namespace std::placeholders;
    Target t = boundTarget(cam, kalviro_camera_gray2temp_init, kalviro_camera_gray2temp_once,
                           kalviro_camera_gray2temp_real, kalviro_camera_getit, kalviro_camera_temppara);
    t.temp2gray = std::bind(kalviro_camera_temp2gray, cam, _1, _2, _3, _4, _5, _6, _7);
    t.frame = std::bind(kalviro_camera_convert_frame, cam, _3, _1, _2, _4, _5, _6, _7, 1);
    return t;
}

Target cTarget(int32_t calType) {
    using namespace std::placeholders;
    Target t = boundTarget(calType, KALVIRO_Gray2Temp_Init, KALVIRO_Gray2Temp_Once, KALVIRO_Gray2Temp_Real,
                           KALVIRO_GetIT, KALVIRO_GetTempPara);
    t.temp2gray =
        std::bind(KALVIRO_Temp2Gray, KALVIRO_Gray2Temp_Real_GET(calType), _1, _2, _3, _4, _5, _6, _7);
    t.frame =
        std::bind(kalviro_convert_frame, KALVIRO_Gray2Temp_Real_GET(calType), _3, _1, _2, _4, _5, _6, _7);
    return t;
}

// Runs one sequence; returns the mismatches, one line each.
std::vector<std::string> replay(const Sequence& seq, const Target& t) {
    std::vector<std::string> bad;
    // One spare byte in front: the block sits at an odd address, as at the end
    // of a frame whose size is not a multiple of 4.
    std::vector<uint8_t> buffer(513);
    uint8_t* raw = buffer.data() + 1;
    auto* block = reinterpret_cast<TempFrameInfo*>(raw);
    std::vector<uint8_t> beforeFrame;
    // Each per-pixel result comes again from a small frame on a table kept
    // through the sequence: its gray value and one towards the last one's, so
    // that frames of one plan share entries and those of another rebuild.
    auto table = std::make_unique<KalviroFrameTable>();
    int32_t lastGray = 0;
    auto fail = [&](int line, const std::string& what) {
        bad.push_back(seq.file + ":" + std::to_string(line) + ": " + what);
    };

    for (const auto& [number, text] : seq.lines) {
        std::istringstream in(text);
        std::string kind;
        in >> kind;
        if (kind == "FRAME") {
            std::string hex;
            in >> hex;
            const auto bytes = hexBytes(hex);
            std::memcpy(raw, bytes.data(), 512);
        } else if (kind == "INIT" || kind == "ONCE" || kind == "REAL") {
            int32_t gray;
            std::string e, d, r;
            in >> gray >> e >> d >> r;
            if (kind != "REAL") beforeFrame.assign(raw, raw + 512);
            const float em = asFloat(hex32(e));
            const float di = asFloat(hex32(d));
            const float got = kind == "INIT"   ? t.init(gray, block, em, di)
                              : kind == "ONCE" ? t.once(gray, block, em, di)
                                               : t.real(gray, block, em, di);
            if (bitsOf(got) != hex32(r)) {
                char msg[160];
                std::snprintf(msg, sizeof msg, "%s %d: got %08x (%.9g), want %s (%.9g)", kind.c_str(), gray,
                              bitsOf(got), static_cast<double>(got), r.c_str(),
                              static_cast<double>(asFloat(hex32(r))));
                fail(number, msg);
            }
            if (kind == "REAL" && t.frame && gray >= 0 && gray <= 65535) {
                const uint16_t px[2] = {
                    static_cast<uint16_t>(gray),
                    static_cast<uint16_t>(std::clamp(lastGray, gray - 1024, gray + 1024))};
                float out[2] = {};
                t.frame(px, 2, block, em, di, out, table.get());
                if (bitsOf(out[0]) != hex32(r)) fail(number, "REAL " + std::to_string(gray) + " as a frame");
                if (bitsOf(out[1]) != bitsOf(t.real(px[1], block, em, di)))
                    fail(number, "REAL " + std::to_string(px[1]) + " as a frame");
                lastGray = gray;
            }
        } else if (kind == "WRITES") {
            std::vector<uint8_t> expect = beforeFrame;
            std::string word;
            while (in >> word) {
                const uint32_t off = hex32(word.substr(0, word.find(':')));
                const uint32_t v = hex32(word.substr(word.find(':') + 1));
                for (int i = 0; i < 4; ++i) expect[off + i] = static_cast<uint8_t>(v >> (8 * i));
            }
            for (int off = 0; off < 512; off += 4) {
                if (std::memcmp(expect.data() + off, raw + off, 4) != 0) {
                    uint32_t got, want;
                    std::memcpy(&got, raw + off, 4);
                    std::memcpy(&want, expect.data() + off, 4);
                    char msg[96];
                    std::snprintf(msg, sizeof msg, "WRITES at 0x%03x: got %08x, want %08x", off, got, want);
                    fail(number, msg);
                }
            }
        } else if (kind == "GETIT") {
            std::string v;
            in >> v;
            const double got = t.getIT(block);
            if (bitsOf(got) != hex64(v)) {
                char msg[128];
                std::snprintf(msg, sizeof msg, "GETIT: got %016llx (%.17g), want %s",
                              static_cast<unsigned long long>(bitsOf(got)), got, v.c_str());
                fail(number, msg);
            }
        } else if (kind == "PARA") {
            std::string hex;
            in >> hex;
            std::vector<uint8_t> want = hexBytes(hex);
            want.resize(sizeof(TempPara), 0);
            TempPara para;
            std::memset(&para, 0xa5, sizeof para);
            t.para(block, &para);
            if (std::memcmp(&para, want.data(), sizeof para) != 0) fail(number, "PARA differs");
        } else if (kind == "T2G") {
            int32_t t0, t1, g0, g1, target, want;
            std::string e;
            in >> t0 >> t1 >> g0 >> g1 >> target >> e >> want;
            const float em = asFloat(hex32(e));
            const int32_t got = t.temp2gray(block, t0, t1, g0, g1, target, em);
            if (got != want)
                fail(number, "T2G: got " + std::to_string(got) + ", want " + std::to_string(want));
        }
    }
    return bad;
}

const std::vector<Sequence>& sequences() {
    static const std::vector<Sequence> all = loadSequences();
    return all;
}

std::vector<int> sequenceIndices(bool firstOfEachCalType) {
    std::vector<int> idx;
    for (size_t i = 0; i < sequences().size(); ++i) {
        if (!firstOfEachCalType || sequences()[i].index == 0) idx.push_back(static_cast<int>(i));
    }
    return idx;
}

std::string sequenceName(const ::testing::TestParamInfo<int>& p) {
    const Sequence& s = sequences()[static_cast<size_t>(p.param)];
    return "CalType" + std::to_string(s.calType) + "_Seq" + std::to_string(s.index);
}

std::string report(const std::vector<std::string>& bad) {
    std::string out;
    for (size_t i = 0; i < bad.size() && i < 12; ++i) out += bad[i] + "\n";
    if (bad.size() > 12) out += "... " + std::to_string(bad.size() - 12) + " more\n";
    return out;
}

class ReferenceVectors : public ::testing::TestWithParam<int> {};

TEST_P(ReferenceVectors, ReplayOnOwnCamera) {
    const Sequence& seq = sequences()[static_cast<size_t>(GetParam())];
    kalviro::Camera cam(seq.calType);
    ASSERT_TRUE(cam.valid()) << "CalType " << seq.calType << " does not convert";
    const auto bad = replay(seq, cameraTarget(cam));
    EXPECT_TRUE(bad.empty()) << report(bad);
}

TEST_P(ReferenceVectors, ReplayOnOwnHandle) {
    const Sequence& seq = sequences()[static_cast<size_t>(GetParam())];
    std::unique_ptr<kalviro_camera, void (*)(kalviro_camera*)> cam(kalviro_camera_create(seq.calType),
                                                                   kalviro_camera_destroy);
    ASSERT_NE(cam, nullptr) << "CalType " << seq.calType << " does not convert";
    const auto bad = replay(seq, handleTarget(cam.get()));
    EXPECT_TRUE(bad.empty()) << report(bad);
}

// The C entries keep one set of statics per process: replay in a child, on
// the first sequence of each CalType.
class ReferenceVectorsC : public ::testing::TestWithParam<int> {};

TEST_P(ReferenceVectorsC, ReplayThroughCEntries) {
    const Sequence& seq = sequences()[static_cast<size_t>(GetParam())];
    ASSERT_EQ(KALVIRO_IsAlgSurport(seq.calType), 1);
    // Earlier tests of this process may have latched the statics.
    const auto fresh = [&seq] { kalviro::resetProcessState(kalviro::listIndex(seq.calType)); };
#if defined(_WIN32)
    // No fork: the statics are set back in this process.
    fresh();
    const auto bad = replay(seq, cTarget(seq.calType));
    EXPECT_TRUE(bad.empty()) << report(bad);
#else
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        fresh();
        _exit(replay(seq, cTarget(seq.calType)).empty() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
#endif
}

INSTANTIATE_TEST_SUITE_P(All, ReferenceVectors, ::testing::ValuesIn(sequenceIndices(false)), sequenceName);
INSTANTIATE_TEST_SUITE_P(First, ReferenceVectorsC, ::testing::ValuesIn(sequenceIndices(true)), sequenceName);

}  // namespace
