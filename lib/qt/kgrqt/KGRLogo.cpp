#include "KGRLogo.h"
#include "KGRLayer.h"
#include "KGRViewport.h"

#include <QImage>
#include <QPainter>

#include <cstddef>
#include <cstdio>

HX_ConfigureSpec KGRLogo::configSpecs[] = {
    {"double", "opacity", "1.0", offsetof(KgrlogoItem, opacity), 0, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

namespace {

// Distance of the image's lower-right corner from the viewport's.
const int logoInset = 10;

const char* nameOf(const void* object)
{
    const char* name = HX_GetName(object, nullptr);
    return name ? name : "(null)";
}

} // namespace

KGRLogo::KGRLogo(KGRViewport* viewport)
{
    try {
        init(viewport);
    } catch (const char*) {
        hx_clear_register(1);
        throw "KGRLogo::KGRLogo: init() error.";
    }
}

// The image is shared by all logos and outlives them.
KGRLogo::~KGRLogo()
{
    free(class_name);
}

void KGRLogo::init(KGRViewport* viewport)
{
    kgrqt_init_item(
        this, viewport, &logo, "KGRLogo", "KGRLogo::init: setParent() error.",
        [viewport](KgrlogoItem& l) {
            l.parent = viewport;
            l.vp = viewport;
            l.viewport = viewport ? &viewport->viewport : nullptr;
            l.logo_image = kgrqt_get_logo();
        },
        [this, viewport] {
            if (viewport)
                viewport->registerItem(this);
        });
}

void KGRLogo::setLayer(KGRLayer* layer)
{
    logo.layer = layer;
}

void KGRLogo::paintEvent(QPaintEvent*)
{
    if (!logo.viewport)
        return;
    if (logo.layer) {
        logo.layer->setSize(logo.viewport->w, logo.viewport->h);
        if (!logo.layer->layer.stale || !logo.layer->layer.pixmap)
            return;
        if (debug)
            printf("Painting logo %s to layer %s.\n", nameOf(this), nameOf(logo.layer));
        QPainter painter(logo.layer->layer.pixmap);
        draw(painter);
        return;
    }
    if (debug)
        printf("Painting logo %s.\n", nameOf(this));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter);
}

void KGRLogo::draw(QPainter& painter)
{
    if (!logo.viewport || !logo.logo_image)
        return;
    const Kgrheader& box = logo.viewport->header;
    int width = box.x2 - box.x1 + 1;
    int height = box.y2 - box.y1 + 1;
    int x = box.x1 + width - logo.logo_image->width() - logoInset;
    int y = box.y1 + height - logo.logo_image->height() - logoInset;
    // An opaque logo leaves the painter's opacity as the caller set it.
    if (logo.opacity != 1.0)
        painter.setOpacity(logo.opacity);
    painter.drawImage(x, y, *logo.logo_image);
}
