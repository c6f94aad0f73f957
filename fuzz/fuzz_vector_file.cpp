// Reads arbitrary bytes as a vector text of every kind and reads back each
// set, its extent and its labels.
#include "hx_error.h"
#include "hx_vector.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void readBack(const char* name, int kind, int nsets)
{
    for (int i = 0; i < nsets; ++i) {
        const std::string handle = std::string(name) + ":" + std::to_string(i);
        int n = 0, index = 0, spare = 0, xsize = 0, ysize = 0;
        double *x = nullptr, *y = nullptr;
        if (kind == HXVECTOR_PLAIN)
            hxvector_get_points(handle.c_str(), &n, &index, &x, &y, 0);
        else if (kind == HXVECTOR_SECOND)
            hxvector2_get_points(name, i, &n, &spare, &x, &xsize, &y, &ysize, 0);
        else
            hxhistory_get_points(handle.c_str(), &n, &x, &y);
        for (int j = 0; j < n; ++j)
            (void)hxvector_get_label(handle.c_str(), j);
        free(x);
        free(y);
        double x0, x1, y0, y1;
        hxvector_extent(handle.c_str(), &x0, &x1, &y0, &y1);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (int kind : {HXVECTOR_PLAIN, HXVECTOR_SECOND, HXVECTOR_HISTORY}) {
        const int nsets = hxvector_read_text("fuzz", kind, text.c_str(), "fuzz");
        readBack("fuzz", kind, nsets);
    }
    // Handles come from the input too.
    int n = 0, index = 0;
    double *x = nullptr, *y = nullptr;
    if (hxvector_get_points(text.c_str(), &n, &index, &x, &y, 0) == 0) {
        free(x);
        free(y);
    }
    (void)hxvector_get_vector(text.c_str());
    (void)hxvector2_get_vector(text.c_str());
    hxvector_free("fuzz");
    hx_clear_register(0);
    return 0;
}
