// Reads arbitrary bytes as QuakeML; what is accepted must hold the
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
    if (hxcat_read_quakeml(reinterpret_cast<const char*>(data), size, "fuzz", &cat) == 0) {
        for (const HXCatEvent& e : cat.events) {
            if (e.publicid.empty())
                abort();
            for (const HXCatOrigin& o : e.origins)
                if (!std::isfinite(o.time) || fabs(o.lat) > 90 || fabs(o.lon) > 360 ||
                    o.publicid.empty())
                    abort();
            for (const HXCatPick& p : e.picks)
                if (p.sta.empty())
                    abort();
        }
    }
    hx_clear_register(0);
    return 0;
}
