// Test helpers that draw widgets off screen and read their pixels.
#ifndef KGRQT_TEST_RENDER_H
#define KGRQT_TEST_RENDER_H

#include "kgrqt.h"

#include <QImage>
#include <QWidget>

// Paints the widget and its children into an image, as the screen would.
inline QImage renderWidget(QWidget& widget)
{
    return widget.grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

// Counts the pixels of one colour inside a rectangle.
inline int countPixels(const QImage& image, QRgb color, QRect rect = QRect())
{
    if (rect.isNull())
        rect = image.rect();
    int n = 0;
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x)
            n += image.valid(x, y) && image.pixel(x, y) == color;
    return n;
}

// The drawing tests' common plot: a 440 x 340 white viewport with margins
// of 20, so the frame is 400 x 300 with its lower-left corner at widget
// (20, 320), and the world 0..10 both ways. The configure result.
inline int setUpTenByTenPlot(KGRViewport& vp)
{
    vp.resize(440, 340);
    return vp.configure("fill", "white", "fill_frame", "white", "margin", "20 20 20 20", "xleft",
                        "0", "xright", "10", "ybottom", "0", "ytop", "10",
                        static_cast<const char*>(nullptr));
}

#endif
