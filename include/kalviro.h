/* kalviro: raw 16-bit thermal-camera gray values to temperatures.
 *
 * The road of a frame:
 *   1. Temperature_GetFrameInfo splits the frame buffer into image and the
 *      512-byte parameter block at its end.
 *   2. KALVIRO_Gray2Temp_Init, once per frame: reads the block, rebuilds the
 *      CalType's segment table, writes a few block fields back.
 *   3. KALVIRO_Gray2Temp_Real per pixel (or the pointer from
 *      KALVIRO_Gray2Temp_Real_GET): reads only, writes nothing.
 *
 * Each CalType keeps one process-wide set of statics. Per-pixel calls of one
 * CalType may run in parallel, never beside a per-frame call of that
 * CalType. A kalviro_camera (below), or a kalviro::Camera in C++, has a set
 * of its own.
 *
 * Beside its statics a per-frame call (_Init) leaves the per-pixel plan of
 * its block, emissivity and distance, and that plan's results for 8192
 * gray values around its own gray (about 30 us when the plan changed, for a
 * frame of per-pixel calls; under 1 us when it did not; _Once leaves the
 * plan alone). A per-pixel call whose
 * emissivity and distance have the same bits, on a block whose fields that
 * the plan reads are the same, runs on that plan; any other builds one for
 * itself. Either way the result is the same, bit for bit. The plan is part
 * of the statics for the rule above: a per-frame call that overlaps a
 * per-pixel call on the same statics is a data race, and that per-pixel
 * call's result is undefined (it may be a torn mix of two plans').
 *
 * Valid C99 and C++. */
#ifndef KALVIRO_H
#define KALVIRO_H

#include <stddef.h>
#include <stdint.h>

#include "kalviro_caltypes.h"

#if defined(KALVIRO_STATIC)
#define KALVIRO_API
#elif defined(_WIN32)
#if defined(KALVIRO_BUILDING)
#define KALVIRO_API __declspec(dllexport)
#else
#define KALVIRO_API __declspec(dllimport)
#endif
#else
#define KALVIRO_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The parameter block, as the camera writes it at the end of every frame:
 * little-endian, 512 bytes, fixed offsets. It may sit at any byte address;
 * the library reads it byte-wise and never through this struct. */
typedef struct TempFrameInfo {
    float grayCurve[12];     /* 0x000 calibration curve, gray */
    float warmDiffLow;       /* 0x030 warm-up fade limits, deg */
    float warmDiffHigh;      /* 0x034 */
    uint8_t reserved038[4];  /* 0x038 */
    float itRefTemp;         /* 0x03c */
    float itSlope;           /* 0x040 */
    float shutterQuad;       /* 0x044 gray per deg^2 */
    float shutterLin;        /* 0x048 gray per deg */
    float tempBinGain[15];   /* 0x04c body-drift gain per bin */
    float grayOffset;        /* 0x088 */
    uint8_t reserved08c[4];  /* 0x08c */
    float warmDivisor;       /* 0x090 */
    float grayCurveExt[2];   /* 0x094 */
    float driftGain;         /* 0x09c */
    uint8_t reserved0a0[4];  /* 0x0a0 */
    float curveBias;         /* 0x0a4 */
    uint8_t reserved0a8[32]; /* 0x0a8 */
    float warmGain;          /* 0x0c8 */
    float shutterCH5;        /* 0x0cc */
    int32_t tempRange;       /* 0x0d0 */
    int32_t lensType;        /* 0x0d4 */
    int32_t upTime;          /* 0x0d8 */
    int32_t tempCH1;         /* 0x0dc 1/100 deg */
    int32_t tempCH3;         /* 0x0e0 */
    int32_t tempCH2;         /* 0x0e4 */
    int32_t tempCH4;         /* 0x0e8 never read */
    int32_t tempCH5;         /* 0x0ec */
    int32_t distance;        /* 0x0f0 1/100 m */
    int32_t shutterDrift;    /* 0x0f4 written by most CalTypes */
    int32_t tempGain;        /* 0x0f8 percent */
    int32_t atmA;            /* 0x0fc written by most CalTypes */
    int32_t atmB;            /* 0x100 written by most CalTypes */
    int32_t humidity;        /* 0x104 percent */
    int32_t tempOffset;      /* 0x108 1/100 deg */
    int32_t grayBias;        /* 0x10c */
    int32_t paraA;           /* 0x110 */
    int32_t paraB;           /* 0x114 */
    int32_t grayRef;         /* 0x118 */
    float shutterCH2;        /* 0x11c */
    float shutterCH3;        /* 0x120 */
    int32_t driftScale;      /* 0x124 */
    float warmShift;         /* 0x128 written when warmHold is 0 */
    int32_t warmHold;        /* 0x12c */
    int32_t windowTrans;     /* 0x130 */
    int32_t envTemp;         /* 0x134 long layout: windowTransLong */
    int32_t bodyTemp;        /* 0x138 long layout: envTempLong */
    uint8_t reserved13c[8];  /* 0x13c */
    int32_t driftGainExt;    /* 0x144 */
    int32_t auxGate;         /* 0x148 */
    uint8_t reserved14c[60]; /* 0x14c */
    uint8_t paraBlob[81];    /* 0x188 long layout only */
    uint8_t reserved1d9[39]; /* 0x1d9 */
} TempFrameInfo;

/* Block fields handed back by KALVIRO_GetTempPara. Short form (base layout):
 * envTemp from 0x134, paraBlob zero. Long form: envTemp from 0x138 and
 * paraBlob from 0x188. */
typedef struct TempPara {
    int32_t lensType;     /* 0x00 */
    int32_t paraA;        /* 0x04 */
    int32_t paraB;        /* 0x08 */
    int32_t distance;     /* 0x0c */
    int32_t humidity;     /* 0x10 */
    int32_t envTemp;      /* 0x14 */
    uint8_t paraBlob[81]; /* 0x18 */
    uint8_t zero[323];    /* 0x69 never set */
} TempPara;

/* One row of the segment table: gray bounds, anchor and slope. */
typedef struct TempSegment {
    float grayLow;
    float grayHigh;
    float tempBase;
    float grayBase;
    float graySlope;
} TempSegment;

/* (gray, block, emissivity 0..1, distance in metres; the block's distance
 * field decides) -> degrees. */
typedef float (*Gray2TempFn)(int32_t gray, TempFrameInfo *block, float emissivity, float distance);
typedef double (*GetITFn)(TempFrameInfo *block);
typedef void (*GetTempParaFn)(TempFrameInfo *block, TempPara *para);

typedef struct CalTypeEntry {
    int32_t calType;
    Gray2TempFn init;
    Gray2TempFn real;
    Gray2TempFn once;
    GetITFn getIT;
    GetTempParaFn getTempPara;
} CalTypeEntry;

/* Splits a frame buffer of frameSize bytes. Below 512 bytes, or a size that
 * would run past the end of the address space from frame (no buffer is that
 * large; on a 32-bit host any size from 2^32): prints "BufSize error", writes
 * nothing, returns -1. Otherwise writes image, imageSize and info; for a
 * CalType not in the table prints "CalType error" and returns -1 with
 * infoSize untouched; else writes infoSize (512), 0. */
KALVIRO_API int32_t Temperature_GetFrameInfo(int32_t calType, uint8_t *frame, uint64_t frameSize,
                                             uint8_t **image, uint64_t *imageSize, uint8_t **info,
                                             uint64_t *infoSize);

/* What the conversion entries return for a block no camera would send.
 *
 * Every value that passes through whole hundredths of a degree is finite:
 * all per-frame results, and the per-pixel results of every CalType but the
 * nine of the long layout (50, 51, 52, 54, 55, 110, 111, 120, 121). Nonsense
 * there gives a wrong number, within about 21474836.48 degrees of 0 (the
 * int32 ends), never NaN or an infinity.
 *
 * The per-pixel results of those nine (KALVIRO_Gray2Temp_Real, _Once,
 * Temperature_GetTempFromGray, kalviro_convert_frame) are not rounded and
 * can be an infinity or NaN: a window transmission windowTransLong (0x134)
 * of 0 (all of them but 50), two equal neighbouring curve points (a segment
 * of slope 0), NaN or infinite floats in the block, or a NaN distance. A
 * NaN result is always the quiet NaN 0x7fc00000 (positive, no payload),
 * whichever NaN came in: every road to a result gives the same bits.
 * KALVIRO_GetIT is a double computed from the block's floats (itRefTemp,
 * itSlope, and in some CalTypes grayCurveExt or tempBinGain) and is not
 * finite when they are not, or when their products overflow.
 *
 * The distance argument (metres) changes no result: the block's distance
 * field (hundredths of a metre) is what the atmospheric correction uses.
 * Only a NaN argument is taken instead of it, and makes the correction NaN
 * wherever it is applied: the result is then NaN in the nine above and about
 * -21474836.48 in the others. */

/* Per-frame call: rebuilds the CalType's statics from the block and writes
 * shutterDrift, atmA, atmB and warmShift back as the CalType does. Returns the
 * temperature of gray in degrees; 0.0 for an unknown CalType or a null block. */
KALVIRO_API float KALVIRO_Gray2Temp_Init(int32_t calType, int32_t gray, TempFrameInfo *block,
                                         float emissivity, float distance);
/* Per-pixel call: reads the statics of the last per-frame call, writes
 * nothing. 0.0 for an unknown CalType or a null block. */
KALVIRO_API float KALVIRO_Gray2Temp_Real(int32_t calType, int32_t gray, TempFrameInfo *block,
                                         float emissivity, float distance);
/* Per-frame then per-pixel call for one spot; returns the per-pixel value. */
KALVIRO_API float KALVIRO_Gray2Temp_Once(int32_t calType, int32_t gray, TempFrameInfo *block,
                                         float emissivity, float distance);
/* KALVIRO_Gray2Temp_Once for a 16-bit gray; gray 0 returns 0.0 untouched.
 * reserved is never read. */
KALVIRO_API float Temperature_GetTempFromGray(uint16_t gray, TempFrameInfo *block, void *reserved,
                                              int32_t calType, float emissivity, float distance);
/* The CalType's GetITValue_NN; 0.0 for an unknown CalType, one without that
 * function, or a null block. */
KALVIRO_API double KALVIRO_GetIT(int32_t calType, TempFrameInfo *block);

KALVIRO_API Gray2TempFn KALVIRO_Gray2Temp_Init_GET(int32_t calType);
KALVIRO_API Gray2TempFn KALVIRO_Gray2Temp_Real_GET(int32_t calType);
KALVIRO_API GetITFn KALVIRO_GetIT_GET(int32_t calType);

/* Zeroes all 428 bytes of para and fills it, returns 1; for an unknown
 * CalType returns 0 and leaves para alone. */
KALVIRO_API int32_t KALVIRO_GetTempPara(int32_t calType, TempFrameInfo *block, TempPara *para);
/* 1 when the CalType converts (is in kalviro_table), else 0. */
KALVIRO_API int32_t KALVIRO_IsAlgSurport(int32_t calType);
/* Writes the 21-character build stamp ending in a line break, and a zero:
 * needs 22 bytes. */
KALVIRO_API void KALVIRO_GetVersion(char *text);
/* Writes "V_0.0.29" and a zero: needs 9 bytes. */
KALVIRO_API void KALVIRO_GetVersionMinute(char *text);

/* Gray value whose fn result is within 0.20 degrees of target (hundredths),
 * by fixed-slope steps and then bisection; at most 201 calls of fn, each with
 * distance 0.0. A tempWidth of 0 or a null fn returns grayMin at once. */
KALVIRO_API int32_t KALVIRO_Temp2Gray(Gray2TempFn fn, TempFrameInfo *block, int32_t tempMin, int32_t tempMax,
                                      int32_t grayMin, int32_t grayMax, int32_t target, float emissivity);

/* Whole-frame conversion. For one emissivity the per-pixel result depends on
 * the gray value alone, so the frame's smallest and largest gray value are
 * found, every gray value between them is converted once into the table
 * (several at a time, on the widest vectors the processor has), and each
 * pixel then reads its entry. The results are those of calling fn on every
 * pixel, bit for bit. The table is the caller's (about 258 KiB; no
 * initialisation needed, but zero memory that held a table before);
 * nothing is allocated. It remembers which gray
 * values it holds and for which per-pixel plan: when a frame through a
 * CalType's own function has the plan of the table's previous frame (the
 * same statics, emissivity, distance and block fields that the conversion
 * reads, as between frames of a recording whose camera temperatures have not
 * moved), only the gray values not built yet are converted. Leave the table
 * alone between frames, or zero it (memset) after writing into it. fn
 * is a per-pixel function, e.g. from KALVIRO_Gray2Temp_Real_GET, and the
 * CalType's per-frame call must have run for this block; any other function
 * is called once for each gray value from the frame's smallest to its
 * largest. Returns 0, or -1 with nothing written for a null argument or a
 * count that would carry pixels or out past the end of the address space (on
 * a 32-bit host, some count below 2^30). */
#define KALVIRO_FRAME_TABLE_KEPT 2048
typedef struct KalviroFrameTable {
    float temp[65536];
    /* The library's: the plan temp was built for, and the gray values built. */
    uint64_t kept[KALVIRO_FRAME_TABLE_KEPT / 8];
} KalviroFrameTable;

KALVIRO_API int32_t kalviro_convert_frame(Gray2TempFn fn, TempFrameInfo *block, const uint16_t *pixels,
                                          uint64_t count, float emissivity, float distance, float *out,
                                          KalviroFrameTable *table);

/* kalviro_convert_frame on up to `threads` threads: the calling thread and
 * threads - 1 workers share the search for the span, the table and the
 * lookups. The workers are started by the first call that asks for them and
 * wait for the next frame between calls; a call that finds them busy with
 * another caller's frame converts on its own thread. threads is capped at the
 * cores the process may run on; frames under 65536 pixels convert on the
 * calling thread alone, which never waits for a worker to wake. Results are
 * bit for bit those of kalviro_convert_frame; threads below 2 start nothing. */
KALVIRO_API int32_t kalviro_convert_frame_threads(Gray2TempFn fn, TempFrameInfo *block,
                                                  const uint16_t *pixels, uint64_t count, float emissivity,
                                                  float distance, float *out, KalviroFrameTable *table,
                                                  int32_t threads);

/* The cores this process may run on: the CPUs of the calling thread's
 * affinity mask, which taskset and container limits narrow (the processor
 * count where there is no mask), at least 1, read at each call. The threaded
 * calls take it as their cap at their first call, and never share a frame
 * among more than 64 threads. */
KALVIRO_API int32_t kalviro_cores(void);

/* Cameras. A camera owns its own set of CalType statics, as a kalviro::Camera
 * does in C++, so two cameras on one CalType need not take turns: the calls
 * on one camera follow the rules above for one CalType (its per-pixel calls
 * _real, _getit, _temppara, _temp2gray and _convert_frame only read and may
 * run in parallel, never beside its _init or _once), and different cameras
 * share nothing. A new camera starts from the statics of the freshly loaded
 * library, as a camera switched on.
 *
 * A camera is a plain value: it needs no teardown beyond its memory, and a
 * byte-wise copy (memcpy) into other memory of kalviro_camera_size() bytes at
 * kalviro_camera_align() is a camera of its own that carries the statics
 * along, e.g. to convert a frame on another thread while the original goes
 * on to the next frame. */
typedef struct kalviro_camera kalviro_camera;

/* A camera on the heap; NULL for a CalType not in kalviro_table or when no
 * memory is left. */
KALVIRO_API kalviro_camera *kalviro_camera_create(int32_t calType);
/* Frees a camera from kalviro_camera_create; NULL does nothing. Never for one
 * from kalviro_camera_init. */
KALVIRO_API void kalviro_camera_destroy(kalviro_camera *cam);

/* The bytes and the alignment a camera needs: at most
 * KALVIRO_CAMERA_SIZE_MAX bytes, aligned to 8, on every host, for memory set
 * aside at compile time. */
#define KALVIRO_CAMERA_SIZE_MAX 36880
KALVIRO_API size_t kalviro_camera_size(void);
KALVIRO_API size_t kalviro_camera_align(void);
/* A camera in the caller's memory, for callers without a heap: returns
 * memory as the camera, or NULL with nothing written for null memory, a size
 * below kalviro_camera_size(), an address that is no multiple of
 * kalviro_camera_align(), or a CalType not in kalviro_table. Nothing to undo:
 * the memory may be reused once the camera is no longer called. */
KALVIRO_API kalviro_camera *kalviro_camera_init(void *memory, size_t size, int32_t calType);

/* The CalType the camera was made for; 0 for NULL. */
KALVIRO_API int32_t kalviro_camera_caltype(const kalviro_camera *cam);

/* KALVIRO_Gray2Temp_Init, _Real and _Once on the camera's own statics; 0.0
 * for a null camera or block. */
KALVIRO_API float kalviro_camera_gray2temp_init(kalviro_camera *cam, int32_t gray, TempFrameInfo *block,
                                                float emissivity, float distance);
KALVIRO_API float kalviro_camera_gray2temp_real(const kalviro_camera *cam, int32_t gray,
                                                const TempFrameInfo *block, float emissivity, float distance);
KALVIRO_API float kalviro_camera_gray2temp_once(kalviro_camera *cam, int32_t gray, TempFrameInfo *block,
                                                float emissivity, float distance);
/* KALVIRO_GetIT: 0.0 for a CalType without a GetIT value or a null argument. */
KALVIRO_API double kalviro_camera_getit(const kalviro_camera *cam, const TempFrameInfo *block);
/* KALVIRO_GetTempPara: zeroes para, fills it, returns 1; 0 with para left
 * alone for a null argument. */
KALVIRO_API int32_t kalviro_camera_temppara(const kalviro_camera *cam, const TempFrameInfo *block,
                                            TempPara *para);
/* KALVIRO_Temp2Gray on the camera's per-pixel call; grayMin for a null camera
 * or block. */
KALVIRO_API int32_t kalviro_camera_temp2gray(const kalviro_camera *cam, const TempFrameInfo *block,
                                             int32_t tempMin, int32_t tempMax, int32_t grayMin,
                                             int32_t grayMax, int32_t target, float emissivity);
/* kalviro_convert_frame_threads on the camera's per-pixel call, after its
 * per-frame call for this block: bit for bit kalviro_camera_gray2temp_real on
 * every pixel. Returns 0, or -1 with nothing written for a null argument or
 * a count that would carry pixels or out past the end of the address space. */
KALVIRO_API int32_t kalviro_camera_convert_frame(const kalviro_camera *cam, const TempFrameInfo *block,
                                                 const uint16_t *pixels, uint64_t count, float emissivity,
                                                 float distance, float *out, KalviroFrameTable *table,
                                                 int32_t threads);

/* A camera's statics as KALVIRO_CAMERA_STATE_SIZE bytes, to keep a camera or
 * carry it to another process (a byte-wise copy of the camera holds
 * addresses valid in this process only). kalviro_camera_save writes them;
 * kalviro_camera_load puts them into a camera of the same CalType, which then
 * converts as the saved one would. The bytes are the statics as this library
 * lays them out in memory, which kalviro_camera_state_layout() names (a
 * revision, the host's byte order, the size in use): load only bytes saved
 * under the same text. Any bytes load without harm, but bytes saved elsewhere
 * give meaningless temperatures. Both return 0, or -1 with nothing written
 * for a null argument. */
#define KALVIRO_CAMERA_STATE_SIZE 512
KALVIRO_API const char *kalviro_camera_state_layout(void);
KALVIRO_API int32_t kalviro_camera_save(const kalviro_camera *cam, uint8_t *state);
KALVIRO_API int32_t kalviro_camera_load(kalviro_camera *cam, const uint8_t *state);

/* The vector set the whole-frame conversion runs on: "avx512" (16 lanes),
 * "avx2" (8), "sse2" (4), "neon" (4) or "scalar" (1). The widest this
 * processor runs, unless the environment variable KALVIRO_LANES, read on the
 * first frame, or kalviro_set_lanes names another it runs. Every set gives
 * the same bits. */
KALVIRO_API const char *kalviro_lanes(void);
/* Puts the named vector set in use for the frames that follow, process-wide;
 * NULL goes back to KALVIRO_LANES or the widest. Returns 0, or -1 with
 * nothing changed for a name this build or processor does not run. */
KALVIRO_API int32_t kalviro_set_lanes(const char *name);

/* The library's own exponential: base truncated to 2.718281, series to the
 * ninth power. Not interchangeable with exp. */
KALVIRO_API double myexp(double x);

/* Emissivity factor in thousandths, index 100 - percent (0 above 100 percent,
 * 99 at 0 or below). */
KALVIRO_API extern const int32_t Esp_Table[100];

/* The CalTypes in the table, ascending. */
KALVIRO_API extern const CalTypeEntry kalviro_table[];
KALVIRO_API extern const int32_t kalviro_table_size;

/* Per-CalType functions, one set per CalType of the list. */
#define KALVIRO_DECLARE_CONVERT(nn)                                                             \
    KALVIRO_API float Gray2Temp_Init_##nn(int32_t gray, TempFrameInfo *block, float emissivity, \
                                          float distance);                                      \
    KALVIRO_API float Gray2Temp_Real_##nn(int32_t gray, TempFrameInfo *block, float emissivity, \
                                          float distance);                                      \
    KALVIRO_API float Gray2Temp_Once_##nn(int32_t gray, TempFrameInfo *block, float emissivity, \
                                          float distance);
#define KALVIRO_DECLARE_GETIT(nn) KALVIRO_API double GetITValue_##nn(TempFrameInfo *block);
#define KALVIRO_DECLARE(nn, layout, hasIT, family, last)                      \
    KALVIRO_API void TempPara_get_##nn(TempFrameInfo *block, TempPara *para); \
    KALVIRO_API void GetTempPara_##nn(TempFrameInfo *block, TempPara *para);  \
    KALVIRO_IF(hasIT, KALVIRO_DECLARE_GETIT(nn))                              \
    KALVIRO_DECLARE_CONVERT(nn)
KALVIRO_CALTYPES(KALVIRO_DECLARE)
#undef KALVIRO_DECLARE

/* The stages of 12 and 60 are exported as well; they return hundredths. */
KALVIRO_API int32_t Gray2TempEx12_early_init(int32_t gray, TempFrameInfo *block, float emissivity,
                                             float distance);
KALVIRO_API int32_t Gray2TempEx12_realtime(int32_t gray, TempFrameInfo *block, float emissivity,
                                           float distance);
KALVIRO_API int32_t Gray2TempEx60_early_init(int32_t gray, TempFrameInfo *block, float emissivity,
                                             float distance);
KALVIRO_API int32_t Gray2TempEx60_realtime(int32_t gray, TempFrameInfo *block, float emissivity,
                                           float distance);

#ifdef __cplusplus
}
#endif

/* Layout checks, valid in C99 and C++: a negative array size fails. */
#define KALVIRO_LAYOUT_CHECK(name, cond) typedef char kalviro_layout_##name[(cond) ? 1 : -1]
KALVIRO_LAYOUT_CHECK(block_size, sizeof(TempFrameInfo) == 512);
KALVIRO_LAYOUT_CHECK(para_size, sizeof(TempPara) == 428);
KALVIRO_LAYOUT_CHECK(block_grayCurve, offsetof(TempFrameInfo, grayCurve) == 0x000);
KALVIRO_LAYOUT_CHECK(block_warmDiffLow, offsetof(TempFrameInfo, warmDiffLow) == 0x030);
KALVIRO_LAYOUT_CHECK(block_warmDiffHigh, offsetof(TempFrameInfo, warmDiffHigh) == 0x034);
KALVIRO_LAYOUT_CHECK(block_itRefTemp, offsetof(TempFrameInfo, itRefTemp) == 0x03c);
KALVIRO_LAYOUT_CHECK(block_itSlope, offsetof(TempFrameInfo, itSlope) == 0x040);
KALVIRO_LAYOUT_CHECK(block_shutterQuad, offsetof(TempFrameInfo, shutterQuad) == 0x044);
KALVIRO_LAYOUT_CHECK(block_shutterLin, offsetof(TempFrameInfo, shutterLin) == 0x048);
KALVIRO_LAYOUT_CHECK(block_tempBinGain, offsetof(TempFrameInfo, tempBinGain) == 0x04c);
KALVIRO_LAYOUT_CHECK(block_grayOffset, offsetof(TempFrameInfo, grayOffset) == 0x088);
KALVIRO_LAYOUT_CHECK(block_warmDivisor, offsetof(TempFrameInfo, warmDivisor) == 0x090);
KALVIRO_LAYOUT_CHECK(block_grayCurveExt, offsetof(TempFrameInfo, grayCurveExt) == 0x094);
KALVIRO_LAYOUT_CHECK(block_driftGain, offsetof(TempFrameInfo, driftGain) == 0x09c);
KALVIRO_LAYOUT_CHECK(block_curveBias, offsetof(TempFrameInfo, curveBias) == 0x0a4);
KALVIRO_LAYOUT_CHECK(block_warmGain, offsetof(TempFrameInfo, warmGain) == 0x0c8);
KALVIRO_LAYOUT_CHECK(block_shutterCH5, offsetof(TempFrameInfo, shutterCH5) == 0x0cc);
KALVIRO_LAYOUT_CHECK(block_tempRange, offsetof(TempFrameInfo, tempRange) == 0x0d0);
KALVIRO_LAYOUT_CHECK(block_lensType, offsetof(TempFrameInfo, lensType) == 0x0d4);
KALVIRO_LAYOUT_CHECK(block_upTime, offsetof(TempFrameInfo, upTime) == 0x0d8);
KALVIRO_LAYOUT_CHECK(block_tempCH1, offsetof(TempFrameInfo, tempCH1) == 0x0dc);
KALVIRO_LAYOUT_CHECK(block_tempCH3, offsetof(TempFrameInfo, tempCH3) == 0x0e0);
KALVIRO_LAYOUT_CHECK(block_tempCH2, offsetof(TempFrameInfo, tempCH2) == 0x0e4);
KALVIRO_LAYOUT_CHECK(block_tempCH4, offsetof(TempFrameInfo, tempCH4) == 0x0e8);
KALVIRO_LAYOUT_CHECK(block_tempCH5, offsetof(TempFrameInfo, tempCH5) == 0x0ec);
KALVIRO_LAYOUT_CHECK(block_distance, offsetof(TempFrameInfo, distance) == 0x0f0);
KALVIRO_LAYOUT_CHECK(block_shutterDrift, offsetof(TempFrameInfo, shutterDrift) == 0x0f4);
KALVIRO_LAYOUT_CHECK(block_tempGain, offsetof(TempFrameInfo, tempGain) == 0x0f8);
KALVIRO_LAYOUT_CHECK(block_atmA, offsetof(TempFrameInfo, atmA) == 0x0fc);
KALVIRO_LAYOUT_CHECK(block_atmB, offsetof(TempFrameInfo, atmB) == 0x100);
KALVIRO_LAYOUT_CHECK(block_humidity, offsetof(TempFrameInfo, humidity) == 0x104);
KALVIRO_LAYOUT_CHECK(block_tempOffset, offsetof(TempFrameInfo, tempOffset) == 0x108);
KALVIRO_LAYOUT_CHECK(block_grayBias, offsetof(TempFrameInfo, grayBias) == 0x10c);
KALVIRO_LAYOUT_CHECK(block_paraA, offsetof(TempFrameInfo, paraA) == 0x110);
KALVIRO_LAYOUT_CHECK(block_paraB, offsetof(TempFrameInfo, paraB) == 0x114);
KALVIRO_LAYOUT_CHECK(block_grayRef, offsetof(TempFrameInfo, grayRef) == 0x118);
KALVIRO_LAYOUT_CHECK(block_shutterCH2, offsetof(TempFrameInfo, shutterCH2) == 0x11c);
KALVIRO_LAYOUT_CHECK(block_shutterCH3, offsetof(TempFrameInfo, shutterCH3) == 0x120);
KALVIRO_LAYOUT_CHECK(block_driftScale, offsetof(TempFrameInfo, driftScale) == 0x124);
KALVIRO_LAYOUT_CHECK(block_warmShift, offsetof(TempFrameInfo, warmShift) == 0x128);
KALVIRO_LAYOUT_CHECK(block_warmHold, offsetof(TempFrameInfo, warmHold) == 0x12c);
KALVIRO_LAYOUT_CHECK(block_windowTrans, offsetof(TempFrameInfo, windowTrans) == 0x130);
KALVIRO_LAYOUT_CHECK(block_envTemp, offsetof(TempFrameInfo, envTemp) == 0x134);
KALVIRO_LAYOUT_CHECK(block_bodyTemp, offsetof(TempFrameInfo, bodyTemp) == 0x138);
KALVIRO_LAYOUT_CHECK(block_driftGainExt, offsetof(TempFrameInfo, driftGainExt) == 0x144);
KALVIRO_LAYOUT_CHECK(block_auxGate, offsetof(TempFrameInfo, auxGate) == 0x148);
KALVIRO_LAYOUT_CHECK(block_paraBlob, offsetof(TempFrameInfo, paraBlob) == 0x188);
KALVIRO_LAYOUT_CHECK(para_lensType, offsetof(TempPara, lensType) == 0x00);
KALVIRO_LAYOUT_CHECK(para_paraA, offsetof(TempPara, paraA) == 0x04);
KALVIRO_LAYOUT_CHECK(para_paraB, offsetof(TempPara, paraB) == 0x08);
KALVIRO_LAYOUT_CHECK(para_distance, offsetof(TempPara, distance) == 0x0c);
KALVIRO_LAYOUT_CHECK(para_humidity, offsetof(TempPara, humidity) == 0x10);
KALVIRO_LAYOUT_CHECK(para_envTemp, offsetof(TempPara, envTemp) == 0x14);
KALVIRO_LAYOUT_CHECK(para_paraBlob, offsetof(TempPara, paraBlob) == 0x18);
KALVIRO_LAYOUT_CHECK(para_zero, offsetof(TempPara, zero) == 0x69);
#undef KALVIRO_LAYOUT_CHECK

#endif
