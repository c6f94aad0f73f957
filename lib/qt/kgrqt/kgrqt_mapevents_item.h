// Map events internals shared by its source files (private to the library
// and its tests): the option procedures, the default button bars and the
// helpers that the class and the procedures share.
#ifndef KGRQT_MAPEVENTS_ITEM_H
#define KGRQT_MAPEVENTS_ITEM_H

#include "KGRMapEvents.h"
#include "kgrqt_map.h"

// The map events item behind an option procedure's record pointer.
inline KgrmapeventsItem* mapevents_item_of(char* record)
{
    return reinterpret_cast<KgrmapeventsItem*>(record);
}

inline KGRMapEvents* mapevents_of(KgrmapeventsItem* item)
{
    return static_cast<KGRMapEvents*>(item->object_ptr);
}

// Type parser and printer of the option type "coding" (HX_TYPE_NOT_MINE
// and null for other types). A coding prints as the entries applied so
// far, each key once, in the order first given.
int mapevents_parse_coding_option(HX_ConfigureSpec* spec, char* value, char* record);
char* mapevents_print_coding_option(HX_ConfigureSpec* spec, char* record);

// The coding record an option names, or null.
KgrpolypointCoding* mapevents_coding_of(KgrmapeventsItem* item, const char* option);
// A coding record before its default text: every mode unset, gains 1, no
// scaling limits.
void mapevents_clear_coding(KgrpolypointCoding* coding);
void mapevents_free_coding(KgrpolypointCoding* coding);

// The default texts that init installs.
extern const char* const mapevents_default_events_buttons_definitions;
extern const char* const mapevents_default_events_buttons;
extern const char* const mapevents_default_coding_templates[][2];

// Installs the default buttons and coding templates; 0 or -1.
int mapevents_install_defaults(KGRMapEvents* mapevents);
// The commands that the buttons of the events bar run (installed on it).
extern HX_ConfigureSpec mapevents_command_specs[];

// An empty point vector under name (a fresh unique name is written into
// it); 0 or -1 (registered).
int mapevents_create_vector(KgrmapeventsItem* item, char* name, const char* suffix);
// Frees the vector named and clears the name.
void mapevents_free_vector(char* name);

// Makes a polypoint on a viewport with name/value options; null (after
// registering the exception) when it cannot be made.
KGRPolypoint* mapevents_make_polypoint(KGRViewport* vp, const char* const* options);

// Whether a station or detection has a position.
bool mapevents_known_position(double lat, double lon);
// The points of a vector into a polypoint; no points empty it.
void mapevents_take_vector(KGRPolypoint* pp, const char* vec, int npts);
// Null-tolerant visibility and staleness of the items a map events may lack.
void mapevents_set_visible(QWidget* widget, bool visible);
void mapevents_set_stale(KGRLayer* layer);

#endif
