#include "map_make.h"

#include "kgrqt.h"

#include <QFile>
#include <QString>

// The resources of a static library are linked in only when referred to.
static void initMapResources()
{
    Q_INIT_RESOURCE(map);
}

namespace {

const char* const kEnd = nullptr;

std::string replaceAll(std::string text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::string joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

} // namespace

QByteArray map_resource_text(const char* name)
{
    initMapResources();
    QFile file(QString(":/kgrqt-map/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::string map_layer_definitions(const std::string& mapdata, const std::string& view)
{
    const std::string text = map_resource_text("map_layers.pf").toStdString();
    return replaceAll(replaceAll(text, "@MAPDATA@", mapdata), "@VIEW@", view);
}

std::string map_next_view_name()
{
    static int views = 0;
    return "kgrqt-map-" + std::to_string(++views);
}

KGRMap* map_make(KGRViewport* vp, const MapSetup& setup, const std::string& view)
{
    const std::string layers = map_layer_definitions(setup.mapdata, view);
    if (layers.empty() ||
        vp->configure("margin", "0 0 0 0", "fill", "white", "center_yscale", "yes", kEnd) < 0)
        throw "map_make: the viewport cannot be set up";
    auto* map = new KGRMap(vp);
    const int ok = map->configure("picker_name", (view + "-picker").c_str(), "maplayer_definitions",
                                  layers.c_str(), "maplayers", layers.c_str(), kEnd);
    if (ok < 0)
        throw "map_make: the map layers cannot be defined";
    if (setup.layersGiven && map_show_layers(map, setup.layers) < 0)
        throw "map_make: unknown map layer";
    return map;
}

KGRMapLayerParams* map_layer_params(const KGRMap* map, const char* name)
{
    return map->map.maplayer_definitions && name
               ? static_cast<KGRMapLayerParams*>(getarr(map->map.maplayer_definitions, name))
               : nullptr;
}

std::vector<std::string> map_layer_names(const KGRMap* map)
{
    std::vector<std::string> names;
    for (int i = 0; i < maxtbl(map->map.maplayers); ++i)
        names.push_back(static_cast<const char*>(gettbl(map->map.maplayers, i)));
    return names;
}

int map_show_layers(KGRMap* map, const std::vector<std::string>& names)
{
    for (const std::string& name : names)
        if (!map_layer_params(map, name.c_str())) {
            hx_register_error(0, "map_show_layers: no map layer '%s' (defined: %s)\n", name.c_str(),
                              joined(map_layer_names(map)).c_str());
            return -1;
        }
    int result = 0;
    for (const std::string& name : map_layer_names(map)) {
        bool on = false;
        for (const std::string& wanted : names)
            on = on || wanted == name;
        if (map->configure(on ? "maplayer_show" : "maplayer_hide", name.c_str(), kEnd) < 0)
            result = -1;
    }
    return result;
}
