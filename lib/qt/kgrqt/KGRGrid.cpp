#include "KGRGrid.h"
#include "KGRLayer.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <QPainter>

#include <cstddef>

#define GR_FIELD(f) offsetof(KgrgridItem, f)

HX_ConfigureSpec KGRGrid::configSpecs[] = {
    {"color", "fill", "darkgray", GR_FIELD(foreground), 0, nullptr},
    {"color", "fill_small", "lightgray", GR_FIELD(foreground_small), 0, nullptr},
    {"int", "visible_xsmall", "1", GR_FIELD(xsml_visible), 0, nullptr},
    {"int", "visible_x", "1", GR_FIELD(xbig_visible), 0, nullptr},
    {"int", "visible_ysmall", "1", GR_FIELD(ysml_visible), 0, nullptr},
    {"int", "visible_y", "1", GR_FIELD(ybig_visible), 0, nullptr},
    {"int", "linewidth", "1", GR_FIELD(width), 0, nullptr},
    {"int", "linewidth_small", "1", GR_FIELD(width_small), 0, nullptr},
    {"int", "mindx", "200", GR_FIELD(mindx), 0, nullptr},
    {"int", "mindy", "100", GR_FIELD(mindy), 0, nullptr},
    {"double", "xincrement", "0.0", GR_FIELD(xincr_big), 0, nullptr},
    {"double", "xincrement_small", "0.0", GR_FIELD(xincr_sml), 0, nullptr},
    {"double", "yincrement", "0.0", GR_FIELD(yincr_big), 0, nullptr},
    {"double", "yincrement_small", "0.0", GR_FIELD(yincr_sml), 0, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

KGRGrid::KGRGrid(KGRViewport* viewport)
{
    kgrqt_construct([&] { init(viewport); }, "KGRGrid::KGRGrid: init() error.");
}

KGRGrid::~KGRGrid()
{
    KGRConfigure_FreeRecord(configSpecs, reinterpret_cast<char*>(&grid));
    free(class_name);
}

void KGRGrid::init(KGRViewport* viewport)
{
    kgrqt_init_item(
        this, viewport, &grid, "KGRGrid", "KGRGrid::init: setParent() error.",
        [viewport](KgrgridItem& g) {
            g.header = Kgrheader{0, 0, 5000, 5000};
            g.parent = viewport;
            g.vp = viewport;
            g.viewport = viewport ? &viewport->viewport : nullptr;
            g.style = 1;
            g.style_small = 1;
        },
        [this, viewport] {
            if (viewport)
                viewport->registerItem(this);
        });
}

void KGRGrid::setLayer(KGRLayer* layer)
{
    grid.layer = layer;
}

void KGRGrid::paintEvent(QPaintEvent*)
{
    QPainter painter;
    if (!kgrqt_begin_item_paint(this, grid.layer, grid.viewport, debug, "grid", painter))
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter);
}

void KGRGrid::draw(QPainter& painter)
{
    KgrviewportItem* vp = grid.viewport;
    int pw = 0, ph = 0;
    double x1, x2, sx, y1, y2, sy;
    if (!vp || kgrqt_get_scales(vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy) < 0)
        return;
    // Lines run from one edge of the frame to the other; a hidden set is
    // given the width that tells the drawer to skip it.
    kgrqt_draw_xaxis_stuff(painter, vp, grid.foreground.color, grid.xbig_visible ? grid.width : -1,
                           grid.style, grid.xincr_big, 0.0, 1.0, grid.foreground_small.color,
                           grid.xsml_visible ? grid.width_small : -1, grid.style_small,
                           grid.xincr_sml, 0.0, 1.0, grid.mindx);
    kgrqt_draw_yaxis_stuff(painter, vp, grid.foreground.color, grid.ybig_visible ? grid.width : -1,
                           grid.style, grid.yincr_big, 0.0, 1.0, grid.foreground_small.color,
                           grid.ysml_visible ? grid.width_small : -1, grid.style_small,
                           grid.yincr_sml, 0.0, 1.0, grid.mindy);
}
