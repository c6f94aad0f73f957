// Map internals shared by its source files (private to the library and its
// tests): the option procedures that read layer definitions, layer lists
// and templates, and the navigation steps.
#ifndef KGRQT_MAP_H
#define KGRQT_MAP_H

#include "KGRMap.h"
#include "KGRViewport.h"

#include <cstdlib>
#include <cstring>

// The map's record behind an option procedure's record pointer.
inline KgrmapItem* map_item_of(char* record)
{
    return reinterpret_cast<KgrmapItem*>(record);
}

inline bool map_value_is_empty(const char* value)
{
    return !value || !*value;
}

// Replaces an owned string field with a copy of value (null clears it).
inline void map_replace_string(char** field, const char* value)
{
    free(*field);
    *field = value ? strdup(value) : nullptr;
}

// Option procedures of the map's table (record is the KgrmapItem).
int map_parse_maplayer_definitions(HX_ConfigureSpec*, HX_ClientData, char* value, char* record,
                                   int);
char* map_print_maplayer_definitions(HX_ConfigureSpec*, HX_ClientData, char* record, int);
int map_parse_maplayers(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int);
char* map_print_maplayers(HX_ConfigureSpec*, HX_ClientData, char* record, int);
int map_parse_define_maplayers_template(HX_ConfigureSpec*, HX_ClientData, char* value, char* record,
                                        int);
int map_parse_maplayers_template(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int);
int map_parse_maplayer_show(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int);
int map_parse_maplayer_hide(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int);
int map_parse_maplayer_visibility_toggle(HX_ConfigureSpec*, HX_ClientData, char* value,
                                         char* record, int);
int map_parse_zoom(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int);
int map_process_mouse_events(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int);
int map_parse_buttons_definitions(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int);
char* map_print_buttons_definitions(HX_ConfigureSpec*, HX_ClientData, char* record, int);
int map_parse_buttons(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int);
char* map_print_buttons(HX_ConfigureSpec*, HX_ClientData, char* record, int);
int map_parse_set_projection(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int);

// A colour of a layer definition: "" leaves it unset, "$FILL_WATER" and
// "$FILL_LAND" copy the map's colours, anything else is a colour string.
// 0, or -1 (registered) with the colour unset.
int map_get_color(KgrmapItem* item, const char* value, KGR_Color* color);

// Frees a list of malloc'd strings (a layer list).
void map_free_names(Tbl* names);
// Frees the named layer lists of a map.
void map_free_templates(KgrmapItem* item);

// Stacks the off-screen layers of the shown map layers in the order of the
// layer list, bottom first, so that the list decides what covers what.
void map_restack_layers(KgrmapItem* item);

// The plot area's size in pixels.
int map_plot_width(const KgrviewportItem* vp);
int map_plot_height(const KgrviewportItem* vp);

#endif
