// Feeds arbitrary text to hx_str2epoch. An accepted time is formatted in
// each form the parser reads and read back, which must give the same
// millisecond. The text also serves as a format for epoch2str.
#include "hx_error.h"
#include "hx_time.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Years 0000-9999, which the date forms can spell with four digits.
bool has_four_digit_year(double epoch)
{
    return epoch >= -62167219200.0 && epoch <= 253402300799.0;
}

void check_round_trip(double epoch)
{
    static const char* const kFormats[] = {"%Y-%m-%dT%H:%M:%S.%sZ", "%G %T.%s", "%m/%d/%Y %T.%s",
                                           "%Y-%j %T.%s", "%Y%j %T.%s"};
    for (const char* format : kFormats) {
        char* text = epoch2str(epoch, format);
        if (text == nullptr)
            abort();
        double back = 0;
        if (hx_str2epoch(text, &back) != 0 || std::fabs(back - epoch) > 1e-3)
            abort();
        std::free(text);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const char* s = input.c_str(); // stops at the first NUL byte, if any

    double epoch = 0;
    if (hx_str2epoch(s, &epoch) == 0) {
        if (!std::isfinite(epoch))
            abort();
        if (has_four_digit_year(epoch))
            check_round_trip(epoch);
    } else if (hx_register_count() != 1) {
        abort();
    }
    hx_clear_register(0);

    std::free(epoch2str(1795303015.25, s));
    std::free(epoch2str(-62135596800.5, s));
    hx_clear_register(0);
    return 0;
}
