// Compiles arbitrary bytes as a parameter file and reads back every value of
// a compiled tree with every parse_param type.
#include "hx_containers.h"
#include "hx_error.h"
#include "hx_pf.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void walk(Pf* pf);

// Reads name from the array pf in every way parse_param offers.
void read_every_way(Pf* pf, const char* name)
{
    Pf* node = nullptr;
    char* text = nullptr;
    int integer = 0;
    double number = 0;
    Arr* arr = nullptr;
    Tbl* tbl = nullptr;
    parse_param(pf, name, 'P', 1, &node);
    if (parse_param(pf, name, 's', 1, &text) == 0)
        std::free(text);
    parse_param(pf, name, 'd', 1, &integer);
    parse_param(pf, name, 'f', 1, &number);
    parse_param(pf, name, 'b', 1, &integer);
    parse_param(pf, name, 'a', 1, &arr);
    parse_param(pf, name, 't', 1, &tbl);
    parse_param(pf, name, 'x', 0, &integer);
}

void walk_list(Tbl* list)
{
    for (int i = 0; i < maxtbl(list); i++)
        walk(static_cast<Pf*>(gettbl(list, i)));
}

// Depth is bounded by HX_PF_MAX_DEPTH, so recursion is safe here.
void walk(Pf* pf)
{
    (void)pfstring(pf);
    if (pftype(pf) != PFARR)
        return;
    Tbl* keys = pfkeys(pf);
    for (int i = 0; i < maxtbl(keys); i++) {
        const char* name = static_cast<const char*>(gettbl(keys, i));
        read_every_way(pf, name);
        Pf* child = nullptr;
        const int type = pfget(pf, name, &child);
        if (type == PFARR)
            walk(child);
        Tbl* list = nullptr;
        if (type == PFTBL && parse_param(pf, name, 't', 1, &list) == 0)
            walk_list(list);
    }
    freetbl(keys, nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    Pf* pf = nullptr;
    if (pfcompile(text.c_str(), &pf) == 0)
        walk(pf);
    pffree(pf);
    hx_clear_register(0);
    return 0;
}
