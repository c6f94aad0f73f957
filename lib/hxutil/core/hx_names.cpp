#include "hx_names.h"

#include <list>
#include <mutex>
#include <string>

namespace {

struct Entry {
    std::string name;
    std::string class_name;
    void* object;
};

struct Registry {
    std::mutex mutex;
    // A list keeps the name strings in place, so HX_GetName may hand them out.
    std::list<Entry> entries;
};

Registry& registry()
{
    static Registry* r = new Registry;
    return *r;
}

bool classMatches(const Entry& e, const char* class_name)
{
    return !class_name || e.class_name == class_name;
}

} // namespace

int HX_SetName(const char* name, const char* class_name, void* object)
{
    if (!name || !object)
        return -1;
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    try {
        for (Entry& e : r.entries) {
            if (e.name == name) {
                e.class_name = class_name ? class_name : "";
                e.object = object;
                return 0;
            }
        }
        r.entries.push_back(Entry{name, class_name ? class_name : "", object});
    } catch (...) {
        return -1;
    }
    return 0;
}

void* HX_GetObject(const char* name, const char* class_name)
{
    if (!name)
        return nullptr;
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    for (const Entry& e : r.entries)
        if (e.name == name && classMatches(e, class_name))
            return e.object;
    return nullptr;
}

const char* HX_GetName(const void* object, const char* class_name)
{
    if (!object)
        return nullptr;
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    for (auto it = r.entries.rbegin(); it != r.entries.rend(); ++it)
        if (it->object == object && classMatches(*it, class_name))
            return it->name.c_str();
    return nullptr;
}

int HX_UnsetObject(const void* object)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    size_t before = r.entries.size();
    r.entries.remove_if([object](const Entry& e) { return e.object == object; });
    return static_cast<int>(before - r.entries.size());
}
