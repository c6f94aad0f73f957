// Reads arbitrary bytes as a kgrqt-plot catalogue; what is accepted must
// hold the bounds the map relies on.
#include "catalogue_text.h"
#include "hx_error.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::vector<CatalogueEvent> events;
    plot_parse_catalogue(reinterpret_cast<const char*>(data), size, "fuzz", &events);
    for (const CatalogueEvent& e : events) {
        if (!std::isfinite(e.time) || fabs(e.lat) > 90 || fabs(e.lon) > 360 ||
            !std::isfinite(e.depth) || !std::isfinite(e.magnitude))
            abort();
        for (double m : e.m)
            if (!std::isfinite(m))
                abort();
    }
    hx_clear_register(0);
    return 0;
}
