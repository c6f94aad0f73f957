// The look of the programs' button bars.
#ifndef KGRQT_APP_TASKBAR_H
#define KGRQT_APP_TASKBAR_H

class KGRTaskbar;

// Gives every shown button of a taskbar a font and a box outline; 0, or -1
// with the reason in the error register.
int app_style_buttons(KGRTaskbar* taskbar, const char* font, const char* outline);

#endif
