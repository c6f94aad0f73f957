// kgrqt: KGRConfigure, the option engine of the widget classes, and the
// construction steps that every widget class takes.
#ifndef KGRCONFIGURE_H
#define KGRCONFIGURE_H

#include "KGR.h"
#include "hxutil.h"

#include <cstdlib>
#include <cstring>

class QWidget;

// The option engine with the library's own option types "color" and "font".
class KGRConfigure : public HXConfigure {
public:
    KGRConfigure();
};

// Type parser of "color" and "font"; HX_TYPE_NOT_MINE (3) for other types.
int KGRConfigure_ParseConfigValue(HX_ConfigureSpec* spec, char* value, char* record);
// Type printer of "color" and "font": a malloc'd string that the parser
// accepts, or null for other types.
char* KGRConfigure_PrintConfigValue(HX_ConfigureSpec* spec, char* record);

// Releases what the string, colour and font rows of a table own in record
// (a destructor's first step); custom and pointer fields are the class's.
void KGRConfigure_FreeRecord(HX_ConfigureSpec* specs, char* record);

// Construction of a widget class: the steps that every class takes, in
// order. A class's init calls kgrqt_init_item with its record, its
// start-value step (fields that must not start at zero, links to the
// viewport) and its registration step (registering with the viewport, for
// items that live inside one). Widget must have the members configSpecs,
// debug and class_name.
//
//   void KGRLogo::init(QWidget* parent)
//   {
//       kgrqt_init_item(this, parent, &logo, "KGRLogo", "KGRLogo::init: setParent() error.",
//                       [&](KgrlogoItem&) { ... }, [&] { vp->registerItem(this); });
//   }
//
// Throws setParentError when QWidget::setParent throws a character string;
// throws "kgrqt_init_item: setConfigureSpecs() error." when the defaults of
// the table could not be applied (the register says which).
template <class Widget, class Record, class StartValues, class Register>
void kgrqt_init_item(Widget* self, QWidget* parent, Record* record, const char* className,
                     const char* setParentError, StartValues&& startValues, Register&& registerItem)
{
    try {
        self->setParent(parent);
    } catch (const char*) {
        throw setParentError;
    }
    std::memset(static_cast<void*>(record), 0, sizeof *record);
    startValues(*record);
    self->debug = 0;
    if (self->setConfigureSpecs(Widget::configSpecs, reinterpret_cast<char*>(record), className) <
        0)
        throw "kgrqt_init_item: setConfigureSpecs() error.";
    registerItem();
    self->setAutoFillBackground(false);
    free(self->class_name);
    self->class_name = strdup(className);
}

// Runs a constructor's init, turning its character-string exception into
// the constructor's own.
template <class Init> void kgrqt_construct(Init&& init, const char* initError)
{
    try {
        init();
    } catch (const char*) {
        throw initError;
    }
}

#endif
