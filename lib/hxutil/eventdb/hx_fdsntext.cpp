// FDSN text event format, one event per line:
//   #EventID|Time|Latitude|Longitude|Depth/km|Author|Catalog|Contributor|
//    ContributorID|MagType|Magnitude|MagAuthor|EventLocationName[|EventType]
// Lines starting with '#' are headers or comments; blank lines are skipped.
// Also the line handling that the station text reader shares
// (hx_fdsntext_impl.h), and the file reader that tells the formats apart.
#include "hx_catalog.h"

#include "hx_error.h"
#include "hx_fdsntext_impl.h"
#include "hx_stations.h"
#include "hx_time.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <cmath>
#include <cstdint>

int hxfdsn_line_error(const char* reader, const char* source, long line, const char* what,
                      const QByteArray& value)
{
    // The value may be a slice of unterminated input: print it by length.
    QByteArray v = value.left(80);
    hx_register_error(0, "%s: %s: line %ld: %s '%.*s'\n", reader, source, line, what, (int)v.size(),
                      v.constData());
    return -1;
}

int hxfdsn_number(const QList<QByteArray>& f, int i, double* out, bool required, const char* reader,
                  const char* what, const char* source, long line)
{
    QByteArray t = f[i].trimmed();
    if (t.isEmpty() && !required)
        return 0;
    bool ok = false;
    double v = t.toDouble(&ok);
    if (!ok || !std::isfinite(v))
        return hxfdsn_line_error(reader, source, line, what, t);
    *out = v;
    return 0;
}

int hxfdsn_each_record(const char* data, size_t size, const char* reader, const char* source,
                       const std::function<int(long, const QByteArray&)>& record)
{
    if (size > (size_t)INT32_MAX) {
        hx_register_error(0, "%s: %s: too large\n", reader, source);
        return -1;
    }
    QByteArray all = QByteArray::fromRawData(data, (int)size);
    long line = 0;
    int start = 0;
    while (start < all.size()) {
        int nl = all.indexOf('\n', start);
        int stop = nl < 0 ? all.size() : nl;
        // A deep copy: slices of raw data are not null-terminated.
        QByteArray text(all.constData() + start, stop - start);
        start = stop + 1;
        line++;
        if (text.endsWith('\r'))
            text.chop(1);
        if (text.trimmed().isEmpty() || text.startsWith('#'))
            continue;
        if (text.contains('\0'))
            return hxfdsn_line_error(reader, source, line, "a null byte in",
                                     text.left(text.indexOf('\0')));
        if (record(line, text) < 0)
            return -1;
    }
    return 0;
}

QList<QByteArray> hxfdsn_header(const char* data, size_t size)
{
    QList<QByteArray> fields;
    size_t i = 0;
    while (i < size && isspace((unsigned char)data[i]))
        i++;
    if (i == size || data[i] != '#')
        return fields;
    size_t end = i;
    while (end < size && data[end] != '\n' && data[end] != '\0')
        end++;
    // A deep copy: the input need not be null-terminated.
    QByteArray header(data + i + 1, (int)std::min(end - i - 1, (size_t)4096));
    for (const QByteArray& f : header.split('|'))
        fields.append(f.trimmed());
    return fields;
}

namespace {

const char* const READER = "hxcat_read_fdsntext";

int readLine(const QByteArray& raw, const char* source, long line, HXCatalog* catalog)
{
    QList<QByteArray> f = raw.split('|');
    if (f.size() < 13) {
        hx_register_error(0, "%s: %s: line %ld: %d fields, expected 13\n", READER, source, line,
                          (int)f.size());
        return -1;
    }
    HXCatEvent e;
    e.publicid = f[0].trimmed().toStdString();
    if (e.publicid.empty())
        return hxfdsn_line_error(READER, source, line, "no EventID in", raw);
    HXCatOrigin o;
    o.publicid = e.publicid + "#origin";
    if (hx_str2epoch(f[1].trimmed().constData(), &o.time) < 0) {
        hx_clear_register(0);
        return hxfdsn_line_error(READER, source, line, "bad time", f[1]);
    }
    if (hxfdsn_number(f, 2, &o.lat, true, READER, "bad latitude", source, line) < 0 ||
        hxfdsn_number(f, 3, &o.lon, true, READER, "bad longitude", source, line) < 0 ||
        hxfdsn_number(f, 4, &o.depth, false, READER, "bad depth", source, line) < 0)
        return -1;
    if (fabs(o.lat) > 90)
        return hxfdsn_line_error(READER, source, line, "latitude out of range", f[2]);
    if (fabs(o.lon) > 360)
        return hxfdsn_line_error(READER, source, line, "longitude out of range", f[3]);
    o.auth = f[5].trimmed().toStdString();
    e.auth = f[7].trimmed().toStdString();
    e.name = QString::fromUtf8(f[12].trimmed()).toStdString();
    e.preferred_origin = o.publicid;
    HXCatMagnitude m;
    bool has_mag = !f[10].trimmed().isEmpty();
    if (hxfdsn_number(f, 10, &m.mag, false, READER, "bad magnitude", source, line) < 0)
        return -1;
    if (has_mag) {
        m.publicid = e.publicid + "#magnitude";
        m.type = f[9].trimmed().toStdString();
        m.originid = o.publicid;
        m.auth = f[11].trimmed().toStdString();
        e.magnitudes.push_back(m);
    }
    e.origins.push_back(o);
    catalog->events.push_back(std::move(e));
    return 0;
}

} // namespace

int hxcat_read_fdsntext(const char* data, size_t size, const char* source, HXCatalog* catalog)
{
    source = source ? source : "input";
    HXCatalog result;
    if (hxfdsn_each_record(data, size, READER, source, [&](long line, const QByteArray& text) {
            return readLine(text, source, line, &result);
        }) < 0)
        return -1;
    *catalog = std::move(result);
    return 0;
}

int hxcat_read_file(const char* path, HXCatalog* catalog)
{
    QFile file(QString::fromLocal8Bit(path));
    if (!file.open(QIODevice::ReadOnly)) {
        hx_register_error(0, "hxcat_read_file: cannot read '%s': %s\n", path,
                          file.errorString().toLocal8Bit().constData());
        return -1;
    }
    QByteArray data = file.readAll();
    if (hxsta_is_stationtext(data.constData(), data.size())) {
        hx_register_error(0, "hxcat_read_file: '%s' is FDSN station text, not events\n", path);
        return -1;
    }
    int i = 0;
    while (i < data.size() && isspace((unsigned char)data[i]))
        i++;
    if (i < data.size() && data[i] == '<')
        return hxcat_read_quakeml(data.constData(), data.size(), path, catalog);
    return hxcat_read_fdsntext(data.constData(), data.size(), path, catalog);
}
