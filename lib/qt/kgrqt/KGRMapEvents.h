// The map of seismic events: a map that also shows the events of an event
// database (every event's preferred origin as a symbol, the recent
// detections, and one selected event with its origin, its stations and its
// detections), following the database with a self-rearming timer.
#ifndef KGRMAPEVENTS_H
#define KGRMAPEVENTS_H

#include "KGRLayer.h"
#include "KGRMap.h"
#include "KGRPicker.h"
#include "KGRPolypoint.h"
#include "KGRTaskbar.h"
#include "KGRViewport.h"

#include <array>
#include <map>
#include <set>
#include <string>

class HXEventView;
struct HXEVEvent;
struct HXEVOrigin;
struct HXEVDetectionStachan;
class KGRMapEvents;
class QMouseEvent;
struct HXEVAssoc;

// The update timer: a copyable function object. The record on the heap
// owns the timing and points at itself; the copies that the toolkit fires
// point at it. A negative interval stops the timer: the record deletes
// itself at its next firing.
class MapeventsTimer {
public:
    MapeventsTimer(KGRMapEvents* mapevents, double interval);
    void operator()() const;
    void setInterval(double interval);

    KGRMapEvents* mapevents;
    MapeventsTimer* maptimer;
    double interval;
};

// One station of the selected origin.
struct KgrmapeventsOriginStation {
    char sta[16];
    double lat;
    double lon;
    double distance; // degrees from the origin
    int defining;    // 1 defining, 0 associated, -1 other (detected, not associated)
};

// How the selected event is shown.
enum { KGRMAPEVENTS_DISPLAY_NONE = 0, KGRMAPEVENTS_DISPLAY_EVENT = 1 };
// Selection states of the mouse.
enum {
    KGRMAPEVENTS_MOUSE_NONE = 0,  // nothing selected
    KGRMAPEVENTS_MOUSE_HOVER = 1, // shown while Shift is held over it
    KGRMAPEVENTS_MOUSE_PINNED = 2 // pinned by a click
};
// show_nav values.
enum { KGRMAPEVENTS_NAV_OFF = 0, KGRMAPEVENTS_NAV_ON = 1, KGRMAPEVENTS_NAV_AUTO = 2 };

struct KgrmapeventsItem {
    char* dbname;
    HXEventView* evv;
    Tbl* events;
    Tbl* events_detections;
    Tbl* event_detections;
    double max_age_detections;
    int display_mode;
    HXEVEvent* event;
    int events_ipt;
    int show_detections;
    int auto_center;
    double update_interval;
    MapeventsTimer* timer;
    Arr* coding_templates;
    KgrpolypointCoding events_coding;
    KgrpolypointCoding events_fallback_coding;
    KgrpolypointCoding event_coding;
    KgrpolypointCoding event_fallback_coding;
    KgrpolypointCoding event_stations_coding_defining;
    KgrpolypointCoding event_stations_coding_associated;
    KgrpolypointCoding event_stations_coding_other;
    KgrpolypointCoding events_detections_coding;
    KgrpolypointCoding event_detections_coding;
    int show_nav;
    int mouse_state;
    int events_background;
    char vec[32];
    char vecd_events[32];
    char vecd_event[32];
    KGRViewport* nav_vp;
    KGRPicker* pickern;
    KGRMap* nav;
    KGRTaskbar* map_taskbar;
    KGRTaskbar* events_taskbar;
    char* map_taskbar_buttons_definitions_string;
    char* map_taskbar_buttons_string;
    char* events_taskbar_buttons_definitions_string;
    char* events_taskbar_buttons_string;
    KGRLayer* layer_events;
    KGRLayer* layer_event;
    KGRLayer* layer_nav;
    KGRPolypoint* ppe;
    KGRPolypoint* ppd_events;
    KGRPolypoint* ppd_event;
    KGRPolypoint* pps;
    KGRPolypoint* ppo;
    KGRPolypoint* ppsn;
    KGRPolypoint* ppp;
    KGRPolypoint* pppn;
    KGRPolypoint* ppb;
    void* object_ptr;
};

class KGRMapEvents : public KGRMap {
public:
    // nav: nonzero makes the navigation map at once (see createNav).
    KGRMapEvents(KGRViewport* viewport, int nav = 1);
    ~KGRMapEvents() override;

    void init(int nav);
    int setDatabase(char* name);
    // One database check and the refreshes it calls for; 0, or -1 when the
    // event view could not be reset (the timer then stops).
    virtual int animatorCallback();
    int refreshEvents();
    int refreshEventsDetections();
    int refreshEventDetections();
    void setEventsCoding();
    void setEventsDetectionsCoding();
    void setEventCoding(HXEVEvent* event);
    void setEventDetectionsCoding(HXEVOrigin* origin);
    void showEvent(int ipt, int background, int nocenter);
    void hideEvent();
    void setEventsBackground(int level);
    int createNav();
    void refreshNav();
    void refreshNavVisibility();
    void raisePickers();
    // The map makes or restacks its layers: the event layers go back over
    // them, the pickers over everything.
    void raisePicker() override;
    // The event layers (events, then event), each over its items, just
    // above the highest of the map's own layers; nothing moves when they
    // lie above them already.
    void raiseEventLayers();
    // After the map draws: the navigation map's visibility and, when the
    // view changed, its outline of the view.
    void followView();
    void displayOriginStations(HXEVOrigin* origin);
    int mouseCallback(int kind, void* clientdata, QEvent* event) override;
    int postmouseCallback(int kind, void* clientdata, QEvent* event) override;

    // Codes one point: the origin form (mt null or invalid: no moment
    // tensor) and the detection form.
    int makeSymbols(KGRPolypoint* pp, KgrpolypointCoding* coding, HXEVOrigin* origin,
                    const Dbptr* mt, double v, KgrpolypointPoint* point);
    int makeSymbols(KGRPolypoint* pp, KgrpolypointCoding* coding, HXEVDetectionStachan* detection,
                    double v, KgrpolypointPoint* point);

    // Whether the navigation map is on screen now.
    bool navShown() const;

    KgrmapeventsItem mapevents;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

    // Restarts the update timer with update_interval (with a database).
    void restartTimer();
    // The timer records alive (each removes itself when it ends).
    void timerEnded(MapeventsTimer* record);
    void timerStarted(MapeventsTimer* record);

    // The number that names this item's vectors and objects.
    int instance = 0;
    // The text of each coding option as applied so far, by option name.
    std::map<std::string, std::string> coding_texts;

private:
    void makeEventItems();
    void placeEventItems();
    void watchItems();
    void stopTimer();
    void startTimer();
    void resetDisplay();
    void showNewest();
    void refreshDetectionsShown();
    void centerOn(double lon, double lat);
    bool showOrigin(HXEVOrigin* origin);
    void addOtherStations(HXEVOrigin* origin,
                          std::map<std::string, KgrmapeventsOriginStation>& stations);
    int mousePress(QMouseEvent* event);
    void mouseMove(QMouseEvent* event);
    void refreshDetectionVector(const char* vec, KGRPolypoint** pp, Tbl* detections);
    void placeNav();
    std::set<MapeventsTimer*> timers;
    std::set<void*> watched;
    QObject* resizeWatcher = nullptr;
    // The view that the navigation map's outline was last drawn for.
    std::array<double, 9> navView{};
};

// The viewport's paint callback of a map events item: the navigation map
// follows what the map shows.
int mapevents_paint_callback(int kind, void* clientdata, QEvent* event);

#endif
