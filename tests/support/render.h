// Test helpers that draw widgets off screen and read their pixels.
#ifndef KGRQT_TEST_RENDER_H
#define KGRQT_TEST_RENDER_H

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

#endif
