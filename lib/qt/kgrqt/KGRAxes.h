// kgrqt axes: the box, tics, numbers and labels of a viewport's axes,
// linear, logarithmic or time.
#ifndef KGRAXES_H
#define KGRAXES_H

#include "KGR.h"
#include "KGRConfigure.h"
#include "KGRViewport.h"
#include "hxutil.h"

#include <QWidget>

class QPaintEvent;
class QPainter;
class KGRLayer;

struct KgraxesItem {
    int xvisible;
    int yvisible;
    KGR_Color foreground_labels;
    KGR_Color foreground_numbers;
    KGR_Color foreground_axes;
    KGR_Color x_time_axes;
    char* x_label;
    char* y_label;
    char* x_format;
    char* y_format;
    char* x_time_format;
    char* x_date_format;
    char* axis_style;
    char* tic_style;
    char tic_style_west;
    char tic_style_north;
    char tic_style_east;
    char tic_style_south;
    KGR_Font font_labels;
    KGR_Font font_numbers;
    KGR_Font font_supers;
    double xincr_num;
    double xincr_sml;
    double yincr_num;
    double yincr_sml;
    int boxwidth;
    int xtimewidth;
    int xwidth_big;
    int xwidth_sml;
    double xticlength_sml;
    double xticlength_big;
    int ywidth_big;
    int ywidth_sml;
    double yticlength_sml;
    double yticlength_big;
    int mindx;
    int mindy;
    int style;
    KGRViewport* vp;
    KgrviewportItem* viewport;
    KGRLayer* layer;
};

class KGRAxes : public KGRConfigure, public QWidget {
public:
    explicit KGRAxes(KGRViewport* viewport);
    ~KGRAxes() override;

    void init(KGRViewport* viewport);
    void setLayer(KGRLayer* layer);
    void draw_box(int w, int h, QPainter& painter);
    void draw_tics(int w, int h, QPainter& painter);
    void draw_x_label(QPainter& painter);
    void draw_y_label(QPainter& painter);
    // Major and minor steps of a time axis spanning span seconds; power
    // receives the power of ten the count was scaled by.
    static void choose_scale(double span, int least, int greatest, double* divisions,
                             int ndivisions, double* major, double* minor, int* power);
    // A newly allocated time-label format for a major step in seconds.
    static char* choose_time_format(double increment);
    void label_x_tic(QPainter& painter, char* label, double fraction, double value);
    void draw_xtime_axis(QPainter& painter, double tstart, double tend);
    void draw_x_tic_labels(QPainter& painter, int w, double x1, double x2);
    void draw_y_tic_labels(QPainter& painter, int h, double y1, double y2);
    // A decade's label: "10" at the tic, its exponent as a superscript.
    void draw_power_of_ten(QPainter& painter, double fraction, double exponent, bool xaxis,
                           const char* gap);
    void draw(QPainter& painter);
    // The parts of draw, in order, once the scales are known.
    void draw_annotation(QPainter& painter, int w, int h, double x1, double x2, double y1,
                         double y2, bool map);

    KgraxesItem axes;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

protected:
    void paintEvent(QPaintEvent* event) override;
};

#endif
