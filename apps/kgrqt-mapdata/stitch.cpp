// Stitching: pieces cut at bin edges share their end points exactly, so
// ends are matched by their microdegree coordinates, longitudes taken modulo
// one turn.
#include "stitch.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <utility>

namespace {

const long kTurn = 360000000L;

long rounded(double degrees)
{
    return std::lround(degrees * 1e6);
}

// An end point independent of the turn its longitude is written in.
std::pair<long, long> endKey(long lon, long lat)
{
    long m = lon % kTurn;
    if (m < 0)
        m += kTurn;
    // At the poles every longitude is the same point.
    if (lat == 90000000L || lat == -90000000L)
        m = 0;
    return {m, lat};
}

struct Ends {
    std::multimap<std::pair<long, long>, size_t> starts, ends;
};

void removeEntry(std::multimap<std::pair<long, long>, size_t>& map, std::pair<long, long> key,
                 size_t id)
{
    auto range = map.equal_range(key);
    for (auto it = range.first; it != range.second; ++it)
        if (it->second == id) {
            map.erase(it);
            return;
        }
}

// Appends piece p to line (reversed when flip), shifted by whole turns so
// that it starts where line ends; its first point is the junction.
void append(Line& line, const Line& p, bool flip)
{
    size_t n = p.lons.size();
    auto lonAt = [&](size_t i) { return p.lons[flip ? n - 1 - i : i]; };
    auto latAt = [&](size_t i) { return p.lats[flip ? n - 1 - i : i]; };
    long shift = line.lons.back() - lonAt(0);
    for (size_t i = 1; i < n; ++i) {
        line.lons.push_back(lonAt(i) + shift);
        line.lats.push_back(latAt(i));
    }
}

// Closes a ring that went once round the world through the nearer pole.
bool closeThroughPole(Line& ring)
{
    long span = ring.lons.back() - ring.lons.front();
    if (std::labs(span) != kTurn || ring.lats.back() != ring.lats.front())
        return false;
    // Start the ring on the date line when it crosses it, so that the
    // closing meridians lie on the map's edge and not across the land.
    for (size_t k = 1; k + 1 < ring.lons.size(); ++k) {
        if (endKey(ring.lons[k], 0).first != 180000000L)
            continue;
        std::vector<long> lons(ring.lons.begin() + long(k), ring.lons.end());
        std::vector<long> lats(ring.lats.begin() + long(k), ring.lats.end());
        for (size_t i = 1; i <= k; ++i) {
            lons.push_back(ring.lons[i] + span);
            lats.push_back(ring.lats[i]);
        }
        ring.lons = std::move(lons);
        ring.lats = std::move(lats);
        break;
    }
    long pole = ring.lats.front() < 0 ? -90000000L : 90000000L;
    long first_lon = ring.lons.front(), first_lat = ring.lats.front();
    ring.lons.push_back(ring.lons.back());
    ring.lats.push_back(pole);
    ring.lons.push_back(first_lon);
    ring.lats.push_back(pole);
    ring.lons.push_back(first_lon);
    ring.lats.push_back(first_lat);
    return true;
}

std::vector<Line> stitchLevel(const std::vector<const Line*>& pieces, bool close_rings,
                              StitchReport* report)
{
    Ends ends;
    for (size_t i = 0; i < pieces.size(); ++i) {
        const Line& p = *pieces[i];
        ends.starts.emplace(endKey(p.lons.front(), p.lats.front()), i);
        ends.ends.emplace(endKey(p.lons.back(), p.lats.back()), i);
    }
    std::vector<bool> used(pieces.size(), false);
    std::vector<Line> out;
    auto take = [&](size_t id) {
        used[id] = true;
        const Line& p = *pieces[id];
        removeEntry(ends.starts, endKey(p.lons.front(), p.lats.front()), id);
        removeEntry(ends.ends, endKey(p.lons.back(), p.lats.back()), id);
    };
    for (size_t i = 0; i < pieces.size(); ++i) {
        if (used[i])
            continue;
        take(i);
        Line line = *pieces[i];
        for (;;) {
            auto end = endKey(line.lons.back(), line.lats.back());
            if (line.lons.size() > 2 && end == endKey(line.lons.front(), line.lats.front()))
                break;
            auto s = ends.starts.find(end);
            if (s != ends.starts.end()) {
                size_t id = s->second;
                take(id);
                append(line, *pieces[id], false);
                continue;
            }
            auto e = ends.ends.find(end);
            if (e != ends.ends.end()) {
                size_t id = e->second;
                take(id);
                append(line, *pieces[id], true);
                continue;
            }
            break;
        }
        bool closed = line.lons.size() > 2 && line.lons.back() == line.lons.front() &&
                      line.lats.back() == line.lats.front();
        if (!closed && close_rings && closeThroughPole(line)) {
            closed = true;
            report->polar++;
        }
        (closed ? report->closed : report->open)++;
        report->points_out += long(line.lons.size());
        out.push_back(std::move(line));
    }
    return out;
}

} // namespace

bool readDump(const std::string& command, int level_offset, std::vector<Line>* lines)
{
    FILE* in = popen(command.c_str(), "r");
    if (!in)
        return false;
    char buf[256];
    Line* cur = nullptr;
    while (fgets(buf, sizeof buf, in)) {
        if (buf[0] == '>') {
            const char* level = strstr(buf, "Level ");
            lines->emplace_back();
            cur = &lines->back();
            cur->level = (level ? atoi(level + 6) : 1) + level_offset;
            continue;
        }
        double lon, lat;
        if (cur && sscanf(buf, "%lf %lf", &lon, &lat) == 2) {
            cur->lons.push_back(rounded(lon));
            cur->lats.push_back(rounded(lat));
        }
    }
    bool ok = pclose(in) == 0;
    // Pieces of fewer than two points draw nothing.
    std::vector<Line> kept;
    for (Line& l : *lines)
        if (l.lons.size() >= 2)
            kept.push_back(std::move(l));
    *lines = std::move(kept);
    return ok;
}

std::vector<Line> stitch(const std::vector<Line>& pieces, bool close_rings, StitchReport* report)
{
    std::map<int, std::vector<const Line*>> levels;
    for (const Line& p : pieces) {
        levels[p.level].push_back(&p);
        report->pieces++;
        report->points_in += long(p.lons.size());
    }
    std::vector<Line> out;
    for (auto& kv : levels)
        for (Line& l : stitchLevel(kv.second, close_rings, report))
            out.push_back(std::move(l));
    return out;
}

double ringArea(const Line& ring)
{
    double a = 0;
    size_t n = ring.lons.size();
    for (size_t i = 0; i + 1 < n; ++i)
        a += (ring.lons[i] * 1e-6) * (ring.lats[i + 1] * 1e-6) -
             (ring.lons[i + 1] * 1e-6) * (ring.lats[i] * 1e-6);
    return 0.5 * a;
}

namespace {

// Orientation of c about the line a -> b: the sign of the cross product,
// exact in 128-bit integers.
int orient(long ax, long ay, long bx, long by, long cx, long cy)
{
    __int128 v = (__int128)(bx - ax) * (cy - ay) - (__int128)(by - ay) * (cx - ax);
    return v > 0 ? 1 : v < 0 ? -1 : 0;
}

} // namespace

long selfCrossings(const Line& l)
{
    size_t n = l.lons.size();
    if (n < 4)
        return 0;
    // Edges sorted by their western end, swept west to east.
    std::vector<size_t> order(n - 1);
    for (size_t i = 0; i + 1 < n; ++i)
        order[i] = i;
    auto west = [&](size_t i) { return std::min(l.lons[i], l.lons[i + 1]); };
    auto east = [&](size_t i) { return std::max(l.lons[i], l.lons[i + 1]); };
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return west(a) < west(b); });
    bool closed = l.lons.front() == l.lons.back() && l.lats.front() == l.lats.back();
    long count = 0;
    for (size_t a = 0; a < order.size(); ++a) {
        size_t i = order[a];
        for (size_t b = a + 1; b < order.size() && west(order[b]) <= east(i); ++b) {
            size_t j = order[b];
            size_t lo = std::min(i, j), hi = std::max(i, j);
            if (hi == lo + 1 || (closed && lo == 0 && hi == n - 2))
                continue; // neighbours share a point
            int o1 =
                orient(l.lons[i], l.lats[i], l.lons[i + 1], l.lats[i + 1], l.lons[j], l.lats[j]);
            int o2 = orient(l.lons[i], l.lats[i], l.lons[i + 1], l.lats[i + 1], l.lons[j + 1],
                            l.lats[j + 1]);
            int o3 =
                orient(l.lons[j], l.lats[j], l.lons[j + 1], l.lats[j + 1], l.lons[i], l.lats[i]);
            int o4 = orient(l.lons[j], l.lats[j], l.lons[j + 1], l.lats[j + 1], l.lons[i + 1],
                            l.lats[i + 1]);
            if (o1 * o2 < 0 && o3 * o4 < 0)
                ++count;
        }
    }
    return count;
}
