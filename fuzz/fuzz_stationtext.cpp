// Reads arbitrary bytes as FDSN station text; what is accepted must hold the
// invariants that storing the stations relies on.
#include "hx_error.h"
#include "hx_stations.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const char* text = reinterpret_cast<const char*>(data);
    (void)hxsta_is_stationtext(text, size);
    std::vector<HXStation> stations;
    if (hxsta_read_stationtext(text, size, "fuzz", &stations) == 0) {
        for (const HXStation& s : stations) {
            if (s.net.empty() || s.sta.empty())
                abort();
            if (!std::isfinite(s.lat) || !std::isfinite(s.lon) || !std::isfinite(s.elev) ||
                fabs(s.lat) > 90 || fabs(s.lon) > 360)
                abort();
            if (std::isnan(s.start) || std::isnan(s.end) || s.end < s.start)
                abort();
        }
        std::vector<HXStation> latest = hxsta_latest(stations);
        std::set<std::string> codes;
        for (const HXStation& s : latest)
            if (!codes.insert(s.sta).second)
                abort();
        if (latest.size() > stations.size() || (latest.empty() != stations.empty()))
            abort();
    }
    hx_clear_register(0);
    return 0;
}
