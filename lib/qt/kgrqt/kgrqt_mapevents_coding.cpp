// Symbol coding strings of the map events, for example
//
//     sy=triangle,sz=age:0:25:1800:12:12:25,szg=1.0,cl=constant,fi=magenta
//
// and the great-circle paths drawn from an origin to its stations.
//
// A coding string overlays a record that already holds the option's
// defaults, so nothing in it is fatal: an entry that cannot be read leaves
// its field as it was. Only a missing text and running out of memory fail.
#include "kgrqt_mapevents.h"

#include "kgrqt_round.h"

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

const char* const codingFunc = "mapevents_parse_coding";
const char* const entryFunc = "mapevents_parse_coding_entry";

// The option defaults end with a newline; users write blanks after commas.
const char* const kBlanks = " \t\r\n";

struct Word {
    const char* name;
    int value;
};

const Word kSymbols[] = {{"default", KGR_SYMBOL_NONE},      {"circle", KGR_SYMBOL_CIRCLE},
                         {"triangle", KGR_SYMBOL_TRIANGLE}, {"square", KGR_SYMBOL_SQUARE},
                         {"diamond", KGR_SYMBOL_DIAMOND},   {"star", KGR_SYMBOL_STAR},
                         {"bb", KGR_SYMBOL_BEACHBALL}};
const Word kColors[] = {{"default", MAPEVENTS_COLOR_DEFAULT},
                        {"constant", MAPEVENTS_COLOR_CONSTANT},
                        {"depth", MAPEVENTS_COLOR_DEPTH}};
const Word kModes[] = {{"default", MAPEVENTS_MODE_DEFAULT},
                       {"age", MAPEVENTS_MODE_AGE},
                       {"agerel", MAPEVENTS_MODE_AGEREL},
                       {"ageresid", MAPEVENTS_MODE_AGERESID}};

// Sets *value from the table; an unknown word leaves it.
template <size_t N> bool lookup(const Word (&words)[N], const char* word, int* value)
{
    for (const Word& w : words) {
        if (strcmp(word, w.name) == 0) {
            *value = w.value;
            return true;
        }
    }
    return false;
}

// Cuts the blanks off both ends of a writable string.
char* trim(char* s)
{
    s += strspn(s, kBlanks);
    size_t n = strlen(s);
    while (n > 0 && strchr(kBlanks, s[n - 1]))
        --n;
    s[n] = '\0';
    return s;
}

// The number a token starts with, as atof reads it but in the C notation.
// Tokens without one, and infinities and NaN, leave *value: a record read
// from text never holds a value that poisons the arithmetic after it.
bool readReal(const char* token, double* value)
{
    char* end = nullptr;
    const double v = fix_strtod(token, &end);
    if (end == token || !std::isfinite(v))
        return false;
    *value = v;
    return true;
}

// "default" is the neutral gain.
void readGain(const char* value, double* gain)
{
    if (strcmp(value, "default") == 0)
        *gain = 1.0;
    else
        readReal(value, gain);
}

// Takes back the messages registered after the first count. The register
// can only be emptied whole, so the earlier ones are put back in order.
void dropMessagesAfter(int count)
{
    std::vector<std::pair<int, std::string>> kept;
    for (int i = 0; i < count; ++i) {
        char* text = hx_register_message(i);
        kept.emplace_back(hx_register_level(i), text ? text : "");
        free(text);
    }
    hx_clear_register(0);
    for (const auto& m : kept)
        hx_register_error(m.first, "%s", m.second.c_str());
}

// A colour that does not parse is ignored: the field keeps its colour and
// the register forgets the complaint, but not what was there before it.
// (Entries are cut at commas, so the "h,s,l" form, the only one the colour
// parser refuses, cannot reach it from a coding string today.)
void readColor(const char* value, KGR_Color* color)
{
    if (HX_Strcmp(value, color->color_name) == 0)
        return;
    const int held = hx_register_count();
    KGR_Color parsed = {nullptr, nullptr};
    if (KGR_ParseColor(value, &parsed) < 0) {
        dropMessagesAfter(held);
        return;
    }
    KGR_ClearColor(color);
    *color = parsed;
}

// The line through (value1, coding1) and (value2, coding2); flat when the
// values are equal or the slope overflows.
double scaleOf(const KgrpolypointCodingScaling* s)
{
    if (s->value2 == s->value1)
        return 0.0;
    const double scale = (s->coding2 - s->coding1) / (s->value2 - s->value1);
    return std::isfinite(scale) ? scale : 0.0;
}

int readSize(const char* value, KgrpolypointCoding* c)
{
    double constant = c->size_constant;
    if (mapevents_parse_coding_entry(value, &c->size, &constant, &c->size_scaling) < 0)
        return -1;
    c->size_constant = kgrqt_trunc(constant);
    return 0;
}

// One "key=value" entry; text without "=" is not an entry.
int applyEntry(char* entry, KgrpolypointCoding* c)
{
    char* eq = strchr(entry, '=');
    if (!eq)
        return 0;
    *eq = '\0';
    const char* key = trim(entry);
    const char* value = trim(eq + 1);
    int status = 0;
    if (strcmp(key, "sy") == 0)
        lookup(kSymbols, value, &c->symbol);
    else if (strcmp(key, "sz") == 0)
        status = readSize(value, c);
    else if (strcmp(key, "szg") == 0)
        readGain(value, &c->size_gain);
    else if (strcmp(key, "cl") == 0)
        lookup(kColors, value, &c->color);
    else if (strcmp(key, "fd") == 0)
        status =
            mapevents_parse_coding_entry(value, &c->fader, &c->fader_constant, &c->fader_scaling);
    else if (strcmp(key, "fdg") == 0)
        readGain(value, &c->fader_gain);
    else if (strcmp(key, "ot") == 0)
        readColor(value, &c->ot);
    else if (strcmp(key, "fi") == 0)
        readColor(value, &c->fi);
    else if (strcmp(key, "fin") == 0)
        readColor(value, &c->fin);
    if (status < 0)
        hx_register_error(HX_ERROR_ALLOC, "%s: %s(%s) error.\n", codingFunc, entryFunc, value);
    return status;
}

} // namespace

int mapevents_parse_coding(const char* text, KgrpolypointCoding* coding)
{
    // The option engine never hands a coding option a null value, so a null
    // here is a caller's mistake worth reporting rather than a no-op.
    if (!text || !coding) {
        hx_register_error(HX_ERROR_INPUT, "%s: no coding text or record.\n", codingFunc);
        return -1;
    }
    int argc = 0;
    char** argv = nullptr;
    if (splitlistc(text, &argc, &argv, ",") < 0) {
        hx_register_error(HX_ERROR_ALLOC, "%s: splitlistc('%s') error.\n", codingFunc, text);
        return -1;
    }
    int status = 0;
    for (int i = 0; i < argc && status == 0; ++i)
        status = applyEntry(argv[i], coding);
    freeargs(argc, argv);
    return status;
}

int mapevents_parse_coding_entry(const char* text, int* mode, double* constant,
                                 KgrpolypointCodingScaling* scaling)
{
    if (!text || !mode || !constant || !scaling) {
        hx_register_error(HX_ERROR_INPUT, "%s: no entry text or record.\n", entryFunc);
        return -1;
    }
    int argc = 0;
    char** argv = nullptr;
    if (splitlistc(text, &argc, &argv, ":") < 0) {
        hx_register_error(HX_ERROR_ALLOC, "%s: splitlistc('%s') error.\n", entryFunc, text);
        return -1;
    }
    // splitlistc gives at least one (possibly empty) field.
    const char* word = trim(argv[0]);
    if (!lookup(kModes, word, mode)) {
        *mode = MAPEVENTS_MODE_CONSTANT;
        readReal(word, constant);
    }
    double* const fields[] = {&scaling->value1,  &scaling->coding1,    &scaling->value2,
                              &scaling->coding2, &scaling->coding_min, &scaling->coding_max};
    for (int i = 1; i < argc && i <= 6; ++i)
        readReal(argv[i], fields[i - 1]);
    freeargs(argc, argv);
    scaling->scale = scaleOf(scaling);
    return 0;
}

QList<KGR_XY>* make_great_circle_path(double lat1, double lon1, double lat2, double lon2, int n)
{
    const double toRadians = 0.017453292519943295, toDegrees = 57.29577951308232;
    // The bound keeps the loop counter from overflowing; a list that long
    // cannot be held anyway.
    n = n < 1 ? 1 : (n > INT_MAX - 1 ? INT_MAX - 1 : n);
    lat1 *= toRadians;
    lon1 *= toRadians;
    double del = 0, az = 0;
    dist(lat1, lon1, lat2 * toRadians, lon2 * toRadians, &del, &az);
    const double step = del / n;
    auto* path = new QList<KGR_XY>;
    for (int i = 0; i <= n; ++i) {
        double lat = 0, lon = 0;
        latlon(lat1, lon1, i * step, az, &lat, &lon);
        path->append(KGR_XY{lon * toDegrees, lat * toDegrees});
    }
    return path;
}
