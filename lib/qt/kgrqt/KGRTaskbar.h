// kgrqt taskbar: text buttons on a viewport, defined and listed by two
// parameter texts.
#ifndef KGRTASKBAR_H
#define KGRTASKBAR_H

#include "KGR.h"
#include "KGRConfigure.h"
#include "KGRViewport.h"
#include "hxutil.h"

#include <QWidget>

class QEvent;
class KGRLayer;
class KGRPicker;
class KGRTaskbar;
class KGRText;

struct KGRTaskbarButtonParams {
    KGRTaskbar* taskbar;
    char* description;
    int width;
    int height;
    char* kgr_layer_name;
    KGRLayer* kgr_layer;
    KGRText* kgr_text;
    int current;
    Tbl* states;
};

struct KGRTaskbarButtonStateParams {
    KGRTaskbarButtonParams* buttonparams;
    char* label;
    char* description;
    Tbl* action;
    double opacity;
    KGR_Color fill_color;
    KGR_Color background_color;
    int show_not_symbol;
    int order;
};

struct KgrtaskbarItem {
    QWidget* parent;
    KGR_Color background;
    char* buttons_definitions_string;
    Arr* buttons_definitions;
    char* buttons_string;
    Tbl* buttons;
    char* debug;
    void* object_ptr;
    char* picker_name;
    KGRPicker* picker;
    KGRViewport* vp;
    KgrviewportItem* viewport;
};

class KGRTaskbar : public KGRConfigure, public QWidget {
public:
    explicit KGRTaskbar(KGRViewport* viewport);
    ~KGRTaskbar() override;

    void init(KGRViewport* viewport);

    KgrtaskbarItem taskbar;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];
};

int taskbar_button_callback(int kind, void* clientdata, QEvent* event);
void taskbar_free_buttons_definition(void* params);
void taskbar_free_buttons_state_definition(void* params);

#endif
