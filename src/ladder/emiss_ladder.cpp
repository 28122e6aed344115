#include "ladder/emiss_ladder.hpp"

#include <cmath>
#include <limits>

#include "core/rounded_math.hpp"

namespace kalviro::ladder {
namespace {

constexpr float kOpenTop = 0.0f;  // bin 23 is open above +430: no edge

// clang-format off
// As the table is printed: bins 0 to 4 for both bands, then lowerBand 5 to
// 23, then upperBand 5 to 23. Two lowerBand rows look wrong and are the
// calibration as it stands: c5 of bin 15 and c2 of bin 12.
constexpr EmissLadderRow emissLadder[] = {
    {Band::Both, 0, -40, {-29305.5363676675, 155148.241686267, -341505.963291398, 400042.96964617, -263014.381693587, 92013.0342927263, -13377.3651354199}},
    {Band::Both, 1, -35, {774.341178216026, -4040.14360578083, 8752.73249442794, -10089.5448698284, 6542.41254218628, -2274.74225675618, 335.944748014944}},
    {Band::Both, 2, -30, {344.161213819179, -1604.999731232, 3120.39748047978, -3260.03244490926, 1955.83134277158, -655.066401186203, 100.710797043988}},
    {Band::Both, 3, -25, {0.440856855178339, -54.0067739012591, 249.099215313763, -476.02977779691, 469.563964716148, -242.318414896035, 54.2500967753377}},
    {Band::Both, 4, -20, {39.44209871986, -291.76034827098, 825.492453076963, -1192.43006760496, 952.520192366127, -409.72543250689, 77.4624819521763}},
    {Band::Lower, 5, -15, {480585.871591208, -1222454.07259342, 1290682.74715304, -724495.512746556, 228366.712405187, -38450.5560981054, 2725.01404528409}},
    {Band::Lower, 6, -10, {30261.3700298472, -77791.2357274849, 85566.9703915002, -51791.9675139739, 18321.8764547456, -3641.94814775171, 328.961078645536}},
    {Band::Lower, 7, -5, {429082.962180295, -909124.61239456, 791648.694088682, -363566.213187645, 93452.9124910554, -12935.1778390633, 782.133218945891}},
    {Band::Lower, 8, 0, {596071.468249488, -1259990.22597492, 1094374.80548038, -501422.885019756, 128753.679861474, -17872.8959935913, 1094.67699424145}},
    {Band::Lower, 9, 5, {162029.2308933, -348609.308787396, 309514.870224624, -145810.661388473, 38819.8979093186, -5661.67263398233, 373.678100766967}},
    {Band::Lower, 10, 15, {147391.432539111, -311793.168917126, 271580.832667029, -125237.685359294, 32579.1654005532, -4641.66346109866, 301.043741816064}},
    {Band::Lower, 11, 30, {127932.322591718, -270508.719306847, 235656.429209918, -108781.549101048, 28366.1130195267, -4061.9388352451, 266.584799348632}},
    {Band::Lower, 12, 50, {114605.576907013, -243006.380368436, 212304.461891031, -98283.6698251131, 25702.0133233656, -2692.0655665149, 243.637110801864}},
    {Band::Lower, 13, 70, {115245.512760753, -242460.252676126, 210590.154912586, -96765.1603173668, 25112.8087899942, -3580.5110505905, 234.741691622189}},
    {Band::Lower, 14, 100, {115078.505551241, -242726.927007599, 210815.882678901, -96953.339509287, 25165.2878262418, -3583.683481057, 234.166622662474}},
    {Band::Lower, 15, 130, {112227.636287755, -237127.367686051, 202334.287158207, -95074.9739906061, 24724.1528327758, -3526.19230624293, 230.509675332737}},
    {Band::Lower, 16, 160, {114264.483141301, -240864.524043269, 209075.423432104, -96095.170309725, 24924.0502639708, -3544.66236959064, 230.908731870741}},
    {Band::Lower, 17, 190, {102457.522566563, -217800.731305844, 190901.119148149, -88738.2435815831, 23321.3029189061, -3368.07028769027, 223.28910445669}},
    {Band::Lower, 18, 230, {54593.8381007657, -122093.625669608, 113375.354258439, -56295.7856135048, 15957.1746709319, -2513.2857854545, 183.969603642036}},
    {Band::Lower, 19, 280, {22673.6194205356, -55934.1922092845, 57668.8916688972, -32002.8351477247, 10201.2296067515, -1816.19045471324, 150.709491463243}},
    {Band::Lower, 20, 330, {23869.3632189841, -57072.4223558571, 57358.4237738163, -31270.9854648525, 9888.85746875828, -1765.68414566311, 148.369662845344}},
    {Band::Lower, 21, 380, {4960.41405798739, -14352.2161568405, 17556.7512785034, -11706.6145283952, 4545.37899637782, -999.572406426194, 103.699532672516}},
    {Band::Lower, 22, 430, {48257.693321301, -126227.720834042, 137691.712122105, -80339.1326457649, 26551.412747701, -4756.05165354876, 370.653193823041}},
    {Band::Lower, 23, kOpenTop, {63.4550101651185, -339.785437037111, 757.161662940461, -904.907533604644, 619.402747542936, -236.269645041642, 41.9428953520676}},
    {Band::Upper, 5, -15, {650.274021808415, -2961.1055732837, 5613.99944166709, -5699.33586182862, 3294.74368454389, -1044.82171871718, 147.251781077615}},
    {Band::Upper, 6, -10, {267.808718917007, -1272.89741643592, 2523.13575392201, -2687.99750560206, 1642.91373894828, -558.7546584737, 86.7916853110817}},
    {Band::Upper, 7, -5, {373.045290549773, -1752.9423143704, 3432.42880301956, -3602.15240172974, 2155.69055049414, -710.02784546569, 104.955004893242}},
    {Band::Upper, 8, 0, {5564.43867363738, -24620.0338411699, 45068.0945011379, -43749.9705536772, 23809.4469422639, -6918.33895330627, 847.43561975262}},
    {Band::Upper, 9, 5, {247.844429027616, -1143.41095564399, 2210.72302096506, -2309.20703709521, 1390.4656011543, -467.821831821236, 72.4048765430524}},
    {Band::Upper, 10, 15, {137.441448342717, -655.620194316691, 1314.06032377601, -1427.77302436326, 898.770458392903, -318.716389000548, 52.8373008843541}},
    {Band::Upper, 11, 30, {99.907060049084, -513.828067981016, 1103.09695988645, -1272.12100585773, 840.202621087601, -308.485785246575, 52.2274395319379}},
    {Band::Upper, 12, 50, {-65.4221365866538, 255.502334552714, -377.678897100231, 236.57137752016, -18.049859577599, -49.801351208235, 19.8775127687737}},
    {Band::Upper, 13, 70, {52.4616795454772, -266.537640177352, 572.929828399391, -673.521995768428, 464.234096068518, -183.46268457487, 34.8964781524928}},
    {Band::Upper, 14, 100, {77.452546505181, -387.681361741947, 814.588145219931, -927.0518923841, 611.440181981714, -228.140778443175, 40.3928195935007}},
    {Band::Upper, 15, 130, {51.9428679767495, -262.100301011558, 560.343208415852, -655.827616524323, 450.311492700045, -177.361351744839, 33.6919795500673}},
    {Band::Upper, 16, 160, {42.3101027516935, -230.404309477756, 524.228072581467, -643.532853971639, 456.385681175167, -182.662679323794, 34.67614778356316}},
    {Band::Upper, 17, 190, {66.4746245150808, -334.739766423272, 709.814583376999, -817.54606070674, 547.017399278622, -207.452160365222, 37.4317539203661}},
    {Band::Upper, 18, 230, {64.0040505017383, -317.245778918898, 664.448658668266, -759.512823537532, 507.503020778793, -193.696055998081, 35.4991073494904}},
    {Band::Upper, 19, 280, {8.15130977183154, -68.0118632125105, 205.427935275157, -313.031385112076, 265.702244783592, -124.610167555537, 27.3715121756477}},
    {Band::Upper, 20, 330, {1.59064768627536, -40.418642665164, 158.455513553448, -271.999908227708, 246.671443933979, -120.362335171391, 27.0627769945508}},
    {Band::Upper, 21, 380, {17.5871263215014, -109.880619095005, 282.404786640826, -388.449257113081, 307.590113240911, -137.299178861894, 29.0466564187266}},
    {Band::Upper, 22, 430, {178.749853567996, -844.946997450695, 1665.06713643797, -1760.37642233214, 1064.34092926736, -357.142590644123, 55.3088873871851}},
    {Band::Upper, 23, kOpenTop, {28.4787709631602, -185.102971456981, 476.09991673629, -636.604667012845, 477.637640818475, -197.00339728621, 37.4939930153777}},
};
// clang-format on

constexpr int kRows = sizeof emissLadder / sizeof emissLadder[0];
static_assert(kRows == 43, "43 distinct polynomials for the 48 slots of two bands");

// Row of each (band, bin): [0] lowerBand, [1] upperBand.
struct RowIndex {
    uint8_t row[2][kBins];
};

constexpr RowIndex makeIndex() {
    RowIndex index{};
    for (int r = 0; r < kRows; ++r) {
        const EmissLadderRow& row = emissLadder[r];
        if (row.band != Band::Upper) index.row[0][row.bin] = static_cast<uint8_t>(r);
        if (row.band != Band::Lower) index.row[1][row.bin] = static_cast<uint8_t>(r);
    }
    return index;
}

constexpr RowIndex kIndex = makeIndex();

// The bins' upper edges rise: the factor of a temperature is that of the
// first bin it does not pass, and no later bin can be passed either.
constexpr bool edgesRise() {
    for (int bin = 1; bin < kEdges; ++bin) {
        if (!(emissLadder[kIndex.row[1][bin - 1]].binOffset < emissLadder[kIndex.row[1][bin]].binOffset)) {
            return false;
        }
    }
    return true;
}
static_assert(edgesRise(), "the bin edges rise");

const EmissLadderRow& rowFor(float emissivity, int bin) {
    const int band = emissivity < 0.5f ? 0 : 1;
    return emissLadder[kIndex.row[band][bin]];
}

// The bin's edge: baseTemp plus the offset in single precision, widened.
double edgeOf(int bin, float baseTemp) {
    return static_cast<double>(baseTemp + emissLadder[kIndex.row[1][bin]].binOffset);
}

// The emissivity widened and its powers d^3 to d^7, each rounded once
// (roundedPow); a plan's bins share them.
struct Powers {
    double d;
    double p[8];
};

Powers powersOf(float emissivity) {
    Powers w{};
    w.d = emissivity;
    for (int n = 3; n <= 7; ++n) w.p[n] = roundedPow(w.d, n);
    return w;
}

// Strictly from the highest degree down; the square is d * d and the first
// power d itself, the others are the rounded powers.
float polynomial(const EmissLadderRow& row, const Powers& w) {
    const double d = w.d;
    const double* c = row.c;
    double sum = c[0] * w.p[7];
    sum = sum + c[1] * w.p[6];
    sum = sum + c[2] * w.p[5];
    sum = sum + c[3] * w.p[4];
    sum = sum + c[4] * w.p[3];
    sum = sum + (d * d) * c[5];
    sum = sum + c[6] * d;
    return static_cast<float>(sum);
}

// The largest float q with (double)q / 100.0 <= edge: from a neighbour of
// edge * 100 a few steps to the boundary. -inf always qualifies when edge is
// not NaN; NaN qualifies nothing, and no float is <= NaN.
float hundredthsThreshold(double edge) {
    if (std::isnan(edge)) return std::numeric_limits<float>::quiet_NaN();
    const auto holds = [edge](float q) { return static_cast<double>(q) / 100.0 <= edge; };
    constexpr float inf = std::numeric_limits<float>::infinity();
    float t = static_cast<float>(edge * 100.0);
    while (!holds(t)) t = std::nextafter(t, -inf);
    while (t < inf && holds(std::nextafter(t, inf))) t = std::nextafter(t, inf);
    return t;
}

}  // namespace

float ladderFactor(float emissivity, double x, float baseTemp) {
    int bin = 0;
    while (bin < kEdges && !(x <= edgeOf(bin, baseTemp))) ++bin;
    return polynomial(rowFor(emissivity, bin), powersOf(emissivity));
}

float LadderPlan::factorAt(double x) const {
    int bin = 0;
    while (bin < kEdges && !(x <= edge[bin])) ++bin;
    return factor[bin];
}

LadderPlan ladderPlan(float emissivity, float baseTemp) {
    LadderPlan plan{};
    for (int bin = 0; bin < kEdges; ++bin) {
        plan.edge[bin] = edgeOf(bin, baseTemp);
        plan.qEdge[bin] = hundredthsThreshold(plan.edge[bin]);
    }
    const Powers w = powersOf(emissivity);
    for (int bin = 0; bin < kBins; ++bin) plan.factor[bin] = polynomial(rowFor(emissivity, bin), w);
    for (int i = kEdges; i < 32; ++i) plan.qEdge[i] = std::numeric_limits<float>::infinity();
    for (int i = kBins; i < 32; ++i) plan.factor[i] = plan.factor[kBins - 1];
    return plan;
}

}  // namespace kalviro::ladder
