// Shared value types of kgrqt: colours, fonts, anchors and event bindings.
#ifndef KGR_H
#define KGR_H

#include "hxutil.h"

class QColor;
class QEvent;
class QFont;
class QString;

// A colour as configured: the string as given and the colour built from it.
// Both are null (no colour: the part is not drawn) or both are set.
struct KGR_Color {
    char* color_name;
    QColor* color;
};

// A font as configured. size and weight are -1 when not given.
struct KGR_Font {
    char* family;
    int size;
    int weight;
    int italic;
    QFont* font;
};

// Where a box is attached to its reference point, clockwise from north.
enum KGR_Anchor {
    KGR_ANCHOR_N = 0,
    KGR_ANCHOR_NE = 1,
    KGR_ANCHOR_E = 2,
    KGR_ANCHOR_SE = 3,
    KGR_ANCHOR_S = 4,
    KGR_ANCHOR_SW = 5,
    KGR_ANCHOR_W = 6,
    KGR_ANCHOR_NW = 7,
    KGR_ANCHOR_CENTER = 8
};

// Sets or clears a colour from a string: 1 when it was (re)set or cleared,
// 0 when the string equals the stored one, -1 on error (colour cleared).
int KGR_ParseColor(const char* value, KGR_Color* color);
// Frees the name and the colour and sets both to null.
void KGR_ClearColor(KGR_Color* color);
// Makes to an independent copy of from.
void KGR_CopyColor(const KGR_Color* from, KGR_Color* to);
// Sets a font from "family [size [weight [italic]]]": 1 when set, 0 when
// nothing changed, -1 on error (font unchanged). An empty value clears it.
int KGR_ParseFont(const char* value, KGR_Font* font);

// One point of an in-memory point list (longitude, latitude in geographic
// modes).
struct KGR_XY {
    double x;
    double y;
};

// Event codes of a bindings table. The code of a row is its position + 1.
enum {
    KGR_EVENT_ANY = 1,
    KGR_EVENT_MOUSE_PRESS = 2,
    KGR_EVENT_MOUSE_RELEASE = 3,
    KGR_EVENT_MOUSE_MOVE = 4,
    KGR_EVENT_MOUSE_DOUBLE_CLICK = 5,
    KGR_EVENT_WHEEL = 6,
    KGR_EVENT_ENTER = 7,
    KGR_EVENT_LEAVE = 8,
    KGR_EVENT_RESIZE = 9,
    KGR_EVENT_KEY_PRESS = 10,
    KGR_EVENT_KEY_RELEASE = 11,
    KGR_EVENT_PAINT_STALE = 12,
    KGR_EVENT_END = 100
};

// A callback result of KGR_EVENT_CONSUMED stops the chain and the widget's
// own handling; a negative result is reported and the chain goes on.
enum { KGR_EVENT_CONSUMED = 2 };

typedef int KGR_EventCallbackProc(int event, void* clientData, QEvent* qevent);

struct KGR_Event_Callback {
    KGR_EventCallbackProc* callbackProc;
    HX_ClientData clientData;
};

struct KGR_Binding {
    int event;
    char* event_name;
    int n_callbacks;
    KGR_Event_Callback* callbacks; // malloc'd, null while empty
};

// The rows every bindings table starts from; ends with the row of code 100.
[[maybe_unused]] static KGR_Binding KGR_Bindings_Template[] = {
    {KGR_EVENT_ANY, const_cast<char*>("event"), 0, nullptr},
    {KGR_EVENT_MOUSE_PRESS, const_cast<char*>("mousePressEvent"), 0, nullptr},
    {KGR_EVENT_MOUSE_RELEASE, const_cast<char*>("mouseReleaseEvent"), 0, nullptr},
    {KGR_EVENT_MOUSE_MOVE, const_cast<char*>("mouseMoveEvent"), 0, nullptr},
    {KGR_EVENT_MOUSE_DOUBLE_CLICK, const_cast<char*>("mouseDoubleClickEvent"), 0, nullptr},
    {KGR_EVENT_WHEEL, const_cast<char*>("wheelEvent"), 0, nullptr},
    {KGR_EVENT_ENTER, const_cast<char*>("Enter"), 0, nullptr},
    {KGR_EVENT_LEAVE, const_cast<char*>("Leave"), 0, nullptr},
    {KGR_EVENT_RESIZE, const_cast<char*>("Resize"), 0, nullptr},
    {KGR_EVENT_KEY_PRESS, const_cast<char*>("keyPressEvent"), 0, nullptr},
    {KGR_EVENT_KEY_RELEASE, const_cast<char*>("keyReleaseEvent"), 0, nullptr},
    {KGR_EVENT_PAINT_STALE, const_cast<char*>("paintStale"), 0, nullptr},
    {KGR_EVENT_END, nullptr, 0, nullptr},
};

// A malloc'd copy of the template, or null (error registered).
KGR_Binding* KGR_new_bindings();
// Releases a table made by KGR_new_bindings and its callback arrays.
void KGR_free_bindings(KGR_Binding* table);
// Appends (proc, clientData) to the named row: 0, or -1 on error.
int KGR_bind(KGR_Binding* table, const char* event_name, KGR_EventCallbackProc* proc,
             void* clientData);
// Removes every entry of the named row equal to (proc, clientData); 0.
int KGR_unbind(KGR_Binding* table, const char* event_name, KGR_EventCallbackProc* proc,
               void* clientData);
// Calls the callbacks of one row in binding order: 2 when one consumed the
// event, 1 when any was called, else 0.
int KGR_process_event(KGR_Binding* table, int event, QEvent* qevent);
// Describes an event as parameter-file text (a malloc'd string in
// *description); returns 0.
int KGR_ConvertEvent(int event, QEvent* qevent, const char* clientData, char** description);
// Append " LeftButton", " NoModifier", ... to out; return 0.
int KGR_ConvertButton(int buttons, QString* out);
int KGR_ConvertKeyMods(int modifiers, QString* out);
// The name of a Qt event type ("MouseButtonPress"), or "unknown".
const char* KGR_qevent_type_str(int type);

#endif
