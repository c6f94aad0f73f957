#include "KGRLayer.h"
#include "KGRViewport.h"

#include <QBitmap>
#include <QGridLayout>
#include <QPainter>
#include <QPixmap>

#include <cstdio>

// A layer has no options.
HX_ConfigureSpec KGRLayer::configSpecs[] = {
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

namespace {

const char* nameOf(const void* object)
{
    const char* name = HX_GetName(object, nullptr);
    return name ? name : "(null)";
}

} // namespace

KGRLayer::KGRLayer(KGRViewport* vp)
{
    kgrqt_construct([&] { init(vp); }, "KGRLayer::KGRLayer: init() error.");
}

KGRLayer::~KGRLayer()
{
    delete layer.pixmap;
    free(class_name);
}

void KGRLayer::init(KGRViewport* vp)
{
    kgrqt_init_item(
        this, vp, &layer, "KGRLayer", "KGRLayer::init: setParent() error.",
        [vp](KgrlayerItem& l) {
            l.vp = vp;
            l.viewport = vp ? &vp->viewport : nullptr;
        },
        [this, vp] {
            // Straight into the grid, not through registerItem: same place,
            // one cell covering the viewport.
            if (vp && vp->layout)
                vp->layout->addWidget(this, 0, 0, 1, 1);
            raise();
        });
}

void KGRLayer::setSize(int w, int h)
{
    // The pixmap has the screen's pixels, so a high-density screen gets a
    // sharp picture; items paint on it in the viewport's own units.
    const qreal ratio = devicePixelRatioF();
    const int pw = qRound(w * ratio), ph = qRound(h * ratio);
    if (layer.pixmap && layer.pixmap->width() == pw && layer.pixmap->height() == ph &&
        layer.pixmap->devicePixelRatio() == ratio)
        return;
    if (debug)
        printf("Clearing layer %s.\n", nameOf(this));
    delete layer.pixmap;
    layer.pixmap = nullptr;
    try {
        layer.pixmap = new QPixmap(pw, ph);
        layer.pixmap->setDevicePixelRatio(ratio);
        layer.pixmap->fill(Qt::transparent);
    } catch (const char*) {
        delete layer.pixmap;
        layer.pixmap = nullptr;
        throw "KGRLayer::KGRLayer: new QPixmap() error.";
    }
    setStale();
}

void KGRLayer::setStale()
{
    layer.stale = 1;
    if (layer.pixmap)
        layer.pixmap->fill(Qt::transparent);
}

void KGRLayer::maskColorTransparent()
{
    layer.mask_color = nullptr;
}

void KGRLayer::maskColorTransparent(QColor* color)
{
    layer.mask_color = color;
}

void KGRLayer::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (debug)
        printf("Painting layer %s.\n", nameOf(this));
    draw(painter);
    layer.stale = 0;
}

void KGRLayer::draw(QPainter& painter)
{
    if (!layer.viewport || !layer.pixmap)
        return;
    if (layer.stale && layer.mask_color) {
        if (debug)
            printf("Masking layer %s.\n", nameOf(this));
        layer.pixmap->setMask(
            layer.pixmap->createMaskFromColor(*layer.mask_color, Qt::MaskInColor));
    }
    painter.drawPixmap(0, 0, *layer.pixmap);
}
