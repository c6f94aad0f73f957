// FDSN station text, station level, one station epoch per line:
//   #Network|Station|Latitude|Longitude|Elevation|SiteName|StartTime|EndTime
// and storing the stations in the site table.
#include "hx_stations.h"

#include "hx_error.h"
#include "hx_eventdb_writer.h"
#include "hx_fdsntext_impl.h"
#include "hx_time.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <cmath>
#include <map>

namespace {

const char* const READER = "hxsta_read_stationtext";

// A start or end time; empty gives missing.
int readTime(const QByteArray& field, double missing, const char* what, const char* source,
             long line, double* out)
{
    QByteArray t = field.trimmed();
    if (t.isEmpty()) {
        *out = missing;
        return 0;
    }
    if (hx_str2epoch(t.constData(), out) < 0 || !std::isfinite(*out)) {
        hx_clear_register(0);
        return hxfdsn_line_error(READER, source, line, what, t);
    }
    return 0;
}

int readLine(const QByteArray& raw, const char* source, long line, std::vector<HXStation>* stations)
{
    QList<QByteArray> f = raw.split('|');
    if (f.size() != 8) {
        hx_register_error(0, "%s: %s: line %ld: %d fields, expected 8\n", READER, source, line,
                          (int)f.size());
        return -1;
    }
    HXStation s;
    s.net = f[0].trimmed().toStdString();
    s.sta = f[1].trimmed().toStdString();
    if (s.net.empty())
        return hxfdsn_line_error(READER, source, line, "no Network in", raw);
    if (s.sta.empty())
        return hxfdsn_line_error(READER, source, line, "no Station in", raw);
    double elev_m = 0;
    if (hxfdsn_number(f, 2, &s.lat, true, READER, "bad latitude", source, line) < 0 ||
        hxfdsn_number(f, 3, &s.lon, true, READER, "bad longitude", source, line) < 0 ||
        hxfdsn_number(f, 4, &elev_m, false, READER, "bad elevation", source, line) < 0)
        return -1;
    if (fabs(s.lat) > 90)
        return hxfdsn_line_error(READER, source, line, "latitude out of range", f[2]);
    if (fabs(s.lon) > 360)
        return hxfdsn_line_error(READER, source, line, "longitude out of range", f[3]);
    s.elev = elev_m / 1000;
    s.name = QString::fromUtf8(f[5].trimmed()).toStdString();
    if (readTime(f[6], -HUGE_VAL, "bad start time", source, line, &s.start) < 0 ||
        readTime(f[7], HUGE_VAL, "bad end time", source, line, &s.end) < 0)
        return -1;
    if (s.end < s.start)
        return hxfdsn_line_error(READER, source, line, "end time before start time in", raw);
    stations->push_back(std::move(s));
    return 0;
}

} // namespace

int hxsta_read_stationtext(const char* data, size_t size, const char* source,
                           std::vector<HXStation>* stations)
{
    source = source ? source : "input";
    std::vector<HXStation> result;
    if (hxfdsn_each_record(data, size, READER, source, [&](long line, const QByteArray& text) {
            return readLine(text, source, line, &result);
        }) < 0)
        return -1;
    *stations = std::move(result);
    return 0;
}

bool hxsta_is_stationtext(const char* data, size_t size)
{
    QList<QByteArray> h = hxfdsn_header(data, size);
    return h.size() >= 2 && h[0].toLower() == "network" && h[1].toLower() == "station";
}

int hxsta_read_file(const char* path, std::vector<HXStation>* stations)
{
    QFile file(QString::fromLocal8Bit(path));
    if (!file.open(QIODevice::ReadOnly)) {
        hx_register_error(0, "hxsta_read_file: cannot read '%s': %s\n", path,
                          file.errorString().toLocal8Bit().constData());
        return -1;
    }
    QByteArray data = file.readAll();
    return hxsta_read_stationtext(data.constData(), data.size(), path, stations);
}

std::vector<HXStation> hxsta_latest(const std::vector<HXStation>& stations)
{
    std::vector<HXStation> latest;
    std::map<std::string, size_t> at;
    for (const HXStation& s : stations) {
        auto it = at.find(s.sta);
        if (it == at.end()) {
            at[s.sta] = latest.size();
            latest.push_back(s);
        } else if (s.start >= latest[it->second].start) {
            latest[it->second] = s;
        }
    }
    return latest;
}

int hxsta_store(const std::vector<HXStation>& stations, HXEvdbWriter& writer,
                HXStaStoreStats* stats)
{
    HXStaStoreStats st{};
    if (writer.begin() < 0)
        return -1;
    for (const HXStation& s : hxsta_latest(stations)) {
        int done = writer.upsertSite(s.sta.c_str(), s.net.c_str(), s.lat, s.lon, s.elev);
        if (done < 0) {
            writer.rollback();
            hx_register_error(0, "hxsta_store: station '%s' not stored; nothing of the list was\n",
                              s.sta.c_str());
            return -1;
        }
        st.added += done == 1;
        st.changed += done == 2;
    }
    if (writer.commit() < 0)
        return -1;
    if (stats)
        *stats = st;
    return 0;
}
