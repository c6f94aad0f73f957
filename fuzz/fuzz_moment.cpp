// Six doubles from the input through the moment-tensor routines: a tensor
// is either refused with a registered error or gives outlines; nothing may
// crash, every handle handed out must be freeable, and every vertex must lie
// in the unit disc.
#include "hx_error.h"
#include "hx_moment.h"
#include "hx_vector.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    double m[6] = {0, 0, 0, 0, 0, 0};
    memcpy(m, data, size < sizeof m ? size : sizeof m);
    HXMoment* moment = nullptr;
    if (hxmoment_create(0, &moment, m[0], m[1], m[2], m[3], m[4], m[5]) < 0) {
        if (moment || hx_register_count() == 0)
            abort();
        hx_clear_register(0);
        return 0;
    }
    char h[6][HXMOMENT_HANDLE_SIZE];
    if (hxmoment_compute_bb(moment, h[0], h[1], h[2], h[3], h[4], h[5]) < 0)
        abort();
    hxmoment_free_hxmoment(moment);
    for (auto& handle : h) {
        if (!handle[0])
            continue;
        int n = 0, spare = 0, xs = 0, ys = 0;
        double *x = nullptr, *y = nullptr;
        if (hxvector2_get_points(handle, 0, &n, &spare, &x, &xs, &y, &ys, 0) < 0 || n < 1)
            abort();
        for (int i = 0; i < n; ++i)
            if (!(x[i] * x[i] + y[i] * y[i] <= 1 + 1e-9))
                abort();
        free(x);
        free(y);
        if (hxvector_free(handle) < 0)
            abort();
    }
    hx_clear_register(0);
    return 0;
}
