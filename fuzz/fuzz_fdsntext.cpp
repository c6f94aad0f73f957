// Reads arbitrary bytes as FDSN text events; what is accepted must hold the
// invariants the importer relies on.
#include "hx_catalog.h"
#include "hx_error.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    HXCatalog cat;
    if (hxcat_read_fdsntext(reinterpret_cast<const char*>(data), size, "fuzz", &cat) == 0) {
        for (const HXCatEvent& e : cat.events) {
            if (e.publicid.empty() || e.origins.size() != 1)
                abort();
            const HXCatOrigin& o = e.origins[0];
            if (!std::isfinite(o.time) || !std::isfinite(o.depth) || fabs(o.lat) > 90 ||
                fabs(o.lon) > 360)
                abort();
        }
    }
    hx_clear_register(0);
    return 0;
}
