// Reading taskbar button definitions:
//
//     buttons_definitions &Arr{
//         grid &Arr{
//             kgr_layer    grid_button
//             description  Grid lines
//             states &Arr{
//                 on  &Arr{
//                     label   Grid
//                     order   0
//                     action  configure grid on
//                 }
//                 off &Arr{
//                     label            Grid
//                     order            1
//                     show_not_symbol  yes
//                     action &Tbl{
//                         mod=notshift configure grid off
//                         mod=shift configure grid_minor off
//                     }
//                 }
//             }
//         }
//     }
//
// A button without "states" is its own single state.
#include "KGRTaskbar.h"
#include "kgrqt_taskbar.h"

#include <cstdlib>
#include <cstring>

namespace {

const char* const defsFunc = "taskbar_parse_buttons_definitions";

// The array node called name inside pf. Returns as parse_param does: 0, 1
// when absent and not required, -1 (registered) when missing or not an
// array.
int arrayNode(Pf* pf, const char* name, int required, Pf** node)
{
    Arr* unused = nullptr;
    int result = parse_param(pf, name, 'a', required, &unused);
    if (result == 0)
        pfget(pf, name, node);
    return result;
}

// Appends a copy of one action line; false when memory ran out.
bool appendLine(Tbl* lines, const char* line)
{
    char* copy = strdup(line);
    if (copy && settbl(lines, -1, copy) >= 0)
        return true;
    free(copy);
    return false;
}

// The action lines of a state: one string, or a list of strings.
Tbl* readActions(Pf* pf)
{
    Pf* node = nullptr;
    int found = parse_param(pf, "action", 'P', 0, &node);
    if (found == 1) {
        hx_register_error(0, "taskbar_parse_button_state: action not found.\n");
        return nullptr;
    }
    if (found < 0 || (pftype(node) != PFSTRING && pftype(node) != PFTBL)) {
        hx_register_error(0, "taskbar_parse_button_state: parse_param(action) error.\n");
        return nullptr;
    }
    Tbl* lines = newtbl(1);
    if (!lines) {
        hx_register_error(1, "taskbar_parse_button_state: newtbl(action) error.\n");
        return nullptr;
    }
    if (pftype(node) == PFSTRING) {
        if (appendLine(lines, pfstring(node)))
            return lines;
        freetbl(lines, free);
        hx_register_error(1, "taskbar_parse_button_state: newtbl(action) error.\n");
        return nullptr;
    }
    Tbl* list = pftbl(node);
    for (int i = 0; i < maxtbl(list); ++i) {
        const char* line = pfstring(static_cast<Pf*>(gettbl(list, i)));
        if (!line || !appendLine(lines, line)) {
            freetbl(lines, free);
            hx_register_error(0, "taskbar_parse_button_state: parse_param(action) error.\n");
            return nullptr;
        }
    }
    return lines;
}

// Reads an optional value of a state, registering the state's message
// naming the key when it is malformed.
bool readStateValue(Pf* pf, const char* key, int type, void* value)
{
    if (parse_param(pf, key, type, 0, value) >= 0)
        return true;
    hx_register_error(0, "taskbar_parse_button_state: parse_param(%s) error.\n", key);
    return false;
}

// A colour key of a state, "black" or "white" when absent.
bool readStateColor(KgrtaskbarItem* tb, Pf* pf, const char* key, const char* fallback,
                    KGR_Color* color)
{
    char* value = nullptr;
    if (!readStateValue(pf, key, 's', &value))
        return false;
    int result = taskbar_get_color(tb, value ? value : fallback, color);
    free(value);
    if (result < 0)
        hx_register_error(0, "taskbar_parse_button_state: taskbar_get_color(%s) error.\n", key);
    return result >= 0;
}

bool readState(KgrtaskbarItem* tb, Pf* pf, KGRTaskbarButtonStateParams* st)
{
    if (parse_param(pf, "label", 's', 1, &st->label) < 0) {
        hx_register_error(0, "taskbar_parse_button_state: parse_param(label) error.\n");
        return false;
    }
    if (!(st->action = readActions(pf)))
        return false;
    // Visibility is checked for form only; buttons are always shown.
    int visibility = 1;
    return readStateValue(pf, "visibility", 'd', &visibility) &&
           readStateValue(pf, "opacity", 'f', &st->opacity) &&
           readStateValue(pf, "order", 'd', &st->order) &&
           readStateValue(pf, "show_not_symbol", 'b', &st->show_not_symbol) &&
           readStateColor(tb, pf, "fill_color", "black", &st->fill_color) &&
           readStateColor(tb, pf, "background_color", "white", &st->background_color) &&
           readStateValue(pf, "description", 's', &st->description);
}

// Reads a value of a button, registering the button's message when it is
// malformed or, for a required one, missing.
bool readButtonValue(Pf* pf, const char* button, const char* key, int type, int required,
                     void* value)
{
    if (parse_param(pf, key, type, required, value) >= 0)
        return true;
    hx_register_error(0, "%s: parse_param(%s->%s) error.\n", defsFunc, button, key);
    return false;
}

bool appendState(KgrtaskbarItem* tb, KGRTaskbarButtonParams* params, Pf* pf, const char* name)
{
    KGRTaskbarButtonStateParams* st = pf ? taskbar_parse_button_state(tb, params, pf) : nullptr;
    if (st && settbl(params->states, -1, st) >= 0)
        return true;
    taskbar_free_buttons_state_definition(st);
    hx_register_error(0, "%s: taskbar_parse_button_state(%s) error.\n", defsFunc, name);
    return false;
}

bool readStates(KgrtaskbarItem* tb, KGRTaskbarButtonParams* params, Pf* states)
{
    Tbl* names = pfkeys(states);
    bool ok = true;
    for (int i = 0; ok && i < maxtbl(names); ++i) {
        const char* name = static_cast<const char*>(gettbl(names, i));
        Pf* node = nullptr;
        arrayNode(states, name, 1, &node);
        ok = appendState(tb, params, node, name);
    }
    freetbl(names, nullptr);
    return ok;
}

// The tool tip: the button's own line, then one indented line for each
// state that describes itself, in state order.
bool buildDescription(KGRTaskbarButtonParams* params)
{
    void* stack = nullptr;
    bool ok = !params->description || pushstr(&stack, params->description) == 0;
    for (int i = 0; ok && i < maxtbl(params->states); ++i) {
        auto* st = static_cast<KGRTaskbarButtonStateParams*>(gettbl(params->states, i));
        if (!st->description)
            continue;
        ok = pushstr(&stack, "\n   ") == 0 &&
             (!st->show_not_symbol || pushstr(&stack, "not ") == 0) &&
             pushstr(&stack, st->label) == 0 && pushstr(&stack, " - ") == 0 &&
             pushstr(&stack, st->description) == 0;
    }
    char* text = popstr(&stack);
    if (!ok) {
        free(text);
        return false;
    }
    // Nothing described: no tool tip at all.
    free(params->description);
    params->description = text && *text ? text : nullptr;
    if (!params->description)
        free(text);
    return true;
}

KGRTaskbarButtonParams* readButton(KgrtaskbarItem* tb, Pf* defs, const char* button)
{
    Pf* node = nullptr;
    if (arrayNode(defs, button, 1, &node) != 0) {
        hx_register_error(0, "%s: parse_param(%s) error.\n", defsFunc, button);
        return nullptr;
    }
    auto* params = static_cast<KGRTaskbarButtonParams*>(calloc(1, sizeof(KGRTaskbarButtonParams)));
    if (!params || !(params->states = newtbl(0))) {
        free(params);
        hx_register_error(1, "%s: malloc(params) error.\n", defsFunc);
        return nullptr;
    }
    params->taskbar = static_cast<KGRTaskbar*>(tb->object_ptr);
    Pf* states = nullptr;
    bool ok = true;
    if (arrayNode(node, "states", 0, &states) < 0) {
        hx_register_error(0, "%s: parse_param(%s->states) error.\n", defsFunc, button);
        ok = false;
    }
    ok = ok && readButtonValue(node, button, "width", 'd', 0, &params->width) &&
         readButtonValue(node, button, "height", 'd', 0, &params->height) &&
         readButtonValue(node, button, "kgr_layer", 's', 1, &params->kgr_layer_name) &&
         readButtonValue(node, button, "description", 's', 0, &params->description);
    if (ok && states) {
        ok = readStates(tb, params, states);
        sorttbl(params->states, taskbar_states_compare, nullptr);
    } else if (ok) {
        ok = appendState(tb, params, node, button);
    }
    if (ok && !buildDescription(params)) {
        hx_register_error(1, "%s: malloc(params) error.\n", defsFunc);
        ok = false;
    }
    if (ok)
        return params;
    taskbar_free_buttons_definition(params);
    return nullptr;
}

} // namespace

int taskbar_read_buttons_definitions(KgrtaskbarItem* tb, Pf* pf)
{
    Pf* defs = nullptr;
    if (arrayNode(pf, "buttons_definitions", 1, &defs) != 0) {
        hx_register_error(0, "%s: parse_param(buttons_definitions) error.\n", defsFunc);
        return -1;
    }
    Arr* buttons = newarr(nullptr);
    if (!buttons) {
        hx_register_error(1, "%s: newarr(buttons_definitions) error.\n", defsFunc);
        return -1;
    }
    Tbl* names = pfkeys(defs);
    bool ok = true;
    for (int i = 0; ok && i < maxtbl(names); ++i) {
        const char* name = static_cast<const char*>(gettbl(names, i));
        KGRTaskbarButtonParams* params = readButton(tb, defs, name);
        ok = params != nullptr;
        if (ok)
            setarr(buttons, name, params);
    }
    freetbl(names, nullptr);
    if (!ok) {
        freearr(buttons, taskbar_free_buttons_definition);
        return -1;
    }
    tb->buttons_definitions = buttons;
    return 0;
}

KGRTaskbarButtonStateParams* taskbar_parse_button_state(KgrtaskbarItem* tb,
                                                        KGRTaskbarButtonParams* params, Pf* pf)
{
    auto* st =
        static_cast<KGRTaskbarButtonStateParams*>(calloc(1, sizeof(KGRTaskbarButtonStateParams)));
    if (!st) {
        hx_register_error(1, "taskbar_parse_button_state: malloc(state) error.\n");
        return nullptr;
    }
    st->buttonparams = params;
    st->opacity = 1.0;
    if (readState(tb, pf, st))
        return st;
    taskbar_free_buttons_state_definition(st);
    return nullptr;
}

int taskbar_get_color(KgrtaskbarItem* tb, const char* value, KGR_Color* color)
{
    if (strcmp(value, "$BACKGROUND") == 0) {
        KGR_CopyColor(&tb->background, color);
        return 0;
    }
    if (KGR_ParseColor(value, color) < 0) {
        hx_register_error(0, "taskbar_get_color: Illegal color specification \"%s\"\n", value);
        return -1;
    }
    return 0;
}

// The difference is taken in a wider type: orders far apart must not
// overflow into the wrong sign.
int taskbar_states_compare(void* a, void* b, void*)
{
    long long d = static_cast<long long>(static_cast<KGRTaskbarButtonStateParams*>(a)->order) -
                  static_cast<KGRTaskbarButtonStateParams*>(b)->order;
    return d < 0 ? -1 : d > 0;
}

void taskbar_free_buttons_state_definition(void* p)
{
    auto* st = static_cast<KGRTaskbarButtonStateParams*>(p);
    if (!st)
        return;
    free(st->label);
    free(st->description);
    freetbl(st->action, free);
    KGR_ClearColor(&st->fill_color);
    KGR_ClearColor(&st->background_color);
    free(st);
}

void taskbar_free_buttons_definition(void* p)
{
    auto* params = static_cast<KGRTaskbarButtonParams*>(p);
    if (!params)
        return;
    taskbar_hide_button(params);
    free(params->description);
    free(params->kgr_layer_name);
    freetbl(params->states, taskbar_free_buttons_state_definition);
    free(params);
}
