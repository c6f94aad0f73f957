// Taskbar internals shared by its two source files (private to the library
// and its tests): reading button definitions, and showing and hiding the
// buttons.
#ifndef KGRQT_TASKBAR_H
#define KGRQT_TASKBAR_H

#include "KGRTaskbar.h"

struct Pf;

// Reads the definitions of a compiled text into a new array of button name
// to KGRTaskbarButtonParams*, stored in tb->buttons_definitions. Returns 0,
// or -1 (registered) with nothing built.
int taskbar_read_buttons_definitions(KgrtaskbarItem* tb, Pf* pf);

// Reads one state array of a button: a new record, or null (registered).
KGRTaskbarButtonStateParams* taskbar_parse_button_state(KgrtaskbarItem* tb,
                                                        KGRTaskbarButtonParams* params, Pf* pf);

// Sets a state colour: "$BACKGROUND" copies the taskbar's background, an
// empty string leaves it unset, anything else is a colour string. 0 or -1.
int taskbar_get_color(KgrtaskbarItem* tb, const char* value, KGR_Color* color);

// Sort order of states: the difference of their orders.
int taskbar_states_compare(void* a, void* b, void* private_data);

// Takes a shown button off the viewport: its callbacks leave the picker,
// its text and layer are deleted.
void taskbar_hide_button(KGRTaskbarButtonParams* params);

// Hides every shown button and empties the list of shown buttons.
void taskbar_hide_buttons(KgrtaskbarItem* tb);

#endif
