#include "plot_trace.h"

#include "hxutil.h"

#include <libmseed.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

const double kBreak = 2e30;

// ---------------------------------------------------------------- miniSEED

// libmseed reports through a log; its messages are kept here while a file
// is read and then go to the error register.
std::string mseedLog;

void keepMseedMessage(char* message)
{
    if (message)
        mseedLog += message;
}

// Moves the collected libmseed messages into the register, one per line.
void registerMseedLog(const char* path)
{
    size_t start = 0;
    while (start < mseedLog.size()) {
        size_t end = mseedLog.find('\n', start);
        if (end == std::string::npos)
            end = mseedLog.size();
        if (end > start)
            hx_register_error(0, "plot_read_mseed: %s: libmseed: %s\n", path,
                              mseedLog.substr(start, end - start).c_str());
        start = end + 1;
    }
    mseedLog.clear();
}

std::string sourceName(MSTrace* t)
{
    char name[64] = "";
    mst_srcname(t, name, 0);
    return name;
}

// One sample as a double, or a break for a value that is not a number.
double sampleValue(const MSTrace* t, int64_t i)
{
    double v = 0;
    switch (t->sampletype) {
    case 'i':
        v = static_cast<const int32_t*>(t->datasamples)[i];
        break;
    case 'f':
        v = static_cast<const float*>(t->datasamples)[i];
        break;
    case 'd':
        v = static_cast<const double*>(t->datasamples)[i];
        break;
    default:
        return kBreak;
    }
    return std::isfinite(v) ? v : kBreak;
}

bool hasNumericSamples(const MSTrace* t)
{
    return t->sampletype == 'i' || t->sampletype == 'f' || t->sampletype == 'd';
}

// Checks that a segment can be turned into points.
bool checkSegment(const char* path, const MSTrace* t, const std::string& name)
{
    if (t->numsamples <= 0 || !t->datasamples) {
        hx_register_error(0, "plot_read_mseed: %s: %s has no samples\n", path, name.c_str());
        return false;
    }
    if (!hasNumericSamples(t)) {
        hx_register_error(0, "plot_read_mseed: %s: %s holds no numeric samples (type '%c')\n", path,
                          name.c_str(), t->sampletype);
        return false;
    }
    if (!(t->samprate > 0) || !std::isfinite(t->samprate)) {
        hx_register_error(0, "plot_read_mseed: %s: %s has sample rate '%g'\n", path, name.c_str(),
                          t->samprate);
        return false;
    }
    return true;
}

void appendBreak(PlotTrace* trace)
{
    trace->x.push_back(kBreak);
    trace->y.push_back(kBreak);
}

void appendSegment(const MSTrace* t, PlotTrace* trace)
{
    if (trace->segments++ > 0)
        appendBreak(trace);
    const double t0 = static_cast<double>(t->starttime) / HPTMODULUS;
    for (int64_t i = 0; i < t->numsamples; ++i) {
        const double v = sampleValue(t, i);
        trace->x.push_back(v == kBreak ? kBreak : t0 + static_cast<double>(i) / t->samprate);
        trace->y.push_back(v);
    }
}

// The channel names of a group, in the order they first appear.
std::vector<std::string> channelNames(MSTraceGroup* group)
{
    std::vector<std::string> names;
    for (MSTrace* t = group->traces; t; t = t->next) {
        const std::string name = sourceName(t);
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    return names;
}

// The segments of one channel of a group, in time order.
std::vector<MSTrace*> channelSegments(MSTraceGroup* group, const std::string& name)
{
    std::vector<MSTrace*> segments;
    for (MSTrace* t = group->traces; t; t = t->next)
        if (sourceName(t) == name)
            segments.push_back(t);
    std::stable_sort(segments.begin(), segments.end(), [](const MSTrace* a, const MSTrace* b) {
        return a->starttime < b->starttime;
    });
    return segments;
}

int convertChannel(const char* path, MSTraceGroup* group, const std::string& name, PlotTrace* trace)
{
    PlotTrace result;
    result.name = name;
    for (const MSTrace* t : channelSegments(group, name)) {
        if (!checkSegment(path, t, result.name))
            return -1;
        appendSegment(t, &result);
    }
    *trace = std::move(result);
    return 0;
}

// Up to maxChannels channels of a group, in the order of the file.
int convertGroup(const char* path, MSTraceGroup* group, int maxChannels,
                 std::vector<PlotTrace>* traces)
{
    if (!group || !group->traces) {
        hx_register_error(0, "plot_read_mseed: %s: no data records\n", path);
        return -1;
    }
    const std::vector<std::string> names = channelNames(group);
    const int shown = std::min<int>(maxChannels, static_cast<int>(names.size()));
    std::vector<PlotTrace> result(shown);
    for (int i = 0; i < shown; ++i) {
        if (convertChannel(path, group, names[i], &result[i]) < 0)
            return -1;
        result[i].otherChannels = static_cast<int>(names.size()) - shown;
    }
    *traces = std::move(result);
    return 0;
}

// Reads a miniSEED file into a trace group, or registers why not.
MSTraceGroup* readGroup(const char* path)
{
    mseedLog.clear();
    // Null prefixes keep libmseed's own ("Error: ").
    ms_loginit(keepMseedMessage, nullptr, keepMseedMessage, nullptr);
    MSTraceGroup* group = nullptr;
    // Record lengths detected one by one, default time and rate tolerances,
    // data records only, samples unpacked.
    const int status = ms_readtraces(&group, path, -1, -1.0, -1.0, 0, 1, 1, 0);
    if (status == MS_NOERROR) {
        mseedLog.clear();
        return group;
    }
    registerMseedLog(path);
    hx_register_error(0, "plot_read_mseed: Cannot read '%s': %s\n", path, ms_errorstr(status));
    if (group)
        mst_freegroup(&group);
    return nullptr;
}

// ------------------------------------------------------------------- text

const char* const kTextVector = "kgrqt-plot-text";

// Appends the points of one set of the text vector.
int appendTextSet(int index, PlotTrace* trace)
{
    const std::string handle = std::string(kTextVector) + ":" + std::to_string(index);
    int n = 0;
    double *x = nullptr, *y = nullptr;
    if (hxhistory_get_points(handle.c_str(), &n, &x, &y) < 0)
        return -1;
    if (trace->segments++ > 0)
        appendBreak(trace);
    trace->x.insert(trace->x.end(), x, x + n);
    trace->y.insert(trace->y.end(), y, y + n);
    free(x);
    free(y);
    return 0;
}

std::string baseName(const char* path)
{
    const char* slash = strrchr(path, '/');
    return slash ? slash + 1 : path;
}

} // namespace

bool plot_is_mseed(const char* path)
{
    FILE* f = path ? fopen(path, "rb") : nullptr;
    if (!f)
        return false;
    char header[MINRECLEN];
    const size_t n = fread(header, 1, sizeof header, f);
    fclose(f);
    // The fixed header is 48 bytes; ms_detect says -1 for anything else.
    return n >= 48 && ms_detect(header, static_cast<int>(n)) >= 0;
}

int plot_read_mseed_channels(const char* path, int maxChannels, std::vector<PlotTrace>* traces)
{
    if (!path) {
        hx_register_error(0, "plot_read_mseed: no file\n");
        return -1;
    }
    MSTraceGroup* group = readGroup(path);
    if (!group)
        return -1;
    const int result = convertGroup(path, group, maxChannels, traces);
    mst_freegroup(&group);
    return result;
}

int plot_read_mseed(const char* path, PlotTrace* trace)
{
    std::vector<PlotTrace> traces;
    if (plot_read_mseed_channels(path, 1, &traces) < 0)
        return -1;
    *trace = std::move(traces.front());
    return 0;
}

int plot_read_text(const char* path, PlotTrace* trace)
{
    const int sets = hxvector_read_file(kTextVector, HXVECTOR_HISTORY, path);
    if (sets < 0)
        return -1;
    PlotTrace result;
    result.name = baseName(path);
    int status = 0;
    for (int i = 0; i < sets && status == 0; ++i)
        status = appendTextSet(i, &result);
    hxvector_free(kTextVector);
    if (status < 0)
        return -1;
    if (result.x.empty()) {
        hx_register_error(0, "plot_read_text: '%s' holds no points\n", path);
        return -1;
    }
    *trace = std::move(result);
    return 0;
}

int plot_read_trace(const char* path, PlotTrace* trace)
{
    return plot_is_mseed(path) ? plot_read_mseed(path, trace) : plot_read_text(path, trace);
}

int plot_read_channels(const char* path, int maxChannels, std::vector<PlotTrace>* traces)
{
    if (plot_is_mseed(path))
        return plot_read_mseed_channels(path, maxChannels, traces);
    traces->assign(1, PlotTrace());
    return plot_read_text(path, &traces->front());
}

int plot_publish(const PlotTrace& trace, const char* name)
{
    if (hxvector_create(name, HXVECTOR_HISTORY) < 0)
        return -1;
    return hxvector_add_points(name, static_cast<int>(trace.x.size()), trace.x.data(),
                               trace.y.data(), nullptr) < 0
               ? -1
               : 0;
}
