/* The stamp in the first 32 bytes of every simulated image, with which a consumer tells a lost,
   repeated, torn or stale image from a sound one. Plain C, in this header alone; for machines
   that store the low byte first. An image of less than 32 bytes carries none. */
#ifndef OPTIVO_IMAGE_H
#define OPTIVO_IMAGE_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

#define OPTIVO_STAMP_MAGIC 0x4749564EU /* "NVIG" */
#define OPTIVO_STAMP_SIZE 32U

/* As it stands in the image. */
typedef struct {
    uint32_t magic;
    uint32_t imageSize;   /* bytes, the low 32 bits */
    uint64_t number;      /* of the image since the stream's start, lost ones counted; from 0 */
    uint64_t nanoseconds; /* when the image was made, by the camera's clock */
    uint64_t checksum;    /* OptivoImage_Checksum of all this and the pixels */
} OptivoImageStamp;

/* A hash of the bytes behind the stamp. */
static inline uint64_t OptivoImage_PixelHash(const void* image, size_t size) {
    const uint64_t prime = 0x9E3779B97F4A7C15U;
    uint64_t lanes[4] = {1, 2, 3, 4};
    const unsigned char* bytes = (const unsigned char*)image + OPTIVO_STAMP_SIZE;
    size_t left = size - OPTIVO_STAMP_SIZE;
    int lane = 0;
    for (; left >= sizeof lanes; left -= sizeof lanes, bytes += sizeof lanes) {
        uint64_t words[4];
        memcpy(words, bytes, sizeof words);
        for (lane = 0; lane < 4; ++lane) {
            lanes[lane] = (lanes[lane] ^ words[lane]) * prime;
            lanes[lane] ^= lanes[lane] >> 32;
        }
    }
    for (; left > 0; --left) {
        lanes[0] = (lanes[0] ^ *bytes++) * prime;
    }
    for (lane = 1; lane < 4; ++lane) {
        lanes[0] = (lanes[0] ^ lanes[lane]) * prime;
        lanes[0] ^= lanes[0] >> 29;
    }
    return lanes[0];
}

static inline uint64_t OptivoImage_Checksum(const OptivoImageStamp* stamp, uint64_t pixelHash) {
    const uint64_t prime = 0x9E3779B97F4A7C15U;
    uint64_t sum = pixelHash;
    sum = (sum ^ stamp->magic ^ ((uint64_t)stamp->imageSize << 32)) * prime;
    sum ^= sum >> 31;
    sum = (sum ^ stamp->number) * prime;
    sum ^= sum >> 31;
    sum = (sum ^ stamp->nanoseconds) * prime;
    return sum ^ (sum >> 31);
}

/* Reads the stamp of an image of size bytes. Answers 1 when the image is whole, and 0 when it
   carries no stamp, has another size or is torn; what the stamp says is written all the same. */
static inline int OptivoImage_Read(const void* image, size_t size, OptivoImageStamp* stamp) {
    memset(stamp, 0, sizeof *stamp);
    if (size < OPTIVO_STAMP_SIZE) {
        return 0;
    }
    memcpy(stamp, image, sizeof *stamp);
    return stamp->magic == OPTIVO_STAMP_MAGIC && stamp->imageSize == (uint32_t)size &&
           stamp->checksum == OptivoImage_Checksum(stamp, OptivoImage_PixelHash(image, size));
}

#ifdef __cplusplus
}
#endif

#endif /* OPTIVO_IMAGE_H */
