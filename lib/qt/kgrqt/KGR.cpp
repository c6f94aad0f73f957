#include "KGR.h"

#include <QByteArray>
#include <QColor>
#include <QEvent>
#include <QFont>
#include <QMetaEnum>
#include <QMouseEvent>
#include <QString>
#include <QWheelEvent>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

// ---------------------------------------------------------------- colours

void KGR_ClearColor(KGR_Color* color)
{
    free(color->color_name);
    delete color->color;
    color->color_name = nullptr;
    color->color = nullptr;
}

void KGR_CopyColor(const KGR_Color* from, KGR_Color* to)
{
    if (from->color_name && from->color && to->color_name && to->color &&
        strcmp(from->color_name, to->color_name) == 0)
        return;
    KGR_ClearColor(to);
    if (from->color_name)
        to->color_name = strdup(from->color_name);
    if (from->color)
        to->color = new QColor(*from->color);
}

namespace {

// Builds an HSL colour from "hue,saturation,lightness[,alpha]". Returns
// null after registering the reason.
QColor* makeHslColor(const char* value)
{
    int argc = 0;
    char** argv = nullptr;
    if (splitlistc(value, &argc, &argv, ",") < 0) {
        hx_register_error(HX_ERROR_INPUT, "KGR_ParseColor: Cannot parse color '%s'\n", value);
        return nullptr;
    }
    if (argc != 3 && argc != 4) {
        freeargs(argc, argv);
        hx_register_error(HX_ERROR_INPUT, "KGR_ParseColor: Cannot create new color object.\n");
        return nullptr;
    }
    float hsla[4] = {0.0f, 0.0f, 0.0f, 1.0f};
    for (int i = 0; i < argc; ++i) {
        char* end = nullptr;
        hsla[i] = static_cast<float>(fix_strtod(argv[i], &end));
        // Only a first element without a number is refused: every element's
        // end is compared with the first element's start, so later elements
        // without a number simply count as 0.
        if (end == argv[0]) {
            freeargs(argc, argv);
            hx_register_error(HX_ERROR_INPUT, "KGR_ParseColor: Cannot parse color '%s'\n", value);
            return nullptr;
        }
    }
    freeargs(argc, argv);
    auto* color = new QColor;
    // Non-finite components give an invalid colour, as out-of-range ones do
    // inside setHslF.
    if (std::isfinite(hsla[0]) && std::isfinite(hsla[1]) && std::isfinite(hsla[2]) &&
        std::isfinite(hsla[3]))
        color->setHslF(hsla[0] / 360.0, hsla[1], hsla[2], hsla[3]);
    return color;
}

} // namespace

int KGR_ParseColor(const char* value, KGR_Color* color)
{
    if (HX_Strcmp(value, color->color_name) == 0)
        return 0;
    KGR_ClearColor(color);
    if (!value || !*value)
        return 1;
    if (strchr(value, ',')) {
        color->color = makeHslColor(value);
        if (!color->color)
            return -1;
    } else {
        // Qt's own syntax: names, #rrggbb, #aarrggbb, ... An unknown name
        // gives an invalid colour, which is kept as it is.
        color->color = new QColor(value);
    }
    color->color_name = strdup(value);
    return 1;
}

// ------------------------------------------------------------------ fonts

namespace {

// Reads a size or weight word with strtol base 0. The word is refused only
// when digits were read and something follows them ("12pt"); a word without
// digits reads as 0.
bool readFontNumber(const char* word, int* out)
{
    char* end = nullptr;
    errno = 0;
    long v = strtol(word, &end, 0);
    if (end != word && (*end || errno == ERANGE || v < INT_MIN || v > INT_MAX))
        return false;
    *out = static_cast<int>(v);
    return true;
}

bool readFontWeight(const char* word, int* out)
{
    static const struct {
        const char* name;
        int weight;
    } names[] = {{"Light", 25}, {"Normal", 50}, {"DemiBold", 63}, {"Bold", 75}, {"Black", 87}};
    for (const auto& n : names) {
        if (strcmp(word, n.name) == 0) {
            *out = n.weight;
            return true;
        }
    }
    return readFontNumber(word, out);
}

// Reads size, weight and italic from the words after the family. Returns
// false after registering the reason.
bool readFontFields(int argc, char** argv, KGR_Font* f)
{
    f->size = -1;
    f->weight = -1;
    f->italic = 0;
    if (argc > 1 && !readFontNumber(argv[1], &f->size)) {
        hx_register_error(HX_ERROR_INPUT, "KGR_ParseFont: Unable to parse size from '%s'.\n",
                          argv[1]);
        return false;
    }
    if (argc > 2 && !readFontWeight(argv[2], &f->weight)) {
        hx_register_error(HX_ERROR_INPUT, "KGR_ParseFont: Unable to parse weight from '%s'.\n",
                          argv[2]);
        return false;
    }
    if (argc > 3) {
        f->italic = HX_ParseBoolean(argv[3]);
        if (f->italic < 0) {
            hx_register_error(HX_ERROR_INPUT, "KGR_ParseFont: Unable to parse italic from '%s'.\n",
                              argv[3]);
            return false;
        }
    }
    return true;
}

int clearFont(const char* value, KGR_Font* font)
{
    bool differed = HX_Strcmp(font->family, value) != 0;
    free(font->family);
    delete font->font;
    memset(font, 0, sizeof *font);
    return differed ? 1 : 0;
}

bool sameFont(const KGR_Font* a, const KGR_Font* b)
{
    return HX_Strcmp(a->family, b->family) == 0 && a->size == b->size && a->weight == b->weight &&
           a->italic == b->italic;
}

} // namespace

int KGR_ParseFont(const char* value, KGR_Font* font)
{
    int argc = 0;
    char** argv = nullptr;
    if (value && splitlist(value, &argc, &argv) < 0) {
        hx_register_error(HX_ERROR_INPUT, "KGR_ParseFont: Cannot parse font '%s'\n", value);
        return -1;
    }
    if (argc >= 5) {
        freeargs(argc, argv);
        hx_register_error(HX_ERROR_INPUT, "KGR_ParseFont: Too many fields in font '%s'\n", value);
        return -1;
    }
    if (argc == 0) {
        freeargs(argc, argv);
        return clearFont(value, font);
    }
    KGR_Font next = {strdup(argv[0]), -1, -1, 0, nullptr};
    bool ok = readFontFields(argc, argv, &next);
    freeargs(argc, argv);
    if (!ok || sameFont(&next, font)) {
        free(next.family);
        return ok ? 0 : -1;
    }
    free(font->family);
    delete font->font;
    *font = next;
    if (font->family && *font->family)
        font->font = new QFont(QString::fromLocal8Bit(font->family), font->size, font->weight,
                               font->italic != 0);
    else
        font->font = new QFont;
    return 1;
}

// --------------------------------------------------------------- bindings

namespace {

KGR_Binding* findRow(KGR_Binding* table, const char* event_name)
{
    if (!table || !event_name)
        return nullptr;
    for (KGR_Binding* row = table; row->event != KGR_EVENT_END; ++row)
        if (strcmp(row->event_name, event_name) == 0)
            return row;
    return nullptr;
}

bool sameCallback(const KGR_Event_Callback& c, KGR_EventCallbackProc* proc, void* clientData)
{
    return c.callbackProc == proc && c.clientData == clientData;
}

} // namespace

KGR_Binding* KGR_new_bindings()
{
    size_t rows = 1;
    while (KGR_Bindings_Template[rows - 1].event != KGR_EVENT_END)
        ++rows;
    auto* table = static_cast<KGR_Binding*>(malloc(rows * sizeof(KGR_Binding)));
    if (!table) {
        hx_register_error(HX_ERROR_ALLOC, "KGR_new_bindings: malloc() error.\n");
        return nullptr;
    }
    memcpy(table, KGR_Bindings_Template, rows * sizeof(KGR_Binding));
    return table;
}

void KGR_free_bindings(KGR_Binding* table)
{
    if (!table)
        return;
    for (KGR_Binding* row = table; row->event != KGR_EVENT_END; ++row)
        free(row->callbacks);
    free(table);
}

int KGR_bind(KGR_Binding* table, const char* event_name, KGR_EventCallbackProc* proc,
             void* clientData)
{
    KGR_Binding* row = findRow(table, event_name);
    if (!row) {
        hx_register_error(HX_ERROR_INPUT, "KGR_bind: Cannot find event name '%s'.\n",
                          event_name ? event_name : "");
        return -1;
    }
    size_t size = (row->n_callbacks + 1) * sizeof(KGR_Event_Callback);
    if (!row->callbacks) {
        row->callbacks = static_cast<KGR_Event_Callback*>(malloc(size));
        if (!row->callbacks) {
            hx_register_error(HX_ERROR_ALLOC, "KGR_bind: malloc(callbacks) error.\n");
            return -1;
        }
    } else {
        // A failed realloc loses the old array, as the row's contract says.
        row->callbacks = static_cast<KGR_Event_Callback*>(realloc(row->callbacks, size));
        if (!row->callbacks) {
            hx_register_error(HX_ERROR_ALLOC, "KGR_bind: realloc(callbacks) error.\n");
            return -1;
        }
    }
    row->callbacks[row->n_callbacks].callbackProc = proc;
    row->callbacks[row->n_callbacks].clientData = clientData;
    row->n_callbacks++;
    return 0;
}

int KGR_unbind(KGR_Binding* table, const char* event_name, KGR_EventCallbackProc* proc,
               void* clientData)
{
    KGR_Binding* row = findRow(table, event_name);
    if (!row || !row->callbacks)
        return 0;
    int i = 0;
    while (i < row->n_callbacks) {
        if (!sameCallback(row->callbacks[i], proc, clientData)) {
            ++i;
            continue;
        }
        row->n_callbacks--;
        // The length moved is (new count - index) bytes, not entries: this
        // is the table's long-standing contract and is kept as it stands.
        if (i < row->n_callbacks)
            memmove(&row->callbacks[i], &row->callbacks[i + 1],
                    static_cast<size_t>(row->n_callbacks - i));
    }
    return 0;
}

int KGR_process_event(KGR_Binding* table, int event, QEvent* qevent)
{
    if (!table)
        return 0;
    KGR_Binding* row = &table[event - 1];
    if (!row->callbacks)
        return 0;
    int called = 0;
    for (int i = 0; i < row->n_callbacks; ++i) {
        KGR_Event_Callback& c = row->callbacks[i];
        if (!c.callbackProc)
            continue;
        called = 1;
        int r = c.callbackProc(event, c.clientData, qevent);
        if (r < 0)
            hx_complain(HX_ERROR_INPUT, "KGR_process_event: callback error.\n");
        else if (r == KGR_EVENT_CONSUMED)
            return KGR_EVENT_CONSUMED;
    }
    return called;
}

// ------------------------------------------------------ event description

int KGR_ConvertButton(int buttons, QString* out)
{
    if (buttons == Qt::NoButton) {
        out->append(" NoButton");
    } else if (buttons == Qt::AllButtons) {
        out->append(" AllButtons");
    } else {
        if (buttons & Qt::LeftButton)
            out->append(" LeftButton");
        if (buttons & Qt::MiddleButton)
            out->append(" MiddleButton");
        if (buttons & Qt::RightButton)
            out->append(" RightButton");
    }
    return 0;
}

int KGR_ConvertKeyMods(int modifiers, QString* out)
{
    static const struct {
        int bit;
        const char* word;
    } words[] = {{Qt::ShiftModifier, " ShiftModifier"},
                 {Qt::ControlModifier, " ControlModifier"},
                 {Qt::AltModifier, " AltModifier"},
                 {Qt::MetaModifier, " MetaModifier"},
                 {Qt::KeypadModifier, " KeypadModifier"}};
    if (modifiers == Qt::NoModifier) {
        out->append(" NoModifier");
        return 0;
    }
    for (const auto& w : words)
        if (modifiers & w.bit)
            out->append(w.word);
    return 0;
}

namespace {

void describeMouseEvent(int event, const QMouseEvent* me, QString& text)
{
    text += QString::asprintf("type %s\n", KGR_Bindings_Template[event - 1].event_name);
    text += "buttons";
    KGR_ConvertButton(me->button(), &text);
    text += "\nkeymods";
    KGR_ConvertKeyMods(static_cast<int>(me->modifiers()), &text);
    text += QString::asprintf("\nx %d\ny %d\n", me->x(), me->y());
}

// The delta of the dominant wheel direction, in eighths of a degree.
int wheelDelta(const QWheelEvent* we)
{
    QPoint a = we->angleDelta();
    return qAbs(a.x()) > qAbs(a.y()) ? a.x() : a.y();
}

void describeWheelEvent(int event, const QWheelEvent* we, QString& text)
{
    text += QString::asprintf("type %s\n", KGR_Bindings_Template[event - 1].event_name);
    text += "buttons";
    KGR_ConvertButton(static_cast<int>(we->buttons()), &text);
    text += "\nkeymods";
    KGR_ConvertKeyMods(static_cast<int>(we->modifiers()), &text);
    text += QString::asprintf("\ndelta %d\n", wheelDelta(we));
}

} // namespace

int KGR_ConvertEvent(int event, QEvent* qevent, const char* clientData, char** description)
{
    QString text("event &Arr{\n");
    if (qevent) {
        if (event == KGR_EVENT_MOUSE_PRESS || event == KGR_EVENT_MOUSE_RELEASE ||
            event == KGR_EVENT_MOUSE_MOVE)
            describeMouseEvent(event, static_cast<QMouseEvent*>(qevent), text);
        else if (event == KGR_EVENT_WHEEL)
            describeWheelEvent(event, static_cast<QWheelEvent*>(qevent), text);
    }
    text += "}\n";
    if (clientData) {
        text += "clientData ";
        text += QString::fromLocal8Bit(clientData);
        text += "\n";
    }
    *description = strdup(text.toLocal8Bit().constData());
    return 0;
}

const char* KGR_qevent_type_str(int type)
{
    // Qt's own metadata knows every enumerator compiled into this Qt; the
    // keypad-navigation pair exists only in Qt builds configured for it.
    if (const char* name = QMetaEnum::fromType<QEvent::Type>().valueToKey(type))
        return name;
    if (type == 150)
        return "EnterEditFocus";
    if (type == 151)
        return "LeaveEditFocus";
    return "unknown";
}
