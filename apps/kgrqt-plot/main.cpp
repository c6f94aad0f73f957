// Plots the channels of a miniSEED file, stacked on one time axis, or the
// trace of a two-column text file; or the events of a catalogue on a map.
//
//   kgrqt-plot [--snapshot FILE] [--size WIDTHxHEIGHT] [--ratio R] [--color COLOUR] FILE
//   kgrqt-plot [...] --synthetic N
//   kgrqt-plot [--snapshot FILE] [--size WxH] [--projection geog|merc|edp] --catalogue FILE
//
// --synthetic N plots a random walk of N samples at 100 Hz instead of a
// file (10000000 is a day of a 100 Hz channel plus a sixth).
// With a display the plot opens in a window: the wheel zooms about the
// pointer, dragging pans, the buttons toggle the grid, the crosshairs and a
// logarithmic amplitude scale. Without one (or with --snapshot) it is
// rendered into a file whose path is printed: SVG or PDF when its name
// ends so, PNG otherwise (at R device pixels a pixel with --ratio). A file
// that cannot be read ends the program with exit code 2.
//
// --catalogue shows a text catalogue (format in catalogue_text.h and in
// --help) on a map: symbols coloured by depth and sized by magnitude, beach
// balls for events with moment tensors, the event under the pointer in a
// tool tip.
#include "CatalogueMap.h"
#include "PlotView.h"
#include "app_args.h"
#include "plot_trace.h"
#include "synthetic_trace.h"

#include "kgrqt.h"

#include <QApplication>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

const char* const kUsage =
    "usage: kgrqt-plot [--snapshot FILE.png|.svg|.pdf] [--size WIDTHxHEIGHT]\n"
    "                  [--ratio R] [--color COLOUR] FILE\n"
    "       kgrqt-plot [...] --synthetic N\n"
    "       kgrqt-plot [--snapshot FILE] [--size WxH] [--projection geog|merc|edp]\n"
    "                  --catalogue CATALOGUE\n";
const char* const kHelp =
    "\nFILE is miniSEED, or text with one \"time-or-x y\" point a line.\n"
    "--synthetic N plots a random walk of N samples at 100 Hz.\n"
    "--catalogue plots a text catalogue on a map (--projection: geog, the\n"
    "default, plain longitude and latitude; merc, Mercator; edp, equidistant\n"
    "about the largest event). One event a line, blank-separated:\n"
    "  TIME LAT LON DEPTH MAG [MRR MTT MPP MRT MRP MTP EXP]\n"
    "TIME is ISO 8601 UTC (2011-03-11T05:46:24.12Z), LAT and LON degrees\n"
    "north and east, DEPTH km, MAG the magnitude. The optional moment tensor\n"
    "is given as the Global CMT catalogue lists it: components in the order\n"
    "Mrr Mtt Mpp Mrt Mrp Mtp (r up, theta south, phi east), each times\n"
    "10^EXP dyne-cm. \"#\" starts a comment line.\n"
    "Symbols are coloured by depth (blue at the surface to red at 650 km)\n"
    "and sized by magnitude; events with a tensor are beach balls.\n"
    "Without a display (or with --snapshot) the plot goes to a file.\n";
// The most channels of one file shown stacked.
const int kMaxChannels = 12;
// Line colours of the channels after the first.
const char* const kChannelColours[] = {"darkred", "darkgreen", "purple", "teal", "saddlebrown"};
const char* const kTraceVector = "kgrqt-plot";

struct Options {
    const char* file = nullptr;
    const char* snapshot = nullptr;
    const char* colour = "navy";
    int width = 900;
    int height = 400;
    long synthetic = 0;          // samples of a synthetic trace instead of a file
    const char* ratio = nullptr; // device pixels per pixel of a PNG snapshot
    const char* catalogue = nullptr;
    const char* projection = "geog";
    bool sized = false; // --size given
};

// Reads the command line; false after printing what is wrong.
bool parseOptions(int argc, char** argv, Options* options)
{
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (strcmp(arg, "--help") == 0 || strcmp(arg, "-h") == 0) {
            printf("%s%s", kUsage, kHelp);
            exit(0);
        } else if (strcmp(arg, "--catalogue") == 0 && hasValue) {
            options->catalogue = argv[++i];
        } else if (strcmp(arg, "--projection") == 0 && hasValue) {
            options->projection = argv[++i];
            if (strcmp(options->projection, "geog") && strcmp(options->projection, "merc") &&
                strcmp(options->projection, "edp")) {
                fprintf(stderr, "kgrqt-plot: bad projection '%s' (geog, merc or edp)\n",
                        options->projection);
                return false;
            }
        } else if (strcmp(arg, "--snapshot") == 0 && hasValue) {
            options->snapshot = argv[++i];
        } else if (strcmp(arg, "--ratio") == 0 && hasValue) {
            options->ratio = argv[++i];
            if (!app_parse_ratio(options->ratio)) {
                fprintf(stderr, "kgrqt-plot: bad ratio '%s' (1 to 8)\n", options->ratio);
                return false;
            }
        } else if (strcmp(arg, "--color") == 0 && hasValue) {
            options->colour = argv[++i];
        } else if (strcmp(arg, "--size") == 0 && hasValue) {
            options->sized = true;
            if (!app_parse_size(argv[++i], &options->width, &options->height)) {
                fprintf(stderr, "kgrqt-plot: bad size '%s' (50x50 to 10000x10000)\n", argv[i]);
                return false;
            }
        } else if (strcmp(arg, "--synthetic") == 0 && hasValue) {
            if (!plot_parse_synthetic(argv[++i], &options->synthetic)) {
                fprintf(stderr, "kgrqt-plot: bad sample count '%s' (%ld to %ld)\n", argv[i],
                        kPlotSyntheticMin, kPlotSyntheticMax);
                return false;
            }
        } else if (arg[0] == '-' && arg[1] != '\0') {
            fprintf(stderr, "kgrqt-plot: unknown option '%s'\n%s", arg, kUsage);
            return false;
        } else if (!options->file) {
            options->file = arg;
        } else {
            fprintf(stderr, "kgrqt-plot: more than one file\n%s", kUsage);
            return false;
        }
    }
    if (options->catalogue && (options->file || options->synthetic)) {
        fprintf(stderr, "kgrqt-plot: a catalogue or a trace, not both\n%s", kUsage);
        return false;
    }
    if (options->catalogue)
        return true;
    if (options->file && options->synthetic) {
        fprintf(stderr, "kgrqt-plot: a file or --synthetic, not both\n%s", kUsage);
        return false;
    }
    if (!options->file && !options->synthetic)
        fprintf(stderr, "%s", kUsage);
    return options->file != nullptr || options->synthetic > 0;
}

// Prints the register's messages after a short lead, then empties it.
void reportFailure(const char* what)
{
    char* text = hx_register_text();
    fprintf(stderr, "kgrqt-plot: %s\n%s", what, text ? text : "");
    free(text);
    hx_clear_register(0);
}

std::string timeText(double epoch)
{
    char* text = epoch2str(epoch, "%Y-%m-%dT%H:%M:%S.%s");
    std::string s = text ? text : "?";
    free(text);
    return s;
}

// The handle under which channel i is published for its polyline.
std::string handleOf(int i)
{
    return std::string(kTraceVector) + "-" + std::to_string(i);
}

void describe(const PlotTrace& trace, const std::string& handle)
{
    double x0 = 0, x1 = 0, y0 = 0, y1 = 0;
    hxvector_extent(handle.c_str(), &x0, &x1, &y0, &y1);
    printf("%s: %zu points in %d segment%s, %s to %s, values %g to %g\n", trace.name.c_str(),
           trace.x.size() - (trace.segments - 1), trace.segments, trace.segments == 1 ? "" : "s",
           timeText(x0).c_str(), timeText(x1).c_str(), y0, y1);
}

// A channel's title: its name with dots, and when it starts.
std::string titleOf(const PlotTrace& trace)
{
    std::string name = trace.name;
    for (char& c : name)
        if (c == '_')
            c = '.';
    const double start = trace.x.empty() ? 0 : trace.x.front();
    return name + "   " + timeText(start).substr(0, 19).replace(10, 1, " ") + " UTC";
}

// Reads the file or makes the synthetic trace; false after reporting why.
bool readChannels(const Options& options, std::vector<PlotTrace>* traces)
{
    int read = 0;
    if (options.synthetic) {
        traces->assign(1, PlotTrace());
        read = plot_synthetic_trace(options.synthetic, 1, &traces->front());
    } else {
        read = plot_read_channels(options.file, kMaxChannels, traces);
    }
    for (size_t i = 0; read == 0 && i < traces->size(); ++i)
        read = plot_publish((*traces)[i], handleOf(static_cast<int>(i)).c_str());
    if (read < 0) {
        const std::string what = options.synthetic ? "a synthetic trace" : options.file;
        reportFailure(("cannot plot '" + what + "'").c_str());
        return false;
    }
    for (size_t i = 0; i < traces->size(); ++i)
        describe((*traces)[i], handleOf(static_cast<int>(i)));
    if (!traces->empty() && traces->front().otherChannels > 0)
        printf("(%d more channel%s in the file not shown)\n", traces->front().otherChannels,
               traces->front().otherChannels == 1 ? "" : "s");
    return true;
}

int showChannels(PlotView& view, const Options& options, const std::vector<PlotTrace>& traces)
{
    for (size_t i = 0; i < traces.size(); ++i) {
        const char* colour =
            i == 0 ? options.colour
                   : kChannelColours[(i - 1) % (sizeof kChannelColours / sizeof *kChannelColours)];
        if (view.showTrace(handleOf(static_cast<int>(i)).c_str(), titleOf(traces[i]).c_str(),
                           colour) < 0) {
            reportFailure("cannot show the trace");
            return -1;
        }
    }
    return 0;
}

// The catalogue's window: a map the size asked for (1000 x 560 by default).
int showCatalogue(const Options& options, const std::vector<CatalogueEvent>& events)
{
    KGRViewport* vp = new KGRViewport(nullptr);
    std::unique_ptr<KGRViewport> owner(vp);
    vp->setWindowTitle(QString("kgrqt-plot: ") + options.catalogue);
    vp->resize(options.sized ? options.width : 1000, options.sized ? options.height : 560);
    auto* map = new CatalogueMap(vp);
    if (map->show(events, options.projection) < 0) {
        reportFailure("cannot show the catalogue");
        return 2;
    }
    if (options.snapshot)
        return plot_write_snapshot(*map, options.snapshot) < 0 ? 2 : 0;
    vp->show();
    return QApplication::exec();
}

// Reads the catalogue; false after reporting why.
bool readCatalogue(const char* path, std::vector<CatalogueEvent>* events)
{
    if (plot_read_catalogue(path, events) < 0) {
        reportFailure((std::string("cannot plot '") + path + "'").c_str());
        return false;
    }
    int tensors = 0;
    for (const CatalogueEvent& e : *events)
        tensors += e.hasTensor;
    printf("%s: %zu events, %d with a moment tensor\n", path, events->size(), tensors);
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!parseOptions(argc, argv, &options))
        return 2;
    // Without a display, render off screen into a file.
    if (!app_has_display())
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    // A snapshot at R device pixels a pixel is what a screen of that
    // density shows.
    if (options.ratio)
        setenv("QT_SCALE_FACTOR", options.ratio, 1);
    std::vector<CatalogueEvent> events;
    if (options.catalogue && !readCatalogue(options.catalogue, &events))
        return 2;
    std::vector<PlotTrace> traces;
    if (!options.catalogue && !readChannels(options, &traces))
        return 2;
    QApplication app(argc, argv);
    if (!options.snapshot && app_is_headless())
        options.snapshot = "kgrqt-plot.png";
    try {
        if (options.catalogue)
            return showCatalogue(options, events);
        // Stacked channels get the window's height each, up to a screenful.
        const int channels = static_cast<int>(traces.size());
        const int height = std::min(options.height * channels, std::max(options.height, 1000));
        PlotView view(options.width, height);
        if (showChannels(view, options, traces) < 0)
            return 2;
        if (options.snapshot)
            return plot_write_snapshot(view, options.snapshot) < 0 ? 2 : 0;
        view.window()->show();
        return app.exec();
    } catch (const char* message) {
        fprintf(stderr, "kgrqt-plot: %s\n", message);
        return 2;
    }
}
