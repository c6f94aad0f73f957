#include "KGRLogo.h"

#include <QImage>

#include <cstdint>

namespace {

#include "kgrqt_logo_data.inc"

// The image's pixels as native ARGB words; the QImage wraps this buffer
// without copying, so it lives as long as the process.
uint32_t logoPixels[kgrqt_logo_width * kgrqt_logo_height];

// Packs each pixel's bytes, stored most significant first, into a native
// word: on a little-endian machine this reverses their order in memory.
QImage* makeLogo()
{
    for (int i = 0; i < kgrqt_logo_width * kgrqt_logo_height; ++i) {
        const unsigned char* p = kgrqt_logo_argb + 4 * i;
        logoPixels[i] = uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
    }
    return new QImage(reinterpret_cast<uchar*>(logoPixels), kgrqt_logo_width, kgrqt_logo_height,
                      QImage::Format_ARGB32);
}

} // namespace

QImage* kgrqt_get_logo()
{
    // Made on first use and shared by every logo item; never freed.
    static QImage* logo = makeLogo();
    return logo;
}
