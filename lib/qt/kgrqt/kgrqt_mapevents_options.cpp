// The option table of the map events and its procedures: coding strings,
// layers, button bars, the navigation map switch and the update interval;
// and the button bar and coding templates that init installs.
#include "kgrqt_mapevents.h"
#include "kgrqt_mapevents_item.h"

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

#define MAPEVENTS_FIELD(f) static_cast<int>(offsetof(KgrmapeventsItem, f))

const char* const eventsCodingDefault =
    "sy=circle,sz=5,szg=1.0,cl=depth,fd=1.0,fdg=1.0,ot=#60000000,fi=#a0a0a0,lw=0\n";

bool isEmpty(const char* value)
{
    return !value || !*value;
}

// ------------------------------------------------------------- codings

// Entries of a coding text, "key=value" split at ",", blanks and line
// ends trimmed.
std::vector<std::pair<std::string, std::string>> codingEntries(const std::string& text)
{
    std::vector<std::pair<std::string, std::string>> entries;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(',', start);
        if (end == std::string::npos)
            end = text.size();
        std::string entry = text.substr(start, end - start);
        size_t a = entry.find_first_not_of(" \t\r\n"), b = entry.find_last_not_of(" \t\r\n");
        entry = a == std::string::npos ? "" : entry.substr(a, b - a + 1);
        size_t eq = entry.find('=');
        if (!entry.empty())
            entries.emplace_back(entry.substr(0, eq),
                                 eq == std::string::npos ? "" : entry.substr(eq + 1));
        start = end + 1;
    }
    return entries;
}

// The text of a coding after value is applied over the earlier text: each
// key once, where it first appeared, with its latest value.
std::string mapevents_merge_coding(const std::string& before, const char* value)
{
    auto entries = codingEntries(before);
    for (auto& entry : codingEntries(value ? value : "")) {
        bool found = false;
        for (auto& old : entries)
            if (old.first == entry.first) {
                old.second = entry.second;
                found = true;
            }
        if (!found)
            entries.push_back(entry);
    }
    std::string text;
    for (const auto& e : entries)
        text += (text.empty() ? "" : ",") + e.first + "=" + e.second;
    return text + "\n";
}

// After a coding changed: the items that show it are coded again.
void mapevents_apply_coding(KGRMapEvents* me, const char* option)
{
    if (strcmp(option, "events_coding") == 0)
        me->setEventsCoding();
    else if (strcmp(option, "events_detections_coding") == 0)
        me->setEventsDetectionsCoding();
    else if (strcmp(option, "event_detections_coding") == 0)
        me->setEventDetectionsCoding(nullptr);
    else
        return;
    if (me->mapevents.layer_events)
        me->mapevents.layer_events->setStale();
}

// ------------------------------------------------------------- layers

// The layer registered under the name, else a new one on the map's
// viewport registered under it; it goes stale with the map layers.
int mapevents_parse_layer(const char* func, char* value, KgrmapeventsItem* item, KGRLayer** field)
{
    if (isEmpty(value))
        return 0;
    KGRMapEvents* me = mapevents_of(item);
    auto* layer = static_cast<KGRLayer*>(HX_GetObject(value, "KGRLayer"));
    if (!layer) {
        try {
            layer = new KGRLayer(me->map.vp);
        } catch (const char* e) {
            hx_register_error(0, "%s: new KGRLayer(%s) error: %s.\n", func, value, e);
            return -1;
        }
        HX_SetName(value, "KGRLayer", layer);
        QObject::connect(layer, &QObject::destroyed, [layer] { HX_UnsetObject(layer); });
    }
    *field = layer;
    me->extraMaplayer(layer);
    me->raisePickers();
    return 0;
}

int mapevents_parse_layer_events(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    return mapevents_parse_layer("mapevents_parse_layer_events", value, item, &item->layer_events);
}

int mapevents_parse_layer_event(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    return mapevents_parse_layer("mapevents_parse_layer_event", value, item, &item->layer_event);
}

char* mapevents_print_layer(HX_ConfigureSpec*, HX_ClientData, char* record, int offset)
{
    KGRLayer* layer = *reinterpret_cast<KGRLayer**>(record + offset);
    const char* name = layer ? HX_GetName(layer, nullptr) : nullptr;
    return strdup(name ? name : "");
}

// ---------------------------------------------------------- button bars

// Makes the bar on first use with the commands of table installed on it
// (so that its buttons reach them), then passes the definitions through.
int mapevents_define_taskbar(const char* func, KgrmapeventsItem* item, KGRTaskbar** taskbar,
                             char** string, char* value, HX_ConfigureSpec* commands,
                             char* commandRecord, const char* commandClass)
{
    KGRMapEvents* me = mapevents_of(item);
    if (!*taskbar) {
        try {
            *taskbar = new KGRTaskbar(me->map.vp);
        } catch (const char* e) {
            hx_register_error(0, "%s: new KGRTaskbar error: %s.\n", func, e);
            return -1;
        }
        (*taskbar)->setConfigureSpecs(commands, commandRecord, commandClass);
        QObject::connect(*taskbar, &QObject::destroyed, me, [taskbar] { *taskbar = nullptr; });
    }
    map_replace_string(string, value);
    if ((*taskbar)->configure("taskbar_picker_name", me->map.picker_name,
                              "taskbar_buttons_definitions", value ? value : "",
                              static_cast<char*>(nullptr)) < 0) {
        hx_register_error(0, "%s: taskbar->configure() error.\n", func);
        return -1;
    }
    return 0;
}

int mapevents_show_taskbar(const char* func, KgrmapeventsItem* item, KGRTaskbar* taskbar,
                           char** string, char* value)
{
    if (!taskbar) {
        if (isEmpty(value))
            return 0;
        hx_register_error(0,
                          "%s: Must define taskbar object with taskbar_buttons_definitions "
                          "configuration first\n",
                          func);
        return -1;
    }
    map_replace_string(string, value);
    if (taskbar->configure("taskbar_buttons", value ? value : "", static_cast<char*>(nullptr)) <
        0) {
        hx_register_error(0, "%s: taskbar->configure() error.\n", func);
        return -1;
    }
    // Buttons take presses before the map: the navigation binds again
    // behind them, and the pickers go back on top.
    KGRMapEvents* me = mapevents_of(item);
    if (me->map.picker)
        me->configure("process_mouse_events", "yes", static_cast<char*>(nullptr));
    me->raisePickers();
    return 0;
}

int mapevents_parse_map_taskbar_buttons_definitions(HX_ConfigureSpec*, HX_ClientData, char* value,
                                                    char* record, int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    KGRMapEvents* me = mapevents_of(item);
    // The map's buttons reach the map's own options.
    return mapevents_define_taskbar(
        "mapevents_parse_map_taskbar_buttons_definitions", item, &item->map_taskbar,
        &item->map_taskbar_buttons_definitions_string, value, KGRMap::configSpecs,
        reinterpret_cast<char*>(&me->map), "KGRMap");
}

int mapevents_parse_map_taskbar_buttons(HX_ConfigureSpec*, HX_ClientData, char* value, char* record,
                                        int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    return mapevents_show_taskbar("mapevents_parse_map_taskbar_buttons", item, item->map_taskbar,
                                  &item->map_taskbar_buttons_string, value);
}

int mapevents_parse_events_taskbar_buttons_definitions(HX_ConfigureSpec*, HX_ClientData,
                                                       char* value, char* record, int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    return mapevents_define_taskbar("mapevents_parse_events_taskbar_buttons_definitions", item,
                                    &item->events_taskbar,
                                    &item->events_taskbar_buttons_definitions_string, value,
                                    mapevents_command_specs, record, "KGRMapEvents");
}

int mapevents_parse_events_taskbar_buttons(HX_ConfigureSpec*, HX_ClientData, char* value,
                                           char* record, int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    return mapevents_show_taskbar("mapevents_parse_events_taskbar_buttons", item,
                                  item->events_taskbar, &item->events_taskbar_buttons_string,
                                  value);
}

char* mapevents_print_string(HX_ConfigureSpec*, HX_ClientData, char* record, int offset)
{
    const char* text = *reinterpret_cast<char**>(record + offset);
    return strdup(text ? text : "");
}

// ------------------------------------------------------ navigation map

int mapevents_parse_show_nav(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    int mode = 0;
    if (value && strcmp(value, "auto") == 0) {
        mode = KGRMAPEVENTS_NAV_AUTO;
    } else if (value && strcmp(value, "toggle") == 0) {
        mode = mapevents_of(item)->navShown() ? KGRMAPEVENTS_NAV_OFF : KGRMAPEVENTS_NAV_ON;
    } else if ((mode = HX_ParseBoolean(value)) < 0) {
        hx_register_error(0, "mapevents_parse_show_nav: KGR_ParseBoolean(%s) error.\n",
                          value ? value : "");
        return -1;
    }
    item->show_nav = mode;
    mapevents_of(item)->refreshNavVisibility();
    return 0;
}

char* mapevents_print_show_nav(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    switch (mapevents_item_of(record)->show_nav) {
    case KGRMAPEVENTS_NAV_AUTO:
        return strdup("auto");
    case KGRMAPEVENTS_NAV_ON:
        return strdup("yes");
    default:
        return strdup("no");
    }
}

int mapevents_parse_show_nav_refresh(HX_ConfigureSpec*, HX_ClientData, char*, char* record, int)
{
    mapevents_of(mapevents_item_of(record))->refreshNav();
    return 0;
}

// -------------------------------------------------------- update interval

int mapevents_parse_update_interval(HX_ConfigureSpec*, HX_ClientData, char* value, char* record,
                                    int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    char* end = nullptr;
    double interval = value ? fix_strtod(value, &end) : 0;
    if (!value || end == value || *end || !std::isfinite(interval)) {
        hx_register_error(0, "mapevents_parse_update_interval: Error parsing '%s'\n",
                          value ? value : "");
        return -1;
    }
    item->update_interval = interval < 0 ? 0 : interval;
    mapevents_of(item)->restartTimer();
    return 0;
}

// Reals print as the shortest text that reads back, with a decimal point.
char* mapevents_print_update_interval(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    char text[64];
    const double v = mapevents_item_of(record)->update_interval;
    snprintf(text, sizeof text, "%.17g", v);
    for (int precision = 1; std::fabs(v) < 1e15 && precision <= 17; ++precision) {
        snprintf(text, sizeof text, "%.*f", precision, v);
        if (strtod(text, nullptr) == v)
            break;
    }
    return strdup(text);
}

// ------------------------------------------------------------- commands

// events_show: the event and detection symbols on or off.
int mapevents_parse_events_show(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    int on = HX_ParseBoolean(value);
    if (on < 0) {
        hx_register_error(0, "mapevents_parse_events_show: KGR_ParseBoolean(%s) error.\n",
                          value ? value : "");
        return -1;
    }
    if (item->layer_events)
        item->layer_events->setVisible(on != 0);
    mapevents_of(item)->update();
    if (item->layer_events)
        item->layer_events->update();
    return 0;
}

// show_detections as a command: the option, then the items follow it.
int mapevents_parse_detections_show(HX_ConfigureSpec*, HX_ClientData, char* value, char* record,
                                    int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    int on = HX_ParseBoolean(value);
    if (on < 0) {
        hx_register_error(0, "mapevents_parse_detections_show: KGR_ParseBoolean(%s) error.\n",
                          value ? value : "");
        return -1;
    }
    item->show_detections = on;
    KGRMapEvents* me = mapevents_of(item);
    if (item->ppd_events)
        item->ppd_events->setVisible(on && item->display_mode == KGRMAPEVENTS_DISPLAY_NONE);
    if (item->ppd_event)
        item->ppd_event->setVisible(on && item->display_mode == KGRMAPEVENTS_DISPLAY_EVENT);
    if (on) {
        me->refreshEventsDetections();
        me->refreshEventDetections();
    }
    if (item->layer_events)
        item->layer_events->setStale();
    if (item->layer_event)
        item->layer_event->setStale();
    if (me->map.vp)
        me->map.vp->update();
    return 0;
}

// show_latest_event: selects the newest event, as a click on it would.
int mapevents_parse_show_latest_event(HX_ConfigureSpec*, HX_ClientData, char*, char* record, int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    KGRMapEvents* me = mapevents_of(item);
    me->hideEvent();
    me->showEvent(-1, 3, 0);
    if (item->display_mode == KGRMAPEVENTS_DISPLAY_EVENT)
        item->mouse_state = KGRMAPEVENTS_MOUSE_PINNED;
    return 0;
}

// coding_template: "option name" applies the named template to a coding.
int mapevents_parse_coding_template(HX_ConfigureSpec*, HX_ClientData, char* value, char* record,
                                    int)
{
    KgrmapeventsItem* item = mapevents_item_of(record);
    char option[128] = "", name[128] = "";
    if (!value || sscanf(value, "%127s %127s", option, name) != 2) {
        hx_register_error(0, "mapevents_parse_coding_template: Cannot parse '%s'\n",
                          value ? value : "");
        return -1;
    }
    const char* text = static_cast<const char*>(getarr(item->coding_templates, name));
    if (!text) {
        hx_register_error(0, "mapevents_parse_coding_template: No coding template '%s'.\n", name);
        return -1;
    }
    return mapevents_of(item)->configure(option, text, static_cast<char*>(nullptr)) < 0 ? -1 : 0;
}

HX_CustomOption layerEventsOption = {mapevents_parse_layer_events, mapevents_print_layer, nullptr};
HX_CustomOption layerEventOption = {mapevents_parse_layer_event, mapevents_print_layer, nullptr};
HX_CustomOption mapDefinitionsOption = {mapevents_parse_map_taskbar_buttons_definitions,
                                        mapevents_print_string, nullptr};
HX_CustomOption mapButtonsOption = {mapevents_parse_map_taskbar_buttons, mapevents_print_string,
                                    nullptr};
HX_CustomOption eventsDefinitionsOption = {mapevents_parse_events_taskbar_buttons_definitions,
                                           mapevents_print_string, nullptr};
HX_CustomOption eventsButtonsOption = {mapevents_parse_events_taskbar_buttons,
                                       mapevents_print_string, nullptr};
HX_CustomOption showNavOption = {mapevents_parse_show_nav, mapevents_print_show_nav, nullptr};
HX_CustomOption showNavRefreshOption = {mapevents_parse_show_nav_refresh, nullptr, nullptr};
HX_CustomOption updateIntervalOption = {mapevents_parse_update_interval,
                                        mapevents_print_update_interval, nullptr};
HX_CustomOption eventsShowOption = {mapevents_parse_events_show, nullptr, nullptr};
HX_CustomOption detectionsShowOption = {mapevents_parse_detections_show, nullptr, nullptr};
HX_CustomOption latestOption = {mapevents_parse_show_latest_event, nullptr, nullptr};
HX_CustomOption templateOption = {mapevents_parse_coding_template, nullptr, nullptr};

#define MAPEVENTS_CUSTOM(name, def, field, option)                                                 \
    {                                                                                              \
        "custom", name, def, MAPEVENTS_FIELD(field), HX_CONFIGURE_NULL_OK, &option                 \
    }
#define MAPEVENTS_CODING(name, def)                                                                \
    {                                                                                              \
        "coding", #name, def, MAPEVENTS_FIELD(name), 0, nullptr                                    \
    }
#define MAPEVENTS_STATIONS_CODING(fill)                                                            \
    "sy=triangle,sz=8,szg=1.0,cl=constant,fd=1.0,fdg=1.0,ot=#60000000,fi=" fill ",lw=0\n"

} // namespace

HX_ConfigureSpec KGRMapEvents::configSpecs[] = {
    MAPEVENTS_CUSTOM("map_taskbar_buttons_definitions", nullptr,
                     map_taskbar_buttons_definitions_string, mapDefinitionsOption),
    MAPEVENTS_CUSTOM("map_taskbar_buttons", nullptr, map_taskbar_buttons_string, mapButtonsOption),
    MAPEVENTS_CUSTOM("events_taskbar_buttons_definitions", nullptr,
                     events_taskbar_buttons_definitions_string, eventsDefinitionsOption),
    MAPEVENTS_CUSTOM("events_taskbar_buttons", nullptr, events_taskbar_buttons_string,
                     eventsButtonsOption),
    MAPEVENTS_CUSTOM("layer_events", nullptr, layer_events, layerEventsOption),
    MAPEVENTS_CUSTOM("layer_event", nullptr, layer_event, layerEventOption),
    MAPEVENTS_CODING(events_coding, eventsCodingDefault),
    MAPEVENTS_CODING(events_fallback_coding, eventsCodingDefault),
    MAPEVENTS_CODING(event_coding, "sy=bb,sz=15,szg=1.0,cl=depth,fd=1.0,fdg=1.0\n"),
    MAPEVENTS_CODING(event_fallback_coding, eventsCodingDefault),
    MAPEVENTS_CODING(event_stations_coding_defining, MAPEVENTS_STATIONS_CODING("blue")),
    MAPEVENTS_CODING(event_stations_coding_associated, MAPEVENTS_STATIONS_CODING("orange")),
    MAPEVENTS_CODING(event_stations_coding_other, MAPEVENTS_STATIONS_CODING("red")),
    MAPEVENTS_CODING(events_detections_coding,
                     "sy=triangle,sz=age:0:25:1800:12:12:25,szg=1.0,cl=constant,fd=age:0:1:7200:0:"
                     "0:1,ot=#6000000,fdg=1.00,fi=magenta,lw=0\n"),
    MAPEVENTS_CODING(event_detections_coding,
                     "sy=triangle,sz=ageresid:5:16:5.001:12:12:16,szg=1.0,cl=constant,fd=ageresid:"
                     "5:1:5.001:0.5:0.5:1,fdg=1.0,ot=#60000000,fi=cyan,lw=0\n"),
    {"boolean", "show_detections", "yes", MAPEVENTS_FIELD(show_detections), 0, nullptr},
    {"boolean", "auto_center", "no", MAPEVENTS_FIELD(auto_center), 0, nullptr},
    MAPEVENTS_CUSTOM("show_nav", "auto", show_nav, showNavOption),
    MAPEVENTS_CUSTOM("show_nav_refresh", nullptr, show_nav, showNavRefreshOption),
    MAPEVENTS_CUSTOM("update_interval", "10.0", update_interval, updateIntervalOption),
    {"double", "max_age_detections", "86400", MAPEVENTS_FIELD(max_age_detections), 0, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

// Commands of the events button bar (they act on the map events' record).
HX_ConfigureSpec mapevents_command_specs[] = {
    MAPEVENTS_CUSTOM("events_show", nullptr, layer_events, eventsShowOption),
    MAPEVENTS_CUSTOM("detections_show", nullptr, show_detections, detectionsShowOption),
    MAPEVENTS_CUSTOM("show_latest_event", nullptr, event, latestOption),
    MAPEVENTS_CUSTOM("coding_template", nullptr, coding_templates, templateOption),
    {"boolean", "auto_center", nullptr, MAPEVENTS_FIELD(auto_center), 0, nullptr},
    MAPEVENTS_CUSTOM("show_nav", nullptr, show_nav, showNavOption),
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

// --------------------------------------------------------------- codings

KgrpolypointCoding* mapevents_coding_of(KgrmapeventsItem* item, const char* option)
{
    for (HX_ConfigureSpec* s = KGRMapEvents::configSpecs; strcmp(s->type, "end") != 0; ++s)
        if (strcmp(s->type, "coding") == 0 && strcmp(s->name, option) == 0)
            return reinterpret_cast<KgrpolypointCoding*>(reinterpret_cast<char*>(item) + s->offset);
    return nullptr;
}

void mapevents_clear_coding(KgrpolypointCoding* coding)
{
    mapevents_free_coding(coding);
    memset(static_cast<void*>(coding), 0, sizeof *coding);
    coding->symbol = coding->size = coding->color = coding->fader = KGR_CODING_UNSET;
    coding->size_gain = coding->fader_gain = 1.0;
    for (KgrpolypointCodingScaling* s : {&coding->size_scaling, &coding->fader_scaling})
        s->coding_min = s->coding_max = KGR_UNSET;
}

void mapevents_free_coding(KgrpolypointCoding* coding)
{
    KGR_ClearColor(&coding->fi);
    KGR_ClearColor(&coding->fin);
    KGR_ClearColor(&coding->ot);
}

int mapevents_parse_coding_option(HX_ConfigureSpec* spec, char* value, char* record)
{
    if (strcmp(spec->type, "coding") != 0)
        return HX_TYPE_NOT_MINE;
    KgrmapeventsItem* item = mapevents_item_of(record);
    auto* coding = reinterpret_cast<KgrpolypointCoding*>(record + spec->offset);
    if (mapevents_parse_coding(value ? value : "", coding) < 0)
        return -1;
    KGRMapEvents* me = mapevents_of(item);
    std::string& text = me->coding_texts[spec->name];
    text = mapevents_merge_coding(text, value);
    spec->specFlags |= HX_CONFIGURE_CHANGED;
    mapevents_apply_coding(me, spec->name);
    return 0;
}

char* mapevents_print_coding_option(HX_ConfigureSpec* spec, char* record)
{
    if (strcmp(spec->type, "coding") != 0)
        return nullptr;
    KGRMapEvents* me = mapevents_of(mapevents_item_of(record));
    auto found = me->coding_texts.find(spec->name);
    return strdup(found == me->coding_texts.end() ? "" : found->second.c_str());
}

// --------------------------------------------------------------- defaults

// The events bar, in the upper right corner: events and detections on or
// off, automatic centring, the navigation map, and the newest event.
const char* const mapevents_default_events_buttons_definitions =
    "buttons_definitions &Arr{\n"
    "    mapevents_events &Arr{\n"
    "        kgr_layer    mapevents_button_events\n"
    "        width        70\n"
    "        description  Event symbols\n"
    "        states &Arr{\n"
    "            shown &Arr{\n"
    "                label        Events\n"
    "                order        0\n"
    "                action       configure events_show yes\n"
    "                description  shown\n"
    "            }\n"
    "            hidden &Arr{\n"
    "                label            Events\n"
    "                order            1\n"
    "                show_not_symbol  yes\n"
    "                fill_color       gray\n"
    "                action           configure events_show no\n"
    "                description      hidden\n"
    "            }\n"
    "        }\n"
    "    }\n"
    "    mapevents_detections &Arr{\n"
    "        kgr_layer    mapevents_button_detections\n"
    "        width        90\n"
    "        description  Detection symbols\n"
    "        states &Arr{\n"
    "            shown &Arr{\n"
    "                label        Detections\n"
    "                order        0\n"
    "                action       configure detections_show yes\n"
    "                description  shown\n"
    "            }\n"
    "            hidden &Arr{\n"
    "                label            Detections\n"
    "                order            1\n"
    "                show_not_symbol  yes\n"
    "                fill_color       gray\n"
    "                action           configure detections_show no\n"
    "                description      hidden\n"
    "            }\n"
    "        }\n"
    "    }\n"
    "    mapevents_center &Arr{\n"
    "        kgr_layer    mapevents_button_center\n"
    "        width        70\n"
    "        description  Centring on the selected event\n"
    "        states &Arr{\n"
    "            off &Arr{\n"
    "                label            Centre\n"
    "                order            0\n"
    "                show_not_symbol  yes\n"
    "                fill_color       gray\n"
    "                action           configure auto_center no\n"
    "                description      off\n"
    "            }\n"
    "            on &Arr{\n"
    "                label        Centre\n"
    "                order        1\n"
    "                action       configure auto_center yes\n"
    "                description  on\n"
    "            }\n"
    "        }\n"
    "    }\n"
    "    mapevents_nav &Arr{\n"
    "        kgr_layer    mapevents_button_nav\n"
    "        width        80\n"
    "        description  Navigation map\n"
    "        states &Arr{\n"
    "            auto &Arr{\n"
    "                label        Nav auto\n"
    "                order        0\n"
    "                action       configure show_nav auto\n"
    "                description  when zoomed in\n"
    "            }\n"
    "            on &Arr{\n"
    "                label        Nav\n"
    "                order        1\n"
    "                action       configure show_nav yes\n"
    "                description  shown\n"
    "            }\n"
    "            off &Arr{\n"
    "                label            Nav\n"
    "                order            2\n"
    "                show_not_symbol  yes\n"
    "                fill_color       gray\n"
    "                action           configure show_nav no\n"
    "                description      hidden\n"
    "            }\n"
    "        }\n"
    "    }\n"
    "    mapevents_latest &Arr{\n"
    "        kgr_layer    mapevents_button_latest\n"
    "        width        60\n"
    "        description  Select the newest event\n"
    "        label        Latest\n"
    "        action       configure show_latest_event yes\n"
    "    }\n"
    "    mapevents_colour &Arr{\n"
    "        kgr_layer    mapevents_button_colour\n"
    "        width        70\n"
    "        description  Colour of the event symbols\n"
    "        states &Arr{\n"
    "            depth &Arr{\n"
    "                label        Depth\n"
    "                order        0\n"
    "                action       configure coding_template events_coding depth\n"
    "                description  by depth\n"
    "            }\n"
    "            age &Arr{\n"
    "                label        Age\n"
    "                order        1\n"
    "                action       configure coding_template events_coding age\n"
    "                description  grey, fading with age over a week\n"
    "            }\n"
    "        }\n"
    "    }\n"
    "}\n";

const char* const mapevents_default_events_buttons =
    "buttons &Tbl{\n"
    "    mapevents_events     neb right-8 top-8\n"
    "    mapevents_detections neb right-82 top-8\n"
    "    mapevents_center     neb right-176 top-8\n"
    "    mapevents_nav        neb right-250 top-8\n"
    "    mapevents_latest     neb right-334 top-8\n"
    "    mapevents_colour     neb right-398 top-8\n"
    "}\n";

// Coding templates: name and the coding text it applies.
const char* const mapevents_default_coding_templates[][2] = {
    {"depth", "cl=depth,fd=1.0\n"},
    {"age", "cl=constant,fi=#a0a0a0,fd=age:0:1:604800:0.2:0.2:1\n"},
    {nullptr, nullptr},
};

int mapevents_install_defaults(KGRMapEvents* me)
{
    KgrmapeventsItem& item = me->mapevents;
    if (!item.coding_templates && !(item.coding_templates = newarr(nullptr))) {
        hx_register_error(1, "mapevents_install_defaults: newarr(coding_templates) error.\n");
        return -1;
    }
    for (int i = 0; mapevents_default_coding_templates[i][0]; ++i)
        setarr(item.coding_templates, mapevents_default_coding_templates[i][0],
               const_cast<char*>(mapevents_default_coding_templates[i][1]));
    return me->configure("events_taskbar_buttons_definitions",
                         mapevents_default_events_buttons_definitions, "events_taskbar_buttons",
                         mapevents_default_events_buttons, static_cast<char*>(nullptr)) < 0
               ? -1
               : 0;
}
