#include "catalogue_text.h"

#include "hx_error.h"
#include "hx_time.h"

#include <QFile>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <string>

namespace {

const char* const kProc = "plot_parse_catalogue";

// Where a line came from, for messages.
struct LineRef {
    const char* source;
    int number;
};

int fail(const LineRef& at, const std::string& what)
{
    hx_register_error(0, "%s: %s line %d: %s\n", kProc, at.source, at.number, what.c_str());
    return -1;
}

// Blank-separated words of a line.
std::vector<std::string> words(const std::string& line)
{
    std::vector<std::string> out;
    size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && isspace(static_cast<unsigned char>(line[i])))
            ++i;
        size_t j = i;
        while (j < line.size() && !isspace(static_cast<unsigned char>(line[j])))
            ++j;
        if (j > i)
            out.push_back(line.substr(i, j - i));
        i = j;
    }
    return out;
}

// A whole word as a finite number within [lo, hi].
bool readNumber(const std::string& word, double lo, double hi, double* value)
{
    char* end = nullptr;
    *value = strtod(word.c_str(), &end);
    return end != word.c_str() && *end == '\0' && std::isfinite(*value) && *value >= lo &&
           *value <= hi;
}

// "YYYY-MM-DDThh:mm:ss[.fff][Z]": the date-time form of ISO 8601 only, so
// that a shifted column (a number where the time belongs) is caught.
bool isIsoTime(const std::string& word)
{
    static const char pattern[] = "dddd-dd-ddTdd:dd:dd";
    const size_t n = sizeof pattern - 1;
    if (word.size() < n)
        return false;
    for (size_t i = 0; i < n; ++i) {
        const bool digit = isdigit(static_cast<unsigned char>(word[i])) != 0;
        if (pattern[i] == 'd' ? !digit : word[i] != pattern[i])
            return false;
    }
    size_t i = n;
    if (i < word.size() && word[i] == '.') {
        ++i;
        while (i < word.size() && isdigit(static_cast<unsigned char>(word[i])))
            ++i;
    }
    if (i < word.size() && word[i] == 'Z')
        ++i;
    return i == word.size();
}

struct FieldRule {
    const char* name;
    double lo, hi;
};

// Latitude, longitude, depth and magnitude, in their column order.
const FieldRule kRules[] = {
    {"latitude", -90, 90}, {"longitude", -360, 360}, {"depth", -20, 1000}, {"magnitude", -5, 12}};

int readTensor(const std::vector<std::string>& w, const LineRef& at, CatalogueEvent* e)
{
    double cmt[6];
    for (int k = 0; k < 6; ++k)
        if (!readNumber(w[kCatalogueFields + k], -1e6, 1e6, &cmt[k]))
            return fail(at, "bad tensor component '" + w[kCatalogueFields + k] + "'");
    double exponent = 0;
    if (!readNumber(w[11], 0, 40, &exponent) || exponent != std::floor(exponent))
        return fail(at, "bad tensor exponent '" + w[11] + "' (a whole number, 0 to 40)");
    plot_catalogue_tensor(cmt, exponent, e->m);
    e->hasTensor = true;
    return 0;
}

int readEvent(const std::vector<std::string>& w, const LineRef& at, CatalogueEvent* e)
{
    if (w.size() != kCatalogueFields && w.size() != kCatalogueTensorFields)
        return fail(at, "expected 5 fields, or 12 with a moment tensor, found " +
                            std::to_string(w.size()));
    if (!isIsoTime(w[0]) || hx_str2epoch(w[0].c_str(), &e->time) < 0) {
        hx_clear_register(0);
        return fail(at, "bad time '" + w[0] + "' (ISO 8601 UTC, YYYY-MM-DDThh:mm:ss[.sss][Z])");
    }
    double* values[] = {&e->lat, &e->lon, &e->depth, &e->magnitude};
    for (int k = 0; k < 4; ++k) {
        const FieldRule& r = kRules[k];
        if (!readNumber(w[1 + k], r.lo, r.hi, values[k]))
            return fail(at, std::string("bad ") + r.name + " '" + w[1 + k] + "' (" +
                                std::to_string(static_cast<int>(r.lo)) + " to " +
                                std::to_string(static_cast<int>(r.hi)) + ")");
    }
    return w.size() == kCatalogueTensorFields ? readTensor(w, at, e) : 0;
}

} // namespace

void plot_catalogue_tensor(const double cmt[6], double exponent, double m[6])
{
    // dyne-cm to N m is a factor 1e-7.
    const double s = std::pow(10.0, exponent - 7);
    const double mrr = cmt[0], mtt = cmt[1], mpp = cmt[2], mrt = cmt[3], mrp = cmt[4], mtp = cmt[5];
    const double ordered[6] = {mpp, mtt, mrr, -mtp, -mrp, mrt};
    for (int k = 0; k < 6; ++k)
        m[k] = ordered[k] * s;
}

int plot_parse_catalogue(const char* text, size_t size, const char* source,
                         std::vector<CatalogueEvent>* events)
{
    LineRef at{source ? source : "text", 0};
    size_t start = 0;
    while (text && start < size) {
        size_t end = start;
        while (end < size && text[end] != '\n')
            ++end;
        ++at.number;
        const std::string line(text + start, end - start);
        start = end + 1;
        if (line.find('\0') != std::string::npos)
            return fail(at, "NUL byte in the line");
        const std::vector<std::string> w = words(line);
        if (w.empty() || w[0][0] == '#')
            continue;
        CatalogueEvent e;
        if (readEvent(w, at, &e) < 0)
            return -1;
        events->push_back(e);
    }
    return 0;
}

int plot_read_catalogue(const char* path, std::vector<CatalogueEvent>* events)
{
    QFile file(QString::fromLocal8Bit(path));
    if (!file.open(QIODevice::ReadOnly)) {
        hx_register_error(0, "plot_read_catalogue: cannot open '%s'\n", path);
        return -1;
    }
    const QByteArray text = file.readAll();
    const size_t before = events->size();
    if (plot_parse_catalogue(text.constData(), static_cast<size_t>(text.size()), path, events) < 0)
        return -1;
    if (events->size() == before) {
        hx_register_error(0, "plot_read_catalogue: '%s' holds no events\n", path);
        return -1;
    }
    return 0;
}
