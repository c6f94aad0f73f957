// Tbl: an ordered list of untyped values, and the pushstr/popstr string
// builder.
#include "hx_containers.h"
#include "hx_error.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

struct Tbl {
    std::vector<void*> items;
};

namespace {

// newtbl's size is only a hint: a larger one is not worth a huge allocation.
constexpr int max_reserved = 1 << 16;

} // namespace

Tbl* newtbl(int size)
{
    Tbl* tbl = new (std::nothrow) Tbl;
    if (!tbl) {
        hx_register_error(HX_ERROR_ALLOC, "newtbl: out of memory\n");
        return nullptr;
    }
    try {
        tbl->items.reserve(static_cast<size_t>(std::clamp(size, 0, max_reserved)));
    } catch (const std::bad_alloc&) {
        // The list still works; it grows when needed.
    }
    return tbl;
}

void* gettbl(const Tbl* tbl, int i)
{
    if (!tbl || i < 0 || static_cast<size_t>(i) >= tbl->items.size())
        return nullptr;
    return tbl->items[static_cast<size_t>(i)];
}

int settbl(Tbl* tbl, int i, void* value)
{
    if (!tbl)
        return -1;
    const int count = maxtbl(tbl);
    if (i >= 0 && i < count) {
        tbl->items[static_cast<size_t>(i)] = value;
        return i;
    }
    if (i > count) {
        hx_register_error(HX_ERROR_INPUT,
                          "settbl: index '%d' lies beyond the end of a list of %d\n", i, count);
        return -1;
    }
    if (count == INT_MAX) {
        hx_register_error(HX_ERROR_ALLOC, "settbl: list is full\n");
        return -1;
    }
    try {
        tbl->items.push_back(value);
    } catch (const std::bad_alloc&) {
        hx_register_error(HX_ERROR_ALLOC, "settbl: out of memory\n");
        return -1;
    }
    return count;
}

int maxtbl(const Tbl* tbl)
{
    return tbl ? static_cast<int>(tbl->items.size()) : 0;
}

void sorttbl(Tbl* tbl, int (*compare)(void* a, void* b, void* private_data), void* private_data)
{
    if (!tbl || !compare)
        return;
    // stable_sort falls back to an in-place merge when it cannot get a
    // buffer, so it does not throw on memory shortage.
    std::stable_sort(tbl->items.begin(), tbl->items.end(),
                     [&](void* a, void* b) { return compare(a, b, private_data) < 0; });
}

void freetbl(Tbl* tbl, HX_FreeProc* free_value)
{
    if (!tbl)
        return;
    if (free_value)
        for (void* item : tbl->items)
            free_value(item);
    delete tbl;
}

namespace {

// What pushstr keeps behind the caller's void* handle.
struct StringStack {
    std::string text;
};

} // namespace

int pushstr(void** stack, const char* s)
{
    if (!stack)
        return -1;
    auto* pending = static_cast<StringStack*>(*stack);
    const bool created = !pending;
    try {
        if (created)
            pending = new StringStack;
        if (s)
            pending->text += s;
    } catch (const std::bad_alloc&) {
        if (created)
            delete pending;
        hx_register_error(HX_ERROR_ALLOC, "pushstr: out of memory\n");
        return -1;
    }
    *stack = pending;
    return 0;
}

char* popstr(void** stack)
{
    if (!stack)
        return nullptr;
    auto* pending = static_cast<StringStack*>(*stack);
    *stack = nullptr;
    const size_t length = pending ? pending->text.size() : 0;
    char* result = static_cast<char*>(std::malloc(length + 1));
    if (result) {
        if (length)
            std::memcpy(result, pending->text.data(), length);
        result[length] = '\0';
    } else {
        hx_register_error(HX_ERROR_ALLOC, "popstr: out of memory\n");
    }
    delete pending;
    return result;
}
