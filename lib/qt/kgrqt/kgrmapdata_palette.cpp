// The elevation palette of map grids and the HLS colour helpers.
#include "KGRMapData.h"

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <mutex>

// Sea depths in 100 m steps through slate blue-greys to the shore; land
// green, light green, yellow, tan, brown, white.
CPT kgrmapdata_cpt_table[] = {
    {-5000, 44, 53, 99},    {-4900, 46, 54, 100},   {-4800, 48, 56, 103},   {-4700, 50, 59, 106},
    {-4600, 52, 60, 107},   {-4500, 54, 61, 109},   {-4400, 56, 63, 111},   {-4300, 57, 65, 113},
    {-4200, 60, 68, 116},   {-4100, 62, 70, 118},   {-4000, 64, 72, 120},   {-3900, 66, 74, 122},
    {-3800, 68, 75, 124},   {-3700, 70, 78, 126},   {-3600, 73, 81, 129},   {-3500, 76, 84, 132},
    {-3400, 77, 85, 133},   {-3300, 80, 88, 136},   {-3200, 82, 90, 138},   {-3100, 86, 94, 142},
    {-3000, 88, 96, 144},   {-2900, 90, 99, 146},   {-2800, 92, 101, 148},  {-2700, 95, 104, 151},
    {-2600, 98, 107, 154},  {-2500, 102, 111, 157}, {-2400, 105, 114, 160}, {-2300, 107, 117, 162},
    {-2200, 112, 121, 165}, {-2100, 117, 125, 167}, {-2000, 124, 131, 170}, {-1900, 130, 135, 173},
    {-1800, 134, 139, 175}, {-1700, 139, 143, 177}, {-1600, 143, 147, 180}, {-1500, 148, 152, 181},
    {-1400, 155, 158, 185}, {-1300, 159, 161, 187}, {-1200, 163, 165, 189}, {-1100, 166, 168, 191},
    {-1000, 170, 172, 193}, {-900, 175, 176, 195},  {-800, 180, 181, 197},  {-700, 182, 183, 199},
    {-600, 185, 186, 200},  {-500, 187, 188, 202},  {-400, 190, 191, 203},  {-300, 193, 193, 204},
    {-200, 194, 195, 205},  {-100, 196, 197, 206},  {0, 197, 197, 206},     {1, 0, 132, 53},
    {833, 51, 204, 0},      {1667, 244, 240, 113},  {3333, 244, 189, 69},   {5000, 152, 100, 43},
    {7500, 255, 255, 255},  {-9999, 0, 0, 0},
};

CPT* kgrmapdata_cpt = nullptr;
int kgrmapdata_ncpt = 0;
int kgrmapdata_ecpt = 0;

namespace {

std::atomic<int> first{1};
std::mutex cpt_mutex;

int tableRows()
{
    int n = 0;
    while (kgrmapdata_cpt_table[n].elev != -9999)
        n++;
    return n;
}

// The colour of sample v between rows a and b.
CPT interpolate(const CPT& a, const CPT& b, int v)
{
    auto component = [&](int ca, int cb) {
        double c = ca + double(v - a.elev) * (cb - ca) / double(b.elev - a.elev);
        return int(c + 0.5);
    };
    return CPT{v, component(a.red, b.red), component(a.green, b.green), component(a.blue, b.blue)};
}

} // namespace

// Samples are metres times 0.625, so the table is scaled to that unit once
// and expanded to one entry per sample value. The flag is tested before the
// lock; it is tested again under the lock and cleared only when the palette
// is complete, so a second caller never sees a half-built palette.
void kgrmapdata_make_cpt()
{
    if (!first.load(std::memory_order_acquire))
        return;
    std::lock_guard<std::mutex> guard(cpt_mutex);
    if (!first.load(std::memory_order_relaxed))
        return;
    int n = tableRows();
    for (int i = 0; i < n; i++)
        kgrmapdata_cpt_table[i].elev = int(kgrmapdata_cpt_table[i].elev * 0.625);
    kgrmapdata_ncpt = kgrmapdata_cpt_table[n - 1].elev - kgrmapdata_cpt_table[0].elev + 1;
    kgrmapdata_ecpt = kgrmapdata_cpt_table[0].elev;
    CPT* cpt = static_cast<CPT*>(calloc(size_t(kgrmapdata_ncpt), sizeof(CPT)));
    if (cpt) {
        int row = 0;
        for (int k = 0; k < kgrmapdata_ncpt; k++) {
            int v = kgrmapdata_ecpt + k;
            while (row < n - 1 && kgrmapdata_cpt_table[row].elev < v)
                row++;
            const CPT& b = kgrmapdata_cpt_table[row];
            cpt[k] = b.elev == v || row == 0 ? b : interpolate(kgrmapdata_cpt_table[row - 1], b, v);
            cpt[k].elev = v;
        }
    }
    kgrmapdata_cpt = cpt;
    first.store(0, std::memory_order_release);
}

double kgrmapdata_color_value(double p, double q, double hue)
{
    // Far-off hues are brought near first, so that the steps below end.
    if (std::fabs(hue) > 1e6)
        hue = std::fmod(hue, 360.0);
    while (hue > 360.0)
        hue -= 360.0;
    while (hue < 0.0)
        hue += 360.0;
    if (hue < 60.0)
        return p + (q - p) * hue / 60.0;
    if (hue < 180.0)
        return q;
    if (hue < 240.0)
        return p + (q - p) * (240.0 - hue) / 60.0;
    return p;
}

int kgrmapdata_hls_to_rgb(double hue, double lightness, double saturation, double gamma,
                          double* red, double* green, double* blue)
{
    lightness = lightness < 0.0 ? 0.0 : lightness > 1.0 ? 1.0 : lightness;
    saturation = saturation < 0.0 ? 0.0 : saturation > 1.0 ? 1.0 : saturation;
    if (gamma != 0.0 && lightness > 0.5)
        lightness = (1.0 + std::pow(2.0 * lightness - 1.0, gamma)) * 0.5;
    if (saturation == 0.0) {
        *red = *green = *blue = lightness;
        return 0;
    }
    double m2 = lightness <= 0.5 ? lightness * (1.0 + saturation)
                                 : lightness + saturation - lightness * saturation;
    double m1 = 2.0 * lightness - m2;
    *red = kgrmapdata_color_value(m1, m2, hue + 120.0);
    *green = kgrmapdata_color_value(m1, m2, hue);
    *blue = kgrmapdata_color_value(m1, m2, hue - 120.0);
    return 0;
}
