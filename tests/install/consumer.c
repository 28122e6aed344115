/* The road of a frame in plain C99, against the installed library: split a
 * frame buffer, one per-frame call, then every pixel through the per-pixel
 * pointer; then two camera handles on one CalType and one in static memory.
 * Exits 0 only when every number is the one the baseline block gives. */
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <kalviro.h>

#include "sample_block.h"

#define WIDTH 640
#define HEIGHT 2
#define FRAME_SIZE (WIDTH * HEIGHT * 2 + 512)
#define GRAY 1000

static int failures = 0;

static void check(int ok, const char *what) {
    if (!ok) {
        fprintf(stderr, "FAIL: %s\n", what);
        ++failures;
    }
}

/* Two cameras on CalType 21, each with its own statics: the right one's
 * per-frame call on a block 2 degrees warmer inside leaves the left one's
 * frame as it was. */
static void check_cameras(const uint8_t *image, size_t count) {
    static uint64_t memory[KALVIRO_CAMERA_SIZE_MAX / 8];
    kalviro_camera *left = kalviro_camera_create(21);
    kalviro_camera *right = kalviro_camera_create(21);
    kalviro_camera *spot = kalviro_camera_init(memory, sizeof memory, 21);
    KalviroFrameTable *table = (KalviroFrameTable *)malloc(sizeof *table);
    uint16_t *pixels = (uint16_t *)malloc(count * sizeof *pixels);
    float *out = (float *)malloc(count * sizeof *out);
    TempFrameInfo leftBlock, rightBlock, spotBlock;
    float t;
    size_t i;
    int wrong = 0;

    check(kalviro_camera_create(53) == NULL, "no camera for an unknown CalType");
    check(left != NULL && right != NULL && spot != NULL, "two cameras on the heap, one in static memory");
    if (left != NULL && right != NULL && spot != NULL && table != NULL && pixels != NULL && out != NULL) {
        fill_worked_block((uint8_t *)&leftBlock);
        fill_worked_block((uint8_t *)&rightBlock);
        fill_worked_block((uint8_t *)&spotBlock);
        put_i32((uint8_t *)&rightBlock, offsetof(TempFrameInfo, tempCH1), 2700);
        check(kalviro_camera_gray2temp_init(left, GRAY, &leftBlock, 0.95f, 0.0f) == 53.92f,
              "left per-frame call gives 53.92");
        check(kalviro_camera_gray2temp_init(right, GRAY, &rightBlock, 0.95f, 0.0f) == 54.02f,
              "right per-frame call gives 54.02");

        for (i = 0; i < count; ++i) pixels[i] = (uint16_t)(image[2 * i] | image[2 * i + 1] << 8);
        check(kalviro_camera_convert_frame(left, &leftBlock, pixels, count, 0.95f, 0.0f, out, table, 2) == 0,
              "left converts its frame");
        for (i = 0; i < count; ++i) {
            if (out[i] != 53.88f) ++wrong;
        }
        check(wrong == 0, "left frame is 53.88 on every pixel");
        check(kalviro_camera_gray2temp_real(right, GRAY, &rightBlock, 0.95f, 0.0f) == 54.05f,
              "right per-pixel call gives 54.05");
        /* The search stops within 0.20 degrees of the target. */
        t = kalviro_camera_gray2temp_real(
            left, kalviro_camera_temp2gray(left, &leftBlock, 2000, 8000, 0, 16383, 5388, 0.95f), &leftBlock,
            0.95f, 0.0f);
        check(t > 53.67f && t < 54.09f, "left inverse search lands within 0.20 degrees of 53.88");
        check(kalviro_camera_gray2temp_once(spot, GRAY, &spotBlock, 0.95f, 0.0f) == 53.88f,
              "camera in static memory gives 53.88");
    }
    kalviro_camera_destroy(left);
    kalviro_camera_destroy(right);
    free(table);
    free(pixels);
    free(out);
}

int main(void) {
    uint8_t *frame = (uint8_t *)malloc(FRAME_SIZE);
    uint8_t *image = NULL;
    uint8_t *info = NULL;
    uint64_t imageSize = 0;
    uint64_t infoSize = 0;
    TempFrameInfo *block;
    Gray2TempFn real;
    char version[22];
    char minute[9];
    size_t i;
    int wrong = 0;
    float perFrame;

    if (frame == NULL) return 2;
    for (i = 0; i < (size_t)WIDTH * HEIGHT; ++i) {
        frame[2 * i] = (uint8_t)(GRAY & 0xff);
        frame[2 * i + 1] = (uint8_t)(GRAY >> 8);
    }
    fill_worked_block(frame + FRAME_SIZE - 512);

    check(Temperature_GetFrameInfo(21, frame, FRAME_SIZE, &image, &imageSize, &info, &infoSize) == 0,
          "Temperature_GetFrameInfo accepts the frame");
    check(image == frame, "image starts the frame");
    check(imageSize == FRAME_SIZE - 512, "imageSize is the frame less the block");
    check(info == frame + FRAME_SIZE - 512, "the block is the last 512 bytes");
    check(infoSize == 512, "infoSize is 512");
    if (info == NULL) return 1;
    block = (TempFrameInfo *)(void *)info;

    check(KALVIRO_IsAlgSurport(21) == 1, "CalType 21 converts");
    check(KALVIRO_IsAlgSurport(53) == 0, "there is no CalType 53");

    perFrame = KALVIRO_Gray2Temp_Init(21, GRAY, block, 0.95f, 0.0f);
    printf("per-frame %.2f\n", (double)perFrame);
    check(perFrame == 53.92f, "per-frame call gives 53.92");
    check(get_i32(info, offsetof(TempFrameInfo, shutterDrift)) == 2, "per-frame call writes shutterDrift 2");
    check(get_i32(info, offsetof(TempFrameInfo, atmA)) == 4, "per-frame call writes atmA 4");
    check(get_i32(info, offsetof(TempFrameInfo, atmB)) == 167, "per-frame call writes atmB 167");

    real = KALVIRO_Gray2Temp_Real_GET(21);
    check(real != NULL, "KALVIRO_Gray2Temp_Real_GET(21) gives a function");
    if (real == NULL) return 1;
    for (i = 0; i < imageSize / 2; ++i) {
        int32_t gray = (int32_t)(image[2 * i] | image[2 * i + 1] << 8);
        if (real(gray, block, 0.95f, 0.0f) != 53.88f) ++wrong;
    }
    printf("per-pixel %.2f, %d of %d pixels off\n", (double)real(GRAY, block, 0.95f, 0.0f), wrong,
           WIDTH * HEIGHT);
    check(wrong == 0, "every pixel gives 53.88");
    check(KALVIRO_Gray2Temp_Real(21, GRAY, block, 0.95f, 0.0f) == 53.88f, "KALVIRO_Gray2Temp_Real agrees");
    check(KALVIRO_Gray2Temp_Real_GET(53) == NULL, "no pointer for an unknown CalType");

    KALVIRO_GetVersion(version);
    KALVIRO_GetVersionMinute(minute);
    printf("version %s %s", minute, version);
    check(strcmp(minute, "V_0.0.29") == 0, "version minute is V_0.0.29");
    check(strcmp(version, "Sep  1 2019 20:07:03\n") == 0, "build stamp");

    check_cameras(image, (size_t)(imageSize / 2));

    free(frame);
    if (failures != 0) {
        fprintf(stderr, "%d checks failed\n", failures);
        return 1;
    }
    puts("consumer ok");
    return 0;
}
