// The map's parameter texts: layer definitions, the list of layers to draw,
// named lists (templates), and the commands that show and hide layers.
#include "KGRLayer.h"
#include "KGRMap.h"
#include "KGRMapData.h"
#include "kgrqt_map.h"

#include <QColor>
#include <QVariant>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

// A '#' would start a comment in a parameter text, so colours write it "\#".
const char* const kgrmap_default_maplayer_definitions =
    "maplayer_definitions &Arr{\n"
    "    bluemarble &Arr{\n"
    "        type grid\n"
    "        mapdata_source_file "
    "/opt/larkspur/data/maps/kmd/bluemarble.world.200407.v01.grid.kmd\n"
    "        visibility 1\n"
    "        opacity 1.0\n"
    "        antialias 0\n"
    "        kgr_layer image\n"
    "    }\n"
    "    dem_srtm30 &Arr{\n"
    "        type grid\n"
    "        mapdata_source_file /opt/larkspur/data/maps/kmd/srtm30.dem.world.v01.grid.kmd\n"
    "        visibility 0\n"
    "        opacity 1.0\n"
    "        antialias 0\n"
    "        kgr_layer image\n"
    "    }\n"
    "    water_mask &Arr{\n"
    "        type vector_fill\n"
    "        mapdata_source_file coasts.vector.kmd\n"
    "        visibility 0\n"
    "        opacity 1.0\n"
    "        antialias 0\n"
    "        kgr_layer water\n"
    "        outline_linewidth -1\n"
    "        background_color $FILL_WATER\n"
    "        fill_color $FILL_LAND\n"
    "        transparent_color $FILL_LAND\n"
    "    }\n"
    "    coasts &Arr{\n"
    "        type vector_fill\n"
    "        mapdata_source_file coasts.vector.kmd\n"
    "        visibility 0\n"
    "        opacity 1.0\n"
    "        antialias 1\n"
    "        kgr_layer vector\n"
    "        outline_linewidth 1\n"
    "        outline_color \\#000000\n"
    "        background_color $FILL_WATER\n"
    "        fill_color $FILL_LAND\n"
    "    }\n"
    "    political &Arr{\n"
    "        type vector\n"
    "        mapdata_source_file political.vector.kmd\n"
    "        visibility 1\n"
    "        opacity 1.0\n"
    "        antialias 1\n"
    "        kgr_layer vector\n"
    "        levels &Tbl{\n"
    "            1 \\#ff0000\n"
    "            0 \\#8000a000 3\n"
    "            0 \\#80ff00ff\n"
    "        }\n"
    "    }\n"
    "    rivers &Arr{\n"
    "        type vector\n"
    "        mapdata_source_file rivers.vector.kmd\n"
    "        visibility 1\n"
    "        opacity 1.0\n"
    "        antialias 1\n"
    "        kgr_layer vector\n"
    "        levels &Tbl{\n"
    "            1 \\#c0c0ff\n"
    "        }\n"
    "    }\n"
    "}\n";

const char* const kgrmap_default_maplayers = "maplayers &Tbl{\n"
                                             "    bluemarble\n"
                                             "    dem_srtm30\n"
                                             "    water_mask\n"
                                             "    coasts\n"
                                             "    political\n"
                                             "    rivers\n"
                                             "}\n";

const char* kgrqt_mapdata_dir()
{
    const char* dir = getenv("KGRQT_MAPDATA_DIR");
    return dir && *dir ? dir : "/opt/larkspur/data/maps/kmd";
}

std::string kgrqt_mapdata_path(const char* name)
{
    if (!name || !*name || strchr(name, '/'))
        return name ? name : "";
    return std::string(kgrqt_mapdata_dir()) + "/" + name;
}

namespace {

const char* const defsFunc = "map_parse_maplayer_definitions";

KGRMap* mapOf(KgrmapItem* item)
{
    return static_cast<KGRMap*>(item->object_ptr);
}

// Redraws the map after a change of its layers.
void refresh(KgrmapItem* item)
{
    if (KGRMap* map = mapOf(item)) {
        map->setMaplayersStale();
        map->raisePicker();
        if (item->vp)
            item->vp->update();
    }
}

// Reads an optional or required key of a layer; false after registering
// "parse_param(<layer>-><key>) error.".
bool readKey(Pf* layer, const char* name, const char* key, int type, int required, void* value)
{
    if (parse_param(layer, key, type, required, value) >= 0)
        return true;
    hx_register_error(0, "%s: parse_param(%s->%s) error.\n", defsFunc, name, key);
    return false;
}

// An optional colour key of a layer; absent leaves the colour unset.
bool readColor(KgrmapItem* item, Pf* layer, const char* name, const char* key, KGR_Color* color)
{
    char* value = nullptr;
    if (!readKey(layer, name, key, 's', 0, &value))
        return false;
    bool ok = !value || map_get_color(item, value, color) == 0;
    if (!ok)
        hx_register_error(0, "%s: map_get_color(%s) error.\n", defsFunc, value);
    free(value);
    return ok;
}

int typeOf(const char* word)
{
    static const char* const words[] = {"grid", "vector", "vector_fill"};
    for (int i = 0; i < 3; ++i)
        if (strcmp(word, words[i]) == 0)
            return i;
    return -1;
}

// One level row "width colour [resolution]" into slot k.
bool readLevel(KgrmapItem* item, KGRMapLayerParams* params, int k, Pf* row)
{
    const char* text = pfstring(row);
    std::vector<char> color(text ? strlen(text) + 1 : 1);
    int width = -1, resolution = -1;
    if (!text || sscanf(text, "%d %s %d", &width, color.data(), &resolution) < 2) {
        hx_register_error(0, "%s: Unable to scan %s.\n", defsFunc, text ? text : "");
        return false;
    }
    if (map_get_color(item, color.data(), &params->outline[k]) < 0) {
        hx_register_error(0, "%s: map_get_color(%s) error.\n", defsFunc, color.data());
        return false;
    }
    params->linewidth[k] = width;
    params->resolution[k] = resolution;
    return true;
}

bool readLevels(KgrmapItem* item, KGRMapLayerParams* params, Pf* layer, const char* name)
{
    Tbl* rows = nullptr;
    if (!readKey(layer, name, "levels", 't', 0, &rows))
        return false;
    if (maxtbl(rows) > KGRMAPDATA_NLEVELS) {
        hx_register_error(0, "%s: %s: more than %d levels.\n", defsFunc, name, KGRMAPDATA_NLEVELS);
        return false;
    }
    for (int k = 0; k < maxtbl(rows); ++k)
        if (!readLevel(item, params, k, static_cast<Pf*>(gettbl(rows, k))))
            return false;
    params->levels = static_cast<unsigned int>(maxtbl(rows));
    return true;
}

// The colours and outline of a filled layer, all in slot 0.
bool readFill(KgrmapItem* item, KGRMapLayerParams* params, Pf* layer, const char* name)
{
    if (!readColor(item, layer, name, "fill_color", &params->fill_color) ||
        !readColor(item, layer, name, "background_color", &params->background_color) ||
        !readColor(item, layer, name, "transparent_color", &params->transparent_color) ||
        !readColor(item, layer, name, "outline_color", &params->outline[0]) ||
        !readKey(layer, name, "outline_linewidth", 'd', 0, &params->linewidth[0]))
        return false;
    params->levels = 1;
    return true;
}

// The off-screen layer a map layer paints into: the one registered under
// the name, else a new one of the viewport registered under it.
KGRLayer* findLayer(KgrmapItem* item, const char* name, const char* kgr_layer)
{
    auto* layer = static_cast<KGRLayer*>(HX_GetObject(kgr_layer, "KGRLayer"));
    if (layer)
        return layer;
    try {
        layer = new KGRLayer(item->vp);
    } catch (const char* e) {
        hx_register_error(0, "%s: %s: new KGRLayer(%s) error: %s.\n", defsFunc, name, kgr_layer, e);
        return nullptr;
    }
    HX_SetName(kgr_layer, "KGRLayer", layer);
    // The name must not outlive the layer, whoever deletes it and whenever.
    QObject::connect(layer, &QObject::destroyed, [layer] { HX_UnsetObject(layer); });
    return layer;
}

// Forgets a layer in every record of the map once Qt deletes it, so that
// no record keeps a dangling pointer. Watched once per layer and map.
void watchLayer(KgrmapItem* item, KGRLayer* layer)
{
    KGRMap* map = mapOf(item);
    if (!map)
        return;
    const char* key = "kgrmap_watched";
    QVariantList watchers = layer->property(key).toList();
    QVariant self = QVariant::fromValue(static_cast<void*>(map));
    if (watchers.contains(self))
        return;
    watchers.append(self);
    layer->setProperty(key, watchers);
    QObject::connect(layer, &QObject::destroyed, map, [item, layer] {
        Tbl* keys = keysarr(item->maplayer_definitions);
        for (int i = 0; i < maxtbl(keys); ++i) {
            auto* p = static_cast<KGRMapLayerParams*>(
                getarr(item->maplayer_definitions, static_cast<const char*>(gettbl(keys, i))));
            if (p->kgr_layer == layer)
                p->kgr_layer = nullptr;
        }
        freetbl(keys, nullptr);
        for (int i = 0; i < maxtbl(item->maplayers_extra); ++i)
            if (gettbl(item->maplayers_extra, i) == layer)
                settbl(item->maplayers_extra, i, nullptr);
    });
}

KGRMapLayerParams* newParams(KgrmapItem* item)
{
    auto* params = static_cast<KGRMapLayerParams*>(calloc(1, sizeof(KGRMapLayerParams)));
    if (!params) {
        hx_register_error(1, "%s: malloc(params) error.\n", defsFunc);
        return nullptr;
    }
    params->map = mapOf(item);
    for (int k = 0; k < KGRMAPDATA_NLEVELS; ++k)
        params->linewidth[k] = params->resolution[k] = -1;
    return params;
}

// The keys every layer has, then those of its type.
bool readParams(KgrmapItem* item, KGRMapLayerParams* params, Pf* layer, const char* name)
{
    char* type = nullptr;
    if (!readKey(layer, name, "type", 's', 1, &type))
        return false;
    params->type = typeOf(type);
    if (params->type < 0)
        hx_register_error(0, "%s: %s->type = %s not recognized.\n", defsFunc, name, type);
    free(type);
    params->visibility = 1;
    params->opacity = 1.0;
    params->antialias = 1;
    char* kgr_layer = nullptr;
    bool ok = params->type >= 0 &&
              readKey(layer, name, "mapdata_source_file", 's', 1, &params->mapdata_source) &&
              readKey(layer, name, "visibility", 'd', 0, &params->visibility) &&
              readKey(layer, name, "opacity", 'f', 0, &params->opacity) &&
              readKey(layer, name, "kgr_layer", 's', 1, &kgr_layer) &&
              readKey(layer, name, "antialias", 'd', 0, &params->antialias);
    if (ok && params->type == KGRMAP_TYPE_VECTOR)
        ok = readLevels(item, params, layer, name);
    if (ok && params->type == KGRMAP_TYPE_VECTOR_FILL)
        ok = readFill(item, params, layer, name);
    if (ok)
        ok = (params->kgr_layer = findLayer(item, name, kgr_layer)) != nullptr;
    free(kgr_layer);
    return ok;
}

// Stores a record under its name; the one it replaces goes, and its layer
// forgets the replaced record's mask colour.
void storeParams(KgrmapItem* item, const char* name, KGRMapLayerParams* params)
{
    auto* old = static_cast<KGRMapLayerParams*>(setarr(item->maplayer_definitions, name, params));
    if (old && old->kgr_layer && old->transparent_color.color &&
        old->kgr_layer->layer.mask_color == old->transparent_color.color)
        old->kgr_layer->maskColorTransparent();
    map_free_maplayer_params(old);
    if (params->transparent_color.color)
        params->kgr_layer->maskColorTransparent(params->transparent_color.color);
    watchLayer(item, params->kgr_layer);
}

bool defineLayer(KgrmapItem* item, Arr* layers, const char* name)
{
    auto* layer = static_cast<Pf*>(getarr(layers, name));
    if (pftype(layer) != PFARR) {
        hx_register_error(0, "%s: parse_param(%s) error.\n", defsFunc, name);
        return false;
    }
    KGRMapLayerParams* params = newParams(item);
    if (!params)
        return false;
    if (!readParams(item, params, layer, name)) {
        map_free_maplayer_params(params);
        return false;
    }
    storeParams(item, name, params);
    return true;
}

// A layer list of a parameter text: a new list of malloc'd names, or null
// (registered with the messages of func).
Tbl* readNames(Pf* pf, const char* func)
{
    Tbl* rows = nullptr;
    if (parse_param(pf, "maplayers", 't', 1, &rows) < 0) {
        hx_register_error(0, "%s: parse_param(maplayers) error.\n", func);
        return nullptr;
    }
    Tbl* names = newtbl(maxtbl(rows));
    if (!names) {
        hx_register_error(1, "%s: newtbl(maplayers) error.\n", func);
        return nullptr;
    }
    for (int i = 0; i < maxtbl(rows); ++i) {
        const char* name = pfstring(static_cast<Pf*>(gettbl(rows, i)));
        settbl(names, -1, strdup(name ? name : ""));
    }
    return names;
}

// The parameter text of a layer list, as the maplayers option reads it.
char* namesText(Tbl* names)
{
    std::string text = "maplayers &Tbl{\n";
    for (int i = 0; i < maxtbl(names); ++i)
        text += std::string("    ") + static_cast<const char*>(gettbl(names, i)) + "\n";
    text += "}\n";
    return strdup(text.c_str());
}

Tbl* copyNames(Tbl* names)
{
    Tbl* copy = newtbl(maxtbl(names));
    for (int i = 0; copy && i < maxtbl(names); ++i)
        settbl(copy, -1, strdup(static_cast<const char*>(gettbl(names, i))));
    return copy;
}

// Makes names the list of layers to draw; the layers of the old list are
// cleared first, since the new one may leave some of them out.
void setNames(KgrmapItem* item, Tbl* names)
{
    if (KGRMap* map = mapOf(item))
        map->setMaplayersStale();
    map_free_names(item->maplayers);
    item->maplayers = names;
    free(item->maplayers_string);
    item->maplayers_string = namesText(names);
    map_restack_layers(item);
    refresh(item);
}

void freeNamesValue(void* names)
{
    map_free_names(static_cast<Tbl*>(names));
}

// The definition of a command's layer, or null (registered with func).
KGRMapLayerParams* findParams(KgrmapItem* item, const char* func, const char* name)
{
    if (!item->maplayer_definitions) {
        hx_register_error(0, "%s: No maplayer definitions defined.\n", func);
        return nullptr;
    }
    auto* params =
        static_cast<KGRMapLayerParams*>(getarr(item->maplayer_definitions, name ? name : ""));
    if (!params)
        hx_register_error(0, "%s: Cannot find maplayer definition for '%s'.\n", func,
                          name ? name : "");
    return params;
}

// 0 hide, 1 show, -1 toggle.
int setVisibility(char* value, char* record, const char* func, int visibility)
{
    KgrmapItem* item = map_item_of(record);
    KGRMapLayerParams* params = findParams(item, func, value);
    if (!params)
        return -1;
    params->visibility = visibility < 0 ? !params->visibility : visibility;
    refresh(item);
    return 0;
}

} // namespace

int map_get_color(KgrmapItem* item, const char* value, KGR_Color* color)
{
    KGR_ClearColor(color);
    if (map_value_is_empty(value))
        return 0;
    if (strcmp(value, "$FILL_WATER") == 0) {
        KGR_CopyColor(&item->fill_water, color);
        return 0;
    }
    if (strcmp(value, "$FILL_LAND") == 0) {
        KGR_CopyColor(&item->fill_land, color);
        return 0;
    }
    if (KGR_ParseColor(value, color) < 0) {
        hx_register_error(0, "map_get_color: Illegal color specification \"%s\"\n", value);
        return -1;
    }
    return 0;
}

void map_free_names(Tbl* names)
{
    freetbl(names, free);
}

void map_free_maplayer_params(void* p)
{
    auto* params = static_cast<KGRMapLayerParams*>(p);
    if (!params)
        return;
    free(params->mapdata_source);
    delete params->mapdata;
    KGR_ClearColor(&params->fill_color);
    KGR_ClearColor(&params->background_color);
    KGR_ClearColor(&params->transparent_color);
    for (KGR_Color& c : params->outline)
        KGR_ClearColor(&c);
    free(params);
}

void map_restack_layers(KgrmapItem* item)
{
    std::vector<KGRLayer*> order;
    for (int i = 0; i < maxtbl(item->maplayers); ++i) {
        auto* params = static_cast<KGRMapLayerParams*>(getarr(
            item->maplayer_definitions, static_cast<const char*>(gettbl(item->maplayers, i))));
        KGRLayer* layer = params ? params->kgr_layer : nullptr;
        if (!layer)
            continue;
        // A layer shared by several map layers sits where its last one is.
        for (auto it = order.begin(); it != order.end(); ++it)
            if (*it == layer) {
                order.erase(it);
                break;
            }
        order.push_back(layer);
    }
    for (size_t i = order.size(); i-- > 1;)
        order[i - 1]->stackUnder(order[i]);
}

namespace {

// A parameter text compiled, or null after registering why.
Pf* compileText(const char* value)
{
    Pf* pf = nullptr;
    if (pfcompile(value, &pf) < 0) {
        hx_register_error(0, "pfcompile(%s) error.\n", value);
        return nullptr;
    }
    return pf;
}

} // namespace

int map_parse_maplayer_definitions(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    KgrmapItem* item = map_item_of(record);
    if (map_value_is_empty(value))
        return 0;
    Pf* pf = compileText(value);
    if (!pf)
        return -1;
    Arr* layers = nullptr;
    if (parse_param(pf, "maplayer_definitions", 'a', 1, &layers) < 0) {
        pffree(pf);
        hx_register_error(0, "%s: parse_param(maplayer_definitions) error.\n", defsFunc);
        return -1;
    }
    if (cntarr(layers) == 0) {
        pffree(pf);
        return 0;
    }
    if (!item->maplayer_definitions && !(item->maplayer_definitions = newarr(nullptr))) {
        pffree(pf);
        hx_register_error(1, "%s: newarr(maplayer_definitions) error.\n", defsFunc);
        return -1;
    }
    Tbl* names = keysarr(layers);
    bool ok = true;
    for (int i = 0; ok && i < maxtbl(names); ++i)
        ok = defineLayer(item, layers, static_cast<const char*>(gettbl(names, i)));
    freetbl(names, nullptr);
    pffree(pf);
    if (ok)
        map_replace_string(&item->maplayer_definitions_string, value);
    map_restack_layers(item);
    refresh(item);
    return ok ? 0 : -1;
}

char* map_print_maplayer_definitions(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    const char* text = map_item_of(record)->maplayer_definitions_string;
    return strdup(text ? text : "");
}

int map_parse_maplayers(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    KgrmapItem* item = map_item_of(record);
    if (map_value_is_empty(value))
        return 0;
    Pf* pf = compileText(value);
    if (!pf)
        return -1;
    Tbl* names = readNames(pf, "map_parse_maplayers");
    pffree(pf);
    if (!names)
        return -1;
    setNames(item, names);
    return 0;
}

char* map_print_maplayers(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    const char* text = map_item_of(record)->maplayers_string;
    return strdup(text ? text : "");
}

int map_parse_define_maplayers_template(HX_ConfigureSpec*, HX_ClientData, char* value, char* record,
                                        int)
{
    static const char* const func = "map_parse_define_maplayers_template";
    KgrmapItem* item = map_item_of(record);
    Pf* pf = nullptr;
    if (pfcompile(value ? value : "", &pf) < 0) {
        hx_register_error(0, "%s: pfcompile(%s) error.\n", func, value ? value : "");
        return -1;
    }
    char* name = nullptr;
    if (parse_param(pf, "name", 's', 1, &name) < 0) {
        pffree(pf);
        hx_register_error(0, "%s: parse_param(name) error.\n", func);
        return -1;
    }
    Tbl* names = readNames(pf, func);
    pffree(pf);
    if (names && !item->maplayers_templates && !(item->maplayers_templates = newarr(nullptr))) {
        hx_register_error(1, "mape_parse_define_maplayers_template: newarr(maplayers_template) "
                             "error.\n");
        map_free_names(names);
        names = nullptr;
    }
    if (names)
        map_free_names(static_cast<Tbl*>(setarr(item->maplayers_templates, name, names)));
    free(name);
    return names ? 0 : -1;
}

int map_parse_maplayers_template(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    static const char* const func = "map_parse_maplayers_template";
    KgrmapItem* item = map_item_of(record);
    if (!item->maplayers_templates) {
        hx_register_error(0, "%s: No maplayers templates defined.\n", func);
        return -1;
    }
    auto* names = static_cast<Tbl*>(getarr(item->maplayers_templates, value ? value : ""));
    if (!names) {
        hx_register_error(0, "%s: Cannot find maplayers template for '%s'.\n", func,
                          value ? value : "");
        return -1;
    }
    Tbl* copy = copyNames(names);
    if (!copy)
        return -1;
    setNames(item, copy);
    return 0;
}

int map_parse_maplayer_show(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    return setVisibility(value, record, "map_parse_maplayer_show", 1);
}

int map_parse_maplayer_hide(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    return setVisibility(value, record, "map_parse_maplayer_hide", 0);
}

int map_parse_maplayer_visibility_toggle(HX_ConfigureSpec*, HX_ClientData, char* value,
                                         char* record, int)
{
    return setVisibility(value, record, "map_parse_maplayer_visibility_toggle", -1);
}

// Frees the templates of a map (its destructor's part).
void map_free_templates(KgrmapItem* item)
{
    freearr(item->maplayers_templates, freeNamesValue);
    item->maplayers_templates = nullptr;
}
