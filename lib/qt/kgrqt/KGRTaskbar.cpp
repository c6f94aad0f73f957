// The taskbar: text buttons on a viewport, defined and listed by two
// parameter texts. Each shown button is a text item in a layer of its own;
// one picker serves all of them: motion over a button highlights it and
// shows its tool tip, a press steps it to its next state and runs that
// state's action lines.
//
// Action lines configure the taskbar object itself ("configure option
// value", optionally after "mod=shift" or "mod=notshift"). An item that
// embeds a taskbar and wants the buttons to reach its own settings installs
// an option table of its own on the taskbar (setConfigureSpecs with its
// record); configure finds those rows like the taskbar's.
#include "KGRTaskbar.h"
#include "KGRLayer.h"
#include "KGRPicker.h"
#include "KGRText.h"
#include "KGRViewport.h"
#include "kgrqt_taskbar.h"

#include <QMouseEvent>
#include <QPainterPath>
#include <QPixmap>
#include <QString>
#include <QToolTip>

#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

int taskbar_parse_buttons_definitions(HX_ConfigureSpec*, HX_ClientData, char*, char*, int);
int taskbar_parse_buttons(HX_ConfigureSpec*, HX_ClientData, char*, char*, int);
char* taskbar_print_buttons_definitions(HX_ConfigureSpec*, HX_ClientData, char*, int);
char* taskbar_print_buttons(HX_ConfigureSpec*, HX_ClientData, char*, int);

HX_CustomOption definitionsOption = {taskbar_parse_buttons_definitions,
                                     taskbar_print_buttons_definitions, nullptr};
HX_CustomOption buttonsOption = {taskbar_parse_buttons, taskbar_print_buttons, nullptr};

} // namespace

HX_ConfigureSpec KGRTaskbar::configSpecs[] = {
    {"color", "taskbar_background", nullptr, offsetof(KgrtaskbarItem, background),
     HX_CONFIGURE_NULL_OK, nullptr},
    {"custom", "taskbar_buttons_definitions", nullptr,
     offsetof(KgrtaskbarItem, buttons_definitions_string), HX_CONFIGURE_NULL_OK,
     &definitionsOption},
    {"custom", "taskbar_buttons", nullptr, offsetof(KgrtaskbarItem, buttons_string),
     HX_CONFIGURE_NULL_OK, &buttonsOption},
    {"string", "taskbar_picker_name", nullptr, offsetof(KgrtaskbarItem, picker_name),
     HX_CONFIGURE_NULL_OK, nullptr},
    {"string", "taskbar_debug", "", offsetof(KgrtaskbarItem, debug), HX_CONFIGURE_NULL_OK, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

namespace {

const char* const buttonsFunc = "taskbar_parse_buttons";

KgrtaskbarItem* itemOf(char* record)
{
    return reinterpret_cast<KgrtaskbarItem*>(record);
}

bool isEmpty(const char* value)
{
    return !value || !*value;
}

void replaceString(char** field, const char* value)
{
    free(*field);
    *field = value ? strdup(value) : nullptr;
}

KGRTaskbarButtonStateParams* currentState(const KGRTaskbarButtonParams* params)
{
    return static_cast<KGRTaskbarButtonStateParams*>(gettbl(params->states, params->current));
}

// Removes the entries of one button from an event row of the picker; other
// items bind to a shared picker after the taskbar.
void unbindButton(KGRPicker* picker, const char* event, KGRTaskbarButtonParams* params)
{
    kgrqt_unbind_entries(picker->bindings, event, taskbar_button_callback, params);
}

// -------------------------------------------------------------- showing

// The look of a button's text in its current state.
void configureText(KGRTaskbarButtonParams* params)
{
    KGRTaskbarButtonStateParams* st = currentState(params);
    if (!st || !params->kgr_text)
        return;
    char opacity[64], notSymbol[16];
    snprintf(opacity, sizeof opacity, "%f", st->opacity);
    snprintf(notSymbol, sizeof notSymbol, "%d", st->show_not_symbol);
    const char* background = st->background_color.color_name;
    const char* fill = st->fill_color.color_name;
    params->kgr_text->configure("text", st->label, "opacity", opacity, "show_not_symbol", notSymbol,
                                "background", background ? background : "", "fill",
                                fill ? fill : "", static_cast<char*>(nullptr));
}

// The picker that serves the buttons. A taskbar_picker_name names a picker
// to share with other items (a map and its taskbars): the one registered
// under that name is used, and when there is none yet the new picker is
// registered under it for the next taskbar to find.
KGRPicker* taskbarPicker(KgrtaskbarItem* tb, const char* button)
{
    if (tb->picker)
        return tb->picker;
    KGRPicker* picker = nullptr;
    if (!isEmpty(tb->picker_name))
        picker = static_cast<KGRPicker*>(HX_GetObject(tb->picker_name, "KGRPicker"));
    if (!picker) {
        try {
            picker = new KGRPicker(tb->vp);
        } catch (const char* e) {
            hx_register_error(0, "%s: %s: new KGRPicker(main) error: %s.\n", buttonsFunc, button,
                              e);
            return nullptr;
        }
        picker->configure("crosshairs", "off", "crosshairs_color", "#80004000",
                          static_cast<char*>(nullptr));
        if (!isEmpty(tb->picker_name))
            HX_SetName(tb->picker_name, "KGRPicker", picker);
    }
    // The record must not point at a picker that someone else deleted.
    auto* owner = static_cast<KGRTaskbar*>(tb->object_ptr);
    QObject::connect(picker, &QObject::destroyed, owner, [tb] { tb->picker = nullptr; });
    tb->picker = picker;
    return picker;
}

bool makeLayer(KgrtaskbarItem* tb, KGRTaskbarButtonParams* params, const char* button)
{
    try {
        params->kgr_layer = new KGRLayer(tb->vp);
    } catch (const char* e) {
        hx_register_error(0, "%s: %s: new KGRLayer(%s) error: %s.\n", buttonsFunc, button,
                          params->kgr_layer_name, e);
        return false;
    }
    HX_SetName(params->kgr_layer_name, "KGRLayer", params->kgr_layer);
    return true;
}

bool makeText(KgrtaskbarItem* tb, KGRTaskbarButtonParams* params, const char* button, char* x,
              char* y)
{
    static char name[] = " ";
    try {
        params->kgr_text = new KGRText(tb->vp, name, x, y);
    } catch (const char* e) {
        hx_register_error(0, "%s: %s: new KGRText() error: %s.\n", buttonsFunc, button, e);
        return false;
    }
    params->kgr_text->setToolTip(QString::fromLocal8Bit(params->description));
    params->kgr_text->setToolTipDuration(1000);
    return true;
}

// Shows one button: argv holds the name, justification, x and y of its
// line.
bool showButton(KgrtaskbarItem* tb, KGRTaskbarButtonParams* params, char** argv)
{
    const char* button = argv[0];
    taskbar_hide_button(params);
    KGRPicker* picker = nullptr;
    if (!makeLayer(tb, params, button) || !(picker = taskbarPicker(tb, button)) ||
        !makeText(tb, params, button, argv[2], argv[3])) {
        taskbar_hide_button(params);
        return false;
    }
    picker->bind("mousePressEvent", taskbar_button_callback, params);
    picker->bind("mouseMoveEvent", taskbar_button_callback, params);
    configureText(params);
    char width[16], height[16];
    snprintf(width, sizeof width, "%d", params->width);
    snprintf(height, sizeof height, "%d", params->height);
    params->kgr_text->configure("justification", argv[1], "relative", static_cast<char*>(nullptr),
                                "width", width, "height", height, static_cast<char*>(nullptr));
    params->kgr_text->setLayer(params->kgr_layer);
    // A layer lies above the items that paint into it, so that it shows
    // their drawing in the same frame; the picker lies above everything, or
    // the layers would take its input.
    params->kgr_layer->raise();
    picker->raise();
    return true;
}

// An optional starting state: the whole word as an int, clamped.
int startIndex(const char* word)
{
    long v = strtol(word, nullptr, 0);
    return v < INT_MIN ? INT_MIN : v > INT_MAX ? INT_MAX : static_cast<int>(v);
}

// One line of the button list: name, justification, x, y [, start].
bool showLine(KgrtaskbarItem* tb, const char* line)
{
    int argc = 0;
    char** argv = nullptr;
    if (!line || splitlist(line, &argc, &argv) < 0 || argc < 4 || argc > 5) {
        freeargs(argc, argv);
        hx_register_error(0, "%s: Cannot parse '%s' from buttons: Need four or five fields\n",
                          buttonsFunc, line ? line : "");
        return false;
    }
    auto* params = static_cast<KGRTaskbarButtonParams*>(getarr(tb->buttons_definitions, argv[0]));
    bool ok = params != nullptr;
    if (!ok)
        hx_register_error(0, "%s: Cannot find taskbar buttons definition for '%s'\n", buttonsFunc,
                          argv[0]);
    if (ok && argc == 5) {
        int start = startIndex(argv[4]);
        long n = maxtbl(params->states);
        ok = start >= 0 && start < n;
        if (ok)
            params->current = start;
        else
            hx_register_error(
                0, "%s: %s: Starting value of %d outside of range of button states(%ld).\n",
                buttonsFunc, argv[0], start, n);
    }
    ok = ok && showButton(tb, params, argv);
    if (ok)
        settbl(tb->buttons, -1, params);
    freeargs(argc, argv);
    return ok;
}

// ---------------------------------------------------------- custom options

int taskbar_parse_buttons_definitions(HX_ConfigureSpec*, HX_ClientData, char* value, char* record,
                                      int)
{
    KgrtaskbarItem* tb = itemOf(record);
    // Shown buttons belong to the definitions that go now.
    taskbar_hide_buttons(tb);
    freearr(tb->buttons_definitions, taskbar_free_buttons_definition);
    tb->buttons_definitions = nullptr;
    replaceString(&tb->buttons_definitions_string, value);
    if (isEmpty(value))
        return 0;
    Pf* pf = nullptr;
    if (pfcompile(value, &pf) < 0) {
        hx_register_error(0, "taskbar_parse_buttons_definitions: pfcompile(%s) error.\n", value);
        return -1;
    }
    int result = taskbar_read_buttons_definitions(tb, pf);
    pffree(pf);
    return result;
}

// A new list replaces the buttons shown before.
int taskbar_parse_buttons(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    KgrtaskbarItem* tb = itemOf(record);
    if (!tb->buttons_definitions && !isEmpty(value)) {
        hx_register_error(0,
                          "%s: Must define taskbar buttons with buttons_definitions "
                          "configuration first\n",
                          buttonsFunc);
        return -1;
    }
    taskbar_hide_buttons(tb);
    replaceString(&tb->buttons_string, value);
    if (isEmpty(value))
        return 0;
    Pf* pf = nullptr;
    Tbl* lines = nullptr;
    if (pfcompile(value, &pf) < 0) {
        hx_register_error(0, "%s: pfcompile(%s) error.\n", buttonsFunc, value);
        return -1;
    }
    if (parse_param(pf, "buttons", 't', 1, &lines) < 0) {
        pffree(pf);
        hx_register_error(0, "%s: parse_param(buttons) error.\n", buttonsFunc);
        return -1;
    }
    tb->buttons = newtbl(maxtbl(lines));
    bool ok = tb->buttons != nullptr;
    for (int i = 0; ok && i < maxtbl(lines); ++i)
        ok = showLine(tb, pfstring(static_cast<Pf*>(gettbl(lines, i))));
    pffree(pf);
    return ok ? 0 : -1;
}

char* taskbar_print_buttons_definitions(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    const char* text = itemOf(record)->buttons_definitions_string;
    return strdup(text ? text : "");
}

char* taskbar_print_buttons(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    const char* text = itemOf(record)->buttons_string;
    return strdup(text ? text : "");
}

// --------------------------------------------------------------- actions

// The configure commands of one action line, or none: "configure option
// value", or the same after "mod=shift" / "mod=notshift" with the shift key
// held / not held. Lines of other lengths, other commands and other
// modifiers do nothing.
void runAction(KGRTaskbar* target, const char* line, bool shift)
{
    int argc = 0;
    char** argv = nullptr;
    if (splitlist(line, &argc, &argv) < 0)
        return;
    char** command = argc == 3 ? argv : argc == 4 ? argv + 1 : nullptr;
    if (argc == 4 && !(strcmp(argv[0], "mod=shift") == 0 && shift) &&
        !(strcmp(argv[0], "mod=notshift") == 0 && !shift))
        command = nullptr;
    if (command && strcmp(command[0], "configure") == 0)
        target->configure(command[1], command[2], static_cast<char*>(nullptr));
    freeargs(argc, argv);
}

// The action lines are copied first: a line may reconfigure the taskbar
// and free the state that holds them.
void runActions(KGRTaskbarButtonStateParams* st, KGRTaskbar* target, bool shift)
{
    std::vector<std::string> lines;
    for (int i = 0; i < maxtbl(st->action); ++i)
        lines.emplace_back(static_cast<const char*>(gettbl(st->action, i)));
    for (const std::string& line : lines)
        runAction(target, line.c_str(), shift);
}

void refreshButton(KGRTaskbarButtonParams* params)
{
    if (params->kgr_layer)
        params->kgr_layer->setStale();
    params->kgr_text->update();
}

int pressButton(KGRTaskbarButtonParams* params, QMouseEvent* event)
{
    if (!params->kgr_text->text.select)
        return 0;
    params->current = (params->current + 1) % maxtbl(params->states);
    configureText(params);
    refreshButton(params);
    runActions(currentState(params), params->taskbar,
               event && (event->modifiers() & Qt::ShiftModifier));
    return KGR_EVENT_CONSUMED;
}

// Hovering selects the text, which then shows at full opacity.
int moveOverButton(KGRTaskbarButtonParams* params, QMouseEvent* event)
{
    KGRText* text = params->kgr_text;
    if (!event)
        return 0;
    int inside = text->text.path && text->text.path->contains(event->localPos());
    if (inside == (text->text.select != 0))
        return 0;
    text->text.select = inside;
    if (inside && params->description)
        QToolTip::showText(event->globalPos(), QString::fromLocal8Bit(params->description), text,
                           QRect(event->pos(), QSize(100, 100)), text->toolTipDuration());
    refreshButton(params);
    return 0;
}

} // namespace

// ------------------------------------------------------------------ class

KGRTaskbar::KGRTaskbar(KGRViewport* viewport)
{
    kgrqt_construct([&] { init(viewport); }, "KGRTaskbar::KGRTaskbar: init() error.");
}

KGRTaskbar::~KGRTaskbar()
{
    taskbar_hide_buttons(&taskbar);
    freearr(taskbar.buttons_definitions, taskbar_free_buttons_definition);
    free(taskbar.buttons_definitions_string);
    free(taskbar.buttons_string);
    free(taskbar.debug);
    free(taskbar.picker_name);
    KGR_ClearColor(&taskbar.background);
    // A picker that nobody can find by name is the taskbar's own.
    if (taskbar.picker && !HX_GetName(taskbar.picker, nullptr))
        delete taskbar.picker;
    free(class_name);
}

void KGRTaskbar::init(KGRViewport* viewport)
{
    kgrqt_init_item(
        this, viewport, &taskbar, "KGRTaskbar", "KGRTaskbar::init: setParent() error.",
        [this, viewport](KgrtaskbarItem& t) {
            t.parent = viewport;
            t.object_ptr = this;
            t.vp = viewport;
            t.viewport = viewport ? &viewport->viewport : nullptr;
        },
        [] {});
    // The taskbar draws nothing itself; its buttons do. Hidden, it cannot
    // cover a picker made before it.
    hide();
}

int taskbar_button_callback(int kind, void* clientdata, QEvent* event)
{
    auto* params = static_cast<KGRTaskbarButtonParams*>(clientdata);
    if (!params || !params->kgr_text || !currentState(params))
        return 0;
    auto* mouse = static_cast<QMouseEvent*>(event);
    if (kind == KGR_EVENT_MOUSE_PRESS)
        return pressButton(params, mouse);
    if (kind == KGR_EVENT_MOUSE_MOVE)
        return moveOverButton(params, mouse);
    return 0;
}

void taskbar_hide_button(KGRTaskbarButtonParams* params)
{
    KGRPicker* picker = params->taskbar ? params->taskbar->taskbar.picker : nullptr;
    if (picker) {
        unbindButton(picker, "mousePressEvent", params);
        unbindButton(picker, "mouseMoveEvent", params);
    }
    delete params->kgr_text;
    params->kgr_text = nullptr;
    if (params->kgr_layer)
        HX_UnsetObject(params->kgr_layer);
    delete params->kgr_layer;
    params->kgr_layer = nullptr;
}

void taskbar_hide_buttons(KgrtaskbarItem* tb)
{
    for (int i = 0; i < maxtbl(tb->buttons); ++i)
        taskbar_hide_button(static_cast<KGRTaskbarButtonParams*>(gettbl(tb->buttons, i)));
    freetbl(tb->buttons, nullptr);
    tb->buttons = nullptr;
}
