// The text item: one string placed by two position expressions, optionally
// boxed, outlined, rotated, translucent or struck through; and the shared
// cache of small special-symbol pixmaps.
#include "KGRText.h"
#include "KGRLayer.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <QByteArray>
#include <QColor>
#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QPixmap>

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

HX_ConfigureSpec KGRText::configSpecs[] = {
    {"color", "fill", "black", offsetof(KgrtextItem, foreground), 0, nullptr},
    {"color", "background", nullptr, offsetof(KgrtextItem, background), HX_CONFIGURE_NULL_OK,
     nullptr},
    {"color", "outline", nullptr, offsetof(KgrtextItem, outline), HX_CONFIGURE_NULL_OK, nullptr},
    {"font", "font", "Helvetica 16", offsetof(KgrtextItem, font), 0, nullptr},
    {"double", "angle", "0.0", offsetof(KgrtextItem, angle), 0, nullptr},
    {"string", "justification", "sw", offsetof(KgrtextItem, justification), 0, nullptr},
    {"ptr", "relative", nullptr, offsetof(KgrtextItem, relative), HX_CONFIGURE_NULL_OK, nullptr},
    {"int", "width", "0", offsetof(KgrtextItem, width), 0, nullptr},
    {"int", "height", "0", offsetof(KgrtextItem, height), 0, nullptr},
    {"boolean", "show_not_symbol", "no", offsetof(KgrtextItem, show_not_symbol), 0, nullptr},
    {"string", "text", "", offsetof(KgrtextItem, text), HX_CONFIGURE_NULL_OK, nullptr},
    {"double", "opacity", "1.0", offsetof(KgrtextItem, opacity), 0, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

namespace {

// Special symbols by "name:size", shared by the whole process and never
// freed: callers keep the pixmaps they are handed.
Arr* specialSymbols = nullptr;

Arr* specialSymbolTable()
{
    if (!specialSymbols)
        specialSymbols = newarr(nullptr);
    return specialSymbols;
}

char* copyOrNull(const char* s)
{
    return s ? strdup(s) : nullptr;
}

// The red prohibition sign: the inscribed circle and the diagonal between
// the points where it meets the circle.
void drawNotSymbol(QPixmap* pixmap, int size)
{
    QPainter painter(pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(QColor("#ff0000"));
    pen.setWidthF(1.5);
    painter.setPen(pen);
    painter.drawArc(0, 0, size, size, 0, 5760);
    const double d = size * (1.0 - cos(45.0 * 0.017453292519943295)) / 2.0;
    painter.drawLine(QPointF(size - d, size - d), QPointF(d, d));
}

} // namespace

KGRText::KGRText(KGRViewport* viewport, char* name, char* xpos, char* ypos)
{
    kgrqt_construct([&] { init(viewport, name, xpos, ypos); }, "KGRText::KGRText: init() error.");
}

// The special symbols outlive every item.
KGRText::~KGRText()
{
    HX_UnsetObject(this);
    KGRConfigure_FreeRecord(configSpecs, reinterpret_cast<char*>(&text));
    free(text.xpos);
    free(text.ypos);
    delete text.path;
    free(class_name);
}

void KGRText::init(KGRViewport* viewport, char* name, char* xpos, char* ypos)
{
    kgrqt_init_item(
        this, viewport, &text, "KGRText", "KGRText::init: setParent() error.",
        [this, viewport, name, xpos, ypos](KgrtextItem& t) {
            if (!specialSymbolTable())
                throw "KGRText::init: newarr() error.";
            t.parent = viewport;
            t.vp = viewport;
            t.viewport = viewport ? &viewport->viewport : nullptr;
            if (name)
                HX_SetName(name, "KGRText", this);
            t.header = {0, 0, 5000, 5000};
            t.xpos = copyOrNull(xpos);
            t.ypos = copyOrNull(ypos);
        },
        [this, viewport] {
            if (viewport)
                viewport->registerItem(this);
        });
    // A text covers its whole viewport but never takes input: pointer
    // events go on to the items under it, such as a picker made earlier.
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void KGRText::setLayer(KGRLayer* layer)
{
    text.layer = layer;
}

void KGRText::getBB(double* x, double* y, int* w, int* h)
{
    *x = text.fxbb;
    *y = text.fybb;
    *w = text.wbb;
    *h = text.hbb;
}

void KGRText::paintEvent(QPaintEvent*)
{
    QPainter painter;
    if (kgrqt_begin_item_paint(this, text.layer, text.viewport, debug, "text", painter))
        draw(painter);
}

void KGRText::draw(QPainter& painter)
{
    KgrviewportItem* vp = text.viewport;
    if (!vp)
        return;
    double x = 0.0, y = 0.0;
    if (kgrqt_get_pixels(vp, text.xpos, text.ypos, &x, &y, static_cast<KGRText*>(text.relative)) <
        0)
        return;
    text.x = x;
    text.y = y;
    // A selected text shows at full opacity: the hover highlight.
    if (text.opacity != 1.0 && !text.select)
        painter.setOpacity(text.opacity);
    // Cleared as well, since rotated text hands back no new path.
    delete text.path;
    text.path = nullptr;
    if (!text.font.font || !text.foreground.color)
        return;
    kgrqt_draw_text2(painter, vp, *text.font.font, text.foreground.color, text.background.color,
                     text.outline.color, x, y, text.width, text.height, text.justification,
                     text.angle, text.text, text.show_not_symbol, &text.path, &text.fxbb,
                     &text.fybb, &text.wbb, &text.hbb);
}

QPixmap* KGRText::specialSymbol(char* name, int size)
{
    const QByteArray key = QByteArray(name ? name : "") + ':' + QByteArray::number(size);
    Arr* table = specialSymbolTable();
    auto* symbol =
        table ? static_cast<KGRTextSpecialSymbol*>(getarr(table, key.constData())) : nullptr;
    if (!symbol) {
        symbol = makeSpecialSymbol(name, size);
        if (!symbol) {
            hx_register_error(0, "KGRText::specialSymbol: makeSpecialSymbol(%s,%d) error.\n",
                              name ? name : "", size);
            return nullptr;
        }
        if (table)
            setarr(table, key.constData(), symbol);
    }
    return symbol->pixmap;
}

KGRTextSpecialSymbol* KGRText::makeSpecialSymbol(char* name, int size)
{
    if (!name || strcmp(name, "not_symbol") != 0) {
        hx_register_error(0, "KGRText::makeSpecialSymbol: unrecognized name '%s'.\n",
                          name ? name : "");
        return nullptr;
    }
    auto* symbol = static_cast<KGRTextSpecialSymbol*>(malloc(sizeof(KGRTextSpecialSymbol)));
    if (!symbol || !(symbol->name = strdup(name))) {
        free(symbol);
        hx_register_error(1, "KGRText::makeSpecialSymbol: malloc(KGRTextSpecialSymbol) error.\n");
        return nullptr;
    }
    symbol->size = size;
    symbol->width = size;
    symbol->height = size;
    symbol->pixmap = new QPixmap(size, size);
    symbol->pixmap->fill(QColor("#00000000"));
    if (size > 0)
        drawNotSymbol(symbol->pixmap, size);
    return symbol;
}
