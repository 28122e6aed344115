/* The viewer tests' reference: every frame of a raw file through the C
 * entries, the per-frame call on the centre pixel in frame order, then the
 * per-pixel call on each pixel. Writes the float32 bits, little-endian, row
 * by row, frame after frame, to standard output.
 *
 *   per_pixel FILE WIDTH HEIGHT CALTYPE EMISSIVITY */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kalviro.h"

int main(int argc, char **argv) {
    if (argc != 6) {
        fprintf(stderr, "usage: per_pixel FILE WIDTH HEIGHT CALTYPE EMISSIVITY\n");
        return 2;
    }
    FILE *in = fopen(argv[1], "rb");
    const size_t w = (size_t)atoi(argv[2]), h = (size_t)atoi(argv[3]);
    const int32_t calType = atoi(argv[4]);
    const float emissivity = strtof(argv[5], NULL);
    if (in == NULL || w == 0 || h == 0) {
        fprintf(stderr, "per_pixel: cannot read %s\n", argv[1]);
        return 1;
    }
    const size_t pixels = w * h;
    uint8_t *frame = malloc(pixels * 2 + 512);
    uint8_t *out = malloc(pixels * 4);
    TempFrameInfo block;
    while (frame != NULL && out != NULL && fread(frame, 1, pixels * 2 + 512, in) == pixels * 2 + 512) {
        memcpy(&block, frame + pixels * 2, sizeof block);
        const size_t centre = (h / 2) * w + w / 2;
        KALVIRO_Gray2Temp_Init(calType, frame[2 * centre] | frame[2 * centre + 1] << 8, &block, emissivity,
                               0.0f);
        for (size_t i = 0; i < pixels; ++i) {
            const float t = KALVIRO_Gray2Temp_Real(calType, frame[2 * i] | frame[2 * i + 1] << 8, &block,
                                                   emissivity, 0.0f);
            uint32_t bits;
            memcpy(&bits, &t, 4);
            for (int k = 0; k < 4; ++k) out[4 * i + k] = (uint8_t)(bits >> (8 * k));
        }
        fwrite(out, 1, pixels * 4, stdout);
    }
    free(frame);
    free(out);
    fclose(in);
    return 0;
}
