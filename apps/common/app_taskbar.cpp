#include "app_taskbar.h"

#include "kgrqt.h"

int app_style_buttons(KGRTaskbar* taskbar, const char* font, const char* outline)
{
    Tbl* names = keysarr(taskbar->taskbar.buttons_definitions);
    int result = 0;
    for (int i = 0; i < maxtbl(names); ++i) {
        auto* button = static_cast<KGRTaskbarButtonParams*>(
            getarr(taskbar->taskbar.buttons_definitions, static_cast<char*>(gettbl(names, i))));
        if (button && button->kgr_text &&
            button->kgr_text->configure("font", font, "outline", outline,
                                        static_cast<char*>(nullptr)) < 0)
            result = -1;
    }
    freetbl(names, nullptr);
    return result;
}
