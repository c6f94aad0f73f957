// Point labels of the polypoint item: "text {key=value ...}", where the
// keys set a point's colours, size, symbol or moment tensor.
#include "KGRPolypoint.h"

#include <QFont>
#include <QPainterPath>

#include <cstdlib>
#include <cstring>

namespace {

enum { LABEL_MAX = 8191 };

// Sets a colour from a label, ignoring one that does not parse.
void setLabelColor(KGR_Color* color, const char* value)
{
    if (KGR_ParseColor(value, color) < 0)
        hx_clear_register(0);
}

int labelSymbol(const char* value)
{
    static const char* const names[] = {"point",  "cross",  "x",    "triangle",
                                        "square", "circle", "star", "diamond"};
    for (int i = 0; i < 8; ++i)
        if (strcmp(value, names[i]) == 0)
            return KGR_SYMBOL_POINT + i;
    return KGR_SYMBOL_NONE;
}

void setSymbol(KgrpolypointPoint* point, char* value)
{
    if (strncmp(value, "bb,", 3) == 0) {
        double m[6];
        if (polypoint_parse_bb(value + 3, m) == 0) {
            memcpy(point->m, m, sizeof m);
            polypoint_make_beachball_point(point);
        }
        return;
    }
    point->symbol = labelSymbol(value);
}

void applyKey(KgrpolypointPoint* point, const char* key, char* value)
{
    if (strcmp(key, "f") == 0)
        setLabelColor(&point->fill, value);
    else if (strcmp(key, "n") == 0)
        setLabelColor(&point->fill_nodes, value);
    else if (strcmp(key, "o") == 0)
        setLabelColor(&point->outline, value);
    else if (strcmp(key, "sz") == 0)
        point->size = atoi(value);
    else if (strcmp(key, "sy") == 0)
        setSymbol(point, value);
}

// The key=value words between the braces, separated by blanks or tabs.
void applyKeys(KgrpolypointPoint* point, char* keys)
{
    char* save = nullptr;
    for (char* word = strtok_r(keys, " \t", &save); word; word = strtok_r(nullptr, " \t", &save)) {
        char* eq = strchr(word, '=');
        if (!eq)
            continue;
        *eq = '\0';
        applyKey(point, word, eq + 1);
    }
}

void setLabel(KgrpolypointPoint* point, const char* text)
{
    free(point->label);
    point->label = strdup(text);
}

} // namespace

int polypoint_parse_label(KgrpolypointPoint* point, const char* text)
{
    if (!point || !text)
        return 0;
    char buffer[LABEL_MAX + 1];
    strncpy(buffer, text, LABEL_MAX);
    buffer[LABEL_MAX] = '\0';
    char* open = strstr(buffer, " {");
    char* close = open ? strchr(open, '}') : nullptr;
    char* keys = open ? open + 2 : nullptr;
    if (!close) {
        open = strchr(buffer, '{');
        close = open ? strchr(open, '}') : nullptr;
        keys = open ? open + 1 : nullptr;
    }
    if (!close) {
        setLabel(point, buffer);
        return 0;
    }
    *open = '\0';
    *close = '\0';
    if (buffer[0])
        setLabel(point, buffer);
    applyKeys(point, keys);
    return 0;
}

void polypoint_free_point(KgrpolypointPoint* point)
{
    free(point->label);
    point->label = nullptr;
    KGR_ClearColor(&point->fill);
    KGR_ClearColor(&point->outline);
    KGR_ClearColor(&point->text_foreground);
    KGR_ClearColor(&point->fill_nodes);
    KGR_ClearColor(&point->fill_path);
    KGR_ClearColor(&point->outline_DC);
    KGR_ClearColor(&point->outline_path);
    free(point->font.family);
    delete point->font.font;
    point->font.family = nullptr;
    point->font.font = nullptr;
    // P_nodes is the cache's; the path point's own path is the point's.
    delete point->ppath.path;
    point->ppath.path = nullptr;
}
