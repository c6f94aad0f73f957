// Named point vectors. One process-wide registry under one mutex: every
// public function takes the lock for its whole run and hands out copies, so
// vectors may be made on one thread and read on another.
#include "hx_vector.h"

#include "hx_error.h"
#include "hx_strings.h"
#include "hx_time.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <vector>

namespace {

struct PointSet {
    std::vector<double> x;
    std::vector<double> y;
    std::vector<std::string> labels; // parallel to x, or empty: no labels
    std::vector<char> hasLabel;      // a null label differs from ""
};

struct Vector {
    int kind = 0;
    std::vector<PointSet> sets;
};

struct Registry {
    std::mutex mutex;
    std::map<std::string, Vector> vectors;
};

Registry& registry()
{
    // Never destroyed, so a vector read during static destruction is safe.
    static Registry* r = new Registry;
    return *r;
}

bool validKind(int kind)
{
    return kind == HXVECTOR_PLAIN || kind == HXVECTOR_SECOND || kind == HXVECTOR_HISTORY;
}

// A vector name may not be empty or hold ':' (it separates the set index).
bool validName(const char* name)
{
    return name && *name && !strchr(name, ':');
}

// A handle split into its name and set index.
struct Handle {
    std::string name;
    int index = 0;
};

// Reads "name" or "name:index"; the index is decimal digits only.
bool parseHandle(const char* text, Handle* handle)
{
    if (!text)
        return false;
    const char* colon = strchr(text, ':');
    handle->name.assign(text, colon ? colon - text : strlen(text));
    handle->index = 0;
    if (handle->name.empty())
        return false;
    if (!colon)
        return true;
    const char* digits = colon + 1;
    if (!*digits)
        return false;
    long index = 0;
    for (const char* p = digits; *p; ++p) {
        if (*p < '0' || *p > '9')
            return false;
        index = index * 10 + (*p - '0');
        if (index > INT_MAX)
            return false;
    }
    handle->index = static_cast<int>(index);
    return true;
}

const char* show(const char* s)
{
    return s ? s : "(null)";
}

// The vector named by a handle, or null. Callers hold the registry lock.
Vector* findVector(const Handle& handle)
{
    auto& vectors = registry().vectors;
    auto it = vectors.find(handle.name);
    return it == vectors.end() ? nullptr : &it->second;
}

// Looks a handle up under the registry lock and hands the vector (null
// when the handle is malformed or names nothing) and the parsed handle to
// inspect, whose result is returned.
template <class Inspect> auto inspectVector(const char* text, Inspect inspect)
{
    Handle h;
    bool parsed = parseHandle(text, &h);
    std::lock_guard<std::mutex> lock(registry().mutex);
    return inspect(parsed ? findVector(h) : nullptr, h);
}

// The set a handle names in a vector of the given kind (0: any kind), or
// null after registering why, with fn as the message prefix. Callers hold
// the registry lock.
PointSet* findSet(const char* fn, const char* text, int kind, int index = -1)
{
    Handle handle;
    if (!parseHandle(text, &handle)) {
        hx_register_error(0, "%s: Bad vector handle '%s'\n", fn, show(text));
        return nullptr;
    }
    if (index >= 0)
        handle.index = index;
    Vector* v = findVector(handle);
    if (!v) {
        hx_register_error(0, "%s: Cannot find vector '%s'\n", fn, handle.name.c_str());
        return nullptr;
    }
    if (kind && v->kind != kind) {
        hx_register_error(0, "%s: Vector '%s' is of another kind\n", fn, handle.name.c_str());
        return nullptr;
    }
    if (handle.index >= static_cast<int>(v->sets.size())) {
        hx_register_error(0, "%s: No set %d in vector '%s'\n", fn, handle.index,
                          handle.name.c_str());
        return nullptr;
    }
    return &v->sets[handle.index];
}

// A point that bounds an extent: finite and not the library's break mark.
bool usablePoint(double x, double y)
{
    return std::isfinite(x) && std::isfinite(y) && x != 2e30 && y != 2e30;
}

// A malloc'd copy of n values; null when n is 0 or memory ran out.
double* copyValues(const std::vector<double>& from)
{
    if (from.empty())
        return nullptr;
    double* to = static_cast<double*>(malloc(from.size() * sizeof(double)));
    if (to)
        memcpy(to, from.data(), from.size() * sizeof(double));
    return to;
}

// Grows a caller's array to hold n values; false when memory ran out.
bool ensureCapacity(double** values, int* size, int n)
{
    if (*size >= n && (*values || n == 0))
        return true;
    double* grown = static_cast<double*>(realloc(*values, static_cast<size_t>(n) * sizeof(double)));
    if (!grown)
        return false;
    *values = grown;
    *size = n;
    return true;
}

// Copies a set into new arrays for the callers of the get_points functions.
int copyOut(const char* fn, const PointSet& set, int* npts, double** x, double** y)
{
    double* xs = copyValues(set.x);
    double* ys = copyValues(set.y);
    if (!set.x.empty() && (!xs || !ys)) {
        free(xs);
        free(ys);
        hx_register_error(1, "%s: Cannot allocate %zu points\n", fn, set.x.size());
        return -1;
    }
    *npts = static_cast<int>(set.x.size());
    *x = xs;
    *y = ys;
    return 0;
}

// ---- Text reading ----

// Where a line of text came from, for messages.
struct Origin {
    const char* fn;
    const char* source;
    int line;
};

void reportLine(const Origin& at, const char* what, const std::string& token)
{
    hx_register_error(0, "%s: %s line %d: %s '%s'\n", at.fn, at.source, at.line, what,
                      token.c_str());
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}

// Cuts a line at its comment and at trailing blanks.
std::string stripLine(const std::string& line)
{
    std::string s = line.substr(0, line.find('#'));
    size_t end = s.size();
    while (end > 0 && isBlank(s[end - 1]))
        --end;
    s.resize(end);
    return s;
}

// The next blank-separated token from pos on; pos moves past it.
std::string nextToken(const std::string& s, size_t* pos)
{
    while (*pos < s.size() && isBlank(s[*pos]))
        ++*pos;
    size_t start = *pos;
    while (*pos < s.size() && !isBlank(s[*pos]))
        ++*pos;
    return s.substr(start, *pos - start);
}

// A finite number filling the whole token.
bool readNumber(const std::string& token, double* value)
{
    if (token.empty())
        return false;
    char* end = nullptr;
    *value = fix_strtod(token.c_str(), &end);
    return end && *end == '\0' && std::isfinite(*value);
}

// The x of a line: a number, or for a history any time str2epoch reads. A
// time of day after a date is a second token holding ':'.
bool readX(const std::string& line, size_t* pos, int kind, const Origin& at, double* x)
{
    std::string token = nextToken(line, pos);
    if (kind != HXVECTOR_HISTORY) {
        if (readNumber(token, x))
            return true;
        reportLine(at, "Cannot read x from", token);
        return false;
    }
    size_t after = *pos;
    std::string second = nextToken(line, &after);
    if (second.find(':') != std::string::npos) {
        token += " " + second;
        *pos = after;
    }
    if (hx_str2epoch(token.c_str(), x) == 0 && std::isfinite(*x))
        return true;
    reportLine(at, "Cannot read time from", token);
    return false;
}

// The label: the rest of the line without its surrounding blanks.
std::string readLabel(const std::string& line, size_t pos)
{
    while (pos < line.size() && isBlank(line[pos]))
        ++pos;
    return line.substr(pos);
}

// Appends the point of one line to set; false after reporting why.
bool readPointLine(const std::string& line, int kind, const Origin& at, PointSet* set)
{
    size_t pos = 0;
    double x = 0, y = 0;
    if (!readX(line, &pos, kind, at, &x))
        return false;
    std::string token = nextToken(line, &pos);
    if (!readNumber(token, &y)) {
        reportLine(at, token.empty() ? "Missing y in" : "Cannot read y from",
                   token.empty() ? line : token);
        return false;
    }
    std::string label = readLabel(line, pos);
    set->x.push_back(x);
    set->y.push_back(y);
    set->labels.push_back(label);
    set->hasLabel.push_back(!label.empty());
    return true;
}

// Parses the whole text into sets; false after reporting the first bad line.
bool parseText(const char* text, int kind, Origin at, std::vector<PointSet>* sets)
{
    bool inSet = false;
    const char* p = text;
    for (at.line = 1; *p; ++at.line) {
        const char* eol = strchr(p, '\n');
        size_t n = eol ? static_cast<size_t>(eol - p) : strlen(p);
        std::string raw(p, n);
        p += eol ? n + 1 : n;
        size_t first = raw.find_first_not_of(" \t\r\f\v");
        if (first != std::string::npos && raw[first] == '#')
            continue; // a comment line neither holds a point nor ends a set
        std::string line = stripLine(raw);
        if (line.empty()) {
            inSet = false;
            continue;
        }
        if (!inSet) {
            sets->emplace_back();
            inSet = true;
        }
        if (!readPointLine(line, kind, at, &sets->back()))
            return false;
    }
    return true;
}

// Drops the label arrays of sets that carry no label at all.
void dropEmptyLabels(std::vector<PointSet>* sets)
{
    for (PointSet& set : *sets) {
        bool any = false;
        for (char has : set.hasLabel)
            any = any || has;
        if (!any) {
            set.labels.clear();
            set.hasLabel.clear();
        }
    }
}

int storeVector(const char* name, int kind, std::vector<PointSet>&& sets)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    Vector& v = r.vectors[name];
    v.kind = kind;
    v.sets = std::move(sets);
    return static_cast<int>(v.sets.size());
}

// Checks the arguments that every reader takes.
bool checkReadArgs(const char* fn, const char* name, int kind)
{
    if (!validName(name)) {
        hx_register_error(0, "%s: Bad vector name '%s'\n", fn, show(name));
        return false;
    }
    if (!validKind(kind)) {
        hx_register_error(0, "%s: Bad vector kind '%d'\n", fn, kind);
        return false;
    }
    return true;
}

int readText(const char* fn, const char* name, int kind, const char* text, const char* source)
{
    if (!checkReadArgs(fn, name, kind))
        return -1;
    if (!text) {
        hx_register_error(0, "%s: No text for vector '%s'\n", fn, name);
        return -1;
    }
    std::vector<PointSet> sets;
    try {
        if (!parseText(text, kind, Origin{fn, source ? source : "text", 0}, &sets))
            return -1;
        dropEmptyLabels(&sets);
        return storeVector(name, kind, std::move(sets));
    } catch (const std::bad_alloc&) {
        hx_register_error(1, "%s: Out of memory reading vector '%s'\n", fn, name);
        return -1;
    }
}

// The whole content of a file, or false after reporting why.
bool slurpFile(const char* fn, const char* path, std::string* content)
{
    FILE* f = fopen(path, "rb");
    if (!f) {
        hx_register_error(0, "%s: Cannot open '%s': %s\n", fn, path, strerror(errno));
        return false;
    }
    char buffer[65536];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, f)) > 0)
        content->append(buffer, n);
    bool failed = ferror(f) != 0;
    fclose(f);
    if (failed) {
        hx_register_error(0, "%s: Cannot read '%s'\n", fn, path);
        return false;
    }
    if (content->find('\0') != std::string::npos) {
        hx_register_error(0, "%s: '%s' is not a text file\n", fn, path);
        return false;
    }
    return true;
}

} // namespace

int hxvector_create(const char* name, int kind)
{
    if (!checkReadArgs("hxvector_create", name, kind))
        return -1;
    try {
        storeVector(name, kind, {});
    } catch (const std::bad_alloc&) {
        hx_register_error(1, "hxvector_create: Out of memory for vector '%s'\n", name);
        return -1;
    }
    return 0;
}

int hxvector_add_points(const char* name, int npts, const double* x, const double* y,
                        const char* const* labels)
{
    if (npts < 0 || (npts > 0 && (!x || !y))) {
        hx_register_error(0, "hxvector_add_points: Bad points for vector '%s'\n", show(name));
        return -1;
    }
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    auto it = name ? r.vectors.find(name) : r.vectors.end();
    if (it == r.vectors.end()) {
        hx_register_error(0, "hxvector_add_points: Cannot find vector '%s'\n", show(name));
        return -1;
    }
    try {
        PointSet set;
        set.x.assign(x, x + npts);
        set.y.assign(y, y + npts);
        for (int i = 0; labels && i < npts; ++i) {
            set.labels.push_back(labels[i] ? labels[i] : "");
            set.hasLabel.push_back(labels[i] != nullptr);
        }
        it->second.sets.push_back(std::move(set));
    } catch (const std::bad_alloc&) {
        hx_register_error(1, "hxvector_add_points: Out of memory for vector '%s'\n", name);
        return -1;
    }
    return static_cast<int>(it->second.sets.size()) - 1;
}

int hxvector_read_text(const char* name, int kind, const char* text, const char* source)
{
    return readText("hxvector_read_text", name, kind, text, source);
}

int hxvector_read_file(const char* name, int kind, const char* path)
{
    static const char* fn = "hxvector_read_file";
    if (!checkReadArgs(fn, name, kind))
        return -1;
    if (!path) {
        hx_register_error(0, "%s: No file for vector '%s'\n", fn, name);
        return -1;
    }
    std::string content;
    try {
        if (!slurpFile(fn, path, &content))
            return -1;
    } catch (const std::bad_alloc&) {
        hx_register_error(1, "%s: Out of memory reading '%s'\n", fn, path);
        return -1;
    }
    return readText(fn, name, kind, content.c_str(), path);
}

int hxvector_free(const char* handle)
{
    Handle h;
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    if (!parseHandle(handle, &h) || r.vectors.erase(h.name) == 0) {
        hx_register_error(0, "hxvector_free: Cannot find vector '%s'\n", show(handle));
        return -1;
    }
    return 0;
}

int hxvector_kind(const char* handle)
{
    return inspectVector(handle, [](const Vector* v, const Handle&) { return v ? v->kind : 0; });
}

int hxvector_extent(const char* handle, double* xmin, double* xmax, double* ymin, double* ymax)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    const PointSet* set = findSet("hxvector_extent", handle, 0);
    if (!set)
        return -1;
    bool any = false;
    double x0 = 0, x1 = 0, y0 = 0, y1 = 0;
    for (size_t i = 0; i < set->x.size(); ++i) {
        double x = set->x[i], y = set->y[i];
        if (!usablePoint(x, y))
            continue;
        x0 = any ? std::min(x0, x) : x;
        x1 = any ? std::max(x1, x) : x;
        y0 = any ? std::min(y0, y) : y;
        y1 = any ? std::max(y1, y) : y;
        any = true;
    }
    if (!any) {
        hx_register_error(0, "hxvector_extent: No points in '%s'\n", handle);
        return -1;
    }
    *xmin = x0;
    *xmax = x1;
    *ymin = y0;
    *ymax = y1;
    return 0;
}

const char* hxvector_get_label(const char* handle, int i)
{
    return inspectVector(handle, [i](const Vector* v, const Handle& h) -> const char* {
        if (!v || h.index >= static_cast<int>(v->sets.size()))
            return nullptr;
        const PointSet& set = v->sets[h.index];
        if (i < 0 || i >= static_cast<int>(set.hasLabel.size()) || !set.hasLabel[i])
            return nullptr;
        return set.labels[i].c_str();
    });
}

int hxvector_get_vector(const char* handle)
{
    return inspectVector(handle, [](const Vector* v, const Handle& h) -> int {
        return v && v->kind == HXVECTOR_PLAIN && h.index < static_cast<int>(v->sets.size());
    });
}

int hxvector_get_points(const char* handle, int* npts, int* index, double** x, double** y,
                        int /*flags*/)
{
    Handle h;
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    const PointSet* set = findSet("hxvector_get_points", handle, HXVECTOR_PLAIN);
    if (!set)
        return -1;
    parseHandle(handle, &h);
    if (index)
        *index = h.index;
    return copyOut("hxvector_get_points", *set, npts, x, y);
}

int hxvector2_get_vector(const char* handle)
{
    return inspectVector(handle, [](const Vector* v, const Handle&) -> int {
        return v && v->kind == HXVECTOR_SECOND;
    });
}

int hxvector2_get_points(const char* handle, int index, int* npts, int* spare, double** x,
                         int* xsize, double** y, int* ysize, int /*flags*/)
{
    static const char* fn = "hxvector2_get_points";
    if (index < 0) {
        hx_register_error(0, "%s: Bad set index %d for '%s'\n", fn, index, show(handle));
        return -1;
    }
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    const PointSet* set = findSet(fn, handle, HXVECTOR_SECOND, index);
    if (!set)
        return -1;
    int n = static_cast<int>(set->x.size());
    if (!ensureCapacity(x, xsize, n) || !ensureCapacity(y, ysize, n)) {
        hx_register_error(1, "%s: Cannot allocate %d points\n", fn, n);
        return -1;
    }
    if (n > 0) {
        memcpy(*x, set->x.data(), n * sizeof(double));
        memcpy(*y, set->y.data(), n * sizeof(double));
    }
    *npts = n;
    if (spare)
        *spare = 0;
    return 0;
}

int hxhistory_get_points(const char* handle, int* npts, double** x, double** y)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    const PointSet* set = findSet("hxhistory_get_points", handle, HXVECTOR_HISTORY);
    if (!set)
        return -1;
    return copyOut("hxhistory_get_points", *set, npts, x, y);
}
