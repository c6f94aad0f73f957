// The painting step that every item takes: into its layer's off-screen
// pixmap when it has one, otherwise onto its own widget.
#include "KGRLayer.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <QPainter>
#include <QPixmap>

#include <cstdio>

const char* kgrqt_name_of(const void* object)
{
    const char* name = HX_GetName(object, nullptr);
    return name ? name : "(null)";
}

bool kgrqt_begin_item_paint(QWidget* item, KGRLayer* layer, KgrviewportItem* viewport, int debug,
                            const char* kind, QPainter& painter)
{
    if (!layer) {
        if (debug)
            printf("Painting %s %s.\n", kind, kgrqt_name_of(item));
        return painter.begin(item);
    }
    if (!viewport)
        return false;
    // A layer is repainted only when stale, at the viewport's size.
    layer->setSize(viewport->w, viewport->h);
    if (!layer->layer.stale || !layer->layer.pixmap || layer->layer.pixmap->isNull())
        return false;
    if (debug)
        printf("Painting %s %s to layer %s.\n", kind, kgrqt_name_of(item), kgrqt_name_of(layer));
    return painter.begin(layer->layer.pixmap);
}
