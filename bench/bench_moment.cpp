// 10000 distinct moment tensors to beach-ball outlines: hxmoment_create,
// hxmoment_compute_bb (which registers the six point vectors) and the
// freeing of the moment and the vectors, timed per tensor.
#include "hx_moment.h"
#include "hx_vector.h"

#include <benchmark/benchmark.h>

#include <array>
#include <random>
#include <vector>

namespace {

// Random tensors: six components uniform in (-1e24, 1e24), raw
// catalogue magnitudes, so every kind of mechanism occurs.
std::vector<std::array<double, 6>> tensors(int n)
{
    std::mt19937_64 rng(8);
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<std::array<double, 6>> out(n);
    for (auto& m : out)
        for (double& v : m)
            v = u(rng) * 1e24;
    return out;
}

void BM_MomentOutlines(benchmark::State& state)
{
    const auto ms = tensors(10000);
    char h[6][HXMOMENT_HANDLE_SIZE];
    for (auto _ : state) {
        for (const auto& m : ms) {
            HXMoment* mo = nullptr;
            if (hxmoment_create(0, &mo, m[0], m[1], m[2], m[3], m[4], m[5]) < 0)
                continue;
            hxmoment_compute_bb(mo, h[0], h[1], h[2], h[3], h[4], h[5]);
            hxmoment_free_hxmoment(mo);
            for (auto& handle : h)
                if (handle[0])
                    hxvector_free(handle);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(ms.size()));
}
BENCHMARK(BM_MomentOutlines)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
