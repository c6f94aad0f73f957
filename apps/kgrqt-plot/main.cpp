// Plots one seismic trace from a miniSEED file or a two-column text file.
//
//   kgrqt-plot [--snapshot FILE.png] [--size WIDTHxHEIGHT] [--color COLOUR] FILE
//   kgrqt-plot [...] --synthetic N
//
// --synthetic N plots a random walk of N samples at 100 Hz instead of a
// file (10000000 is a day of a 100 Hz channel plus a sixth).
// With a display the plot opens in a window: the wheel zooms about the
// pointer, dragging pans. Without one (or with --snapshot) it is rendered
// into a PNG file whose path is printed. A file that cannot be read ends
// the program with exit code 2.
#include "PlotView.h"
#include "plot_trace.h"
#include "synthetic_trace.h"

#include "kgrqt.h"

#include <QApplication>
#include <QDir>
#include <QGuiApplication>
#include <QImage>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

const char* const kUsage =
    "usage: kgrqt-plot [--snapshot FILE.png] [--size WIDTHxHEIGHT] [--color COLOUR] FILE\n"
    "       kgrqt-plot [...] --synthetic N\n";
const char* const kTraceVector = "kgrqt-plot";

struct Options {
    const char* file = nullptr;
    const char* snapshot = nullptr;
    const char* colour = "navy";
    int width = 900;
    int height = 400;
    long synthetic = 0; // samples of a synthetic trace instead of a file
};

bool parseSize(const char* text, int* width, int* height)
{
    char tail = 0;
    return sscanf(text, "%dx%d%c", width, height, &tail) == 2 && *width >= 50 && *width <= 10000 &&
           *height >= 50 && *height <= 10000;
}

// Reads the command line; false after printing what is wrong.
bool parseOptions(int argc, char** argv, Options* options)
{
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (strcmp(arg, "--snapshot") == 0 && hasValue) {
            options->snapshot = argv[++i];
        } else if (strcmp(arg, "--color") == 0 && hasValue) {
            options->colour = argv[++i];
        } else if (strcmp(arg, "--size") == 0 && hasValue) {
            if (!parseSize(argv[++i], &options->width, &options->height)) {
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

void describe(const PlotTrace& trace)
{
    double x0 = 0, x1 = 0, y0 = 0, y1 = 0;
    hxvector_extent(kTraceVector, &x0, &x1, &y0, &y1);
    printf("%s: %zu points in %d segment%s, %s to %s, values %g to %g\n", trace.name.c_str(),
           trace.x.size() - (trace.segments - 1), trace.segments, trace.segments == 1 ? "" : "s",
           timeText(x0).c_str(), timeText(x1).c_str(), y0, y1);
    if (trace.otherChannels > 0)
        printf("(%d more channel%s in the file not shown)\n", trace.otherChannels,
               trace.otherChannels == 1 ? "" : "s");
}

int writeSnapshot(PlotView& view, const char* path)
{
    if (!view.render().save(path, "PNG")) {
        fprintf(stderr, "kgrqt-plot: cannot write '%s'\n", path);
        return 2;
    }
    printf("Snapshot written to %s\n", QDir(path).absolutePath().toLocal8Bit().constData());
    return 0;
}

bool hasDisplay()
{
    return getenv("DISPLAY") || getenv("WAYLAND_DISPLAY") || getenv("QT_QPA_PLATFORM");
}

// Platforms with no screen, where a window could never be seen or closed.
bool isHeadless()
{
    const QString platform = QGuiApplication::platformName();
    return platform == "offscreen" || platform == "minimal";
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!parseOptions(argc, argv, &options))
        return 2;
    // Without a display, render off screen into a file.
    if (!hasDisplay())
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    PlotTrace trace;
    const int read = options.synthetic ? plot_synthetic_trace(options.synthetic, 1, &trace)
                                       : plot_read_trace(options.file, &trace);
    if (read < 0 || plot_publish(trace, kTraceVector) < 0) {
        const std::string what = options.synthetic ? "a synthetic trace" : options.file;
        reportFailure(("cannot plot '" + what + "'").c_str());
        return 2;
    }
    describe(trace);
    QApplication app(argc, argv);
    if (!options.snapshot && isHeadless())
        options.snapshot = "kgrqt-plot.png";
    try {
        PlotView view(options.width, options.height);
        if (view.showTrace(kTraceVector, trace.name.c_str(), options.colour) < 0) {
            reportFailure("cannot show the trace");
            return 2;
        }
        if (options.snapshot)
            return writeSnapshot(view, options.snapshot);
        view.viewport()->show();
        return app.exec();
    } catch (const char* message) {
        fprintf(stderr, "kgrqt-plot: %s\n", message);
        return 2;
    }
}
