// Arr: string keys mapped to untyped values, ordered by a caller-chosen
// comparison.
#include "hx_containers.h"
#include "hx_error.h"

#include <cstring>
#include <map>
#include <new>
#include <string>

namespace {

// Orders keys with the array's HX_KeyCompare. Transparent, so that lookups
// by a plain C string need no temporary std::string (and cannot throw).
struct KeyOrder {
    using is_transparent = void;
    HX_KeyCompare* compare;

    bool operator()(const std::string& a, const std::string& b) const
    {
        return compare(a.c_str(), b.c_str()) < 0;
    }
    bool operator()(const std::string& a, const char* b) const { return compare(a.c_str(), b) < 0; }
    bool operator()(const char* a, const std::string& b) const { return compare(a, b.c_str()) < 0; }
};

int compare_bytes(const char* a, const char* b)
{
    return std::strcmp(a, b);
}

} // namespace

struct Arr {
    std::map<std::string, void*, KeyOrder> entries;

    explicit Arr(HX_KeyCompare* compare) : entries(KeyOrder{compare}) {}
};

Arr* newarr(HX_KeyCompare* compare)
{
    Arr* arr = new (std::nothrow) Arr(compare ? compare : compare_bytes);
    if (!arr)
        hx_register_error(HX_ERROR_ALLOC, "newarr: out of memory\n");
    return arr;
}

void* getarr(const Arr* arr, const char* key)
{
    if (!arr || !key)
        return nullptr;
    auto it = arr->entries.find(key);
    return it == arr->entries.end() ? nullptr : it->second;
}

void* setarr(Arr* arr, const char* key, void* value)
{
    if (!arr || !key)
        return nullptr;
    auto it = arr->entries.find(key);
    if (it != arr->entries.end()) {
        void* old = it->second;
        it->second = value;
        return old;
    }
    try {
        arr->entries.emplace(key, value);
    } catch (const std::bad_alloc&) {
        hx_register_error(HX_ERROR_ALLOC, "setarr: out of memory storing '%s'\n", key);
    }
    return nullptr;
}

void* delarr(Arr* arr, const char* key)
{
    if (!arr || !key)
        return nullptr;
    auto it = arr->entries.find(key);
    if (it == arr->entries.end())
        return nullptr;
    void* value = it->second;
    arr->entries.erase(it);
    return value;
}

int cntarr(const Arr* arr)
{
    return arr ? static_cast<int>(arr->entries.size()) : 0;
}

Tbl* keysarr(const Arr* arr)
{
    if (!arr)
        return nullptr;
    Tbl* keys = newtbl(cntarr(arr));
    if (!keys)
        return nullptr;
    for (const auto& entry : arr->entries) {
        // The list only borrows the keys: map nodes never move.
        if (settbl(keys, -1, const_cast<char*>(entry.first.c_str())) < 0) {
            freetbl(keys, nullptr);
            return nullptr;
        }
    }
    return keys;
}

void freearr(Arr* arr, HX_FreeProc* free_value)
{
    if (!arr)
        return;
    if (free_value)
        for (auto& entry : arr->entries)
            free_value(entry.second);
    delete arr;
}
