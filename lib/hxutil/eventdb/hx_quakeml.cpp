// QuakeML 1.2 reader: events with their origins (and arrivals), magnitudes,
// picks and moment tensors. Elements this reader does not use are skipped;
// values are matched by the last elements of their path
// ("origin/latitude/value"), so namespaces and prefixes do not matter.
#include "hx_catalog.h"

#include "hx_error.h"
#include "hx_time.h"

#include <QByteArray>
#include <QStringList>
#include <QXmlStreamReader>

#include <cmath>
#include <cstring>

namespace {

class QuakemlReader {
public:
    QuakemlReader(const char* data, size_t size, const char* source)
        : xml(QByteArray::fromRawData(data, (int)size)), source(source)
    {
    }

    int read(HXCatalog* catalog);

private:
    int fail(const char* format, const QString& what);
    int start();
    int end();
    int value(const QString& text);
    int number(const QString& text, double* out);
    bool at(const char* suffix) const;

    QXmlStreamReader xml;
    const char* source;
    QStringList path;
    QString text;
    HXCatalog* cat = nullptr;
    HXCatEvent* event = nullptr;
    HXCatOrigin* origin = nullptr;
    HXCatArrival* arrival = nullptr;
    HXCatMagnitude* magnitude = nullptr;
    HXCatPick* pick = nullptr;
    HXCatTensor* tensor = nullptr;
    unsigned seen = 0; // required values of the open origin or pick
};

enum { SEEN_TIME = 1, SEEN_LAT = 2, SEEN_LON = 4 };

int QuakemlReader::fail(const char* format, const QString& what)
{
    QByteArray w = what.left(80).toUtf8();
    char message[256];
    snprintf(message, sizeof message, format, w.constData());
    hx_register_error(0, "hxcat_read_quakeml: %s: line %lld: %s\n", source,
                      (long long)xml.lineNumber(), message);
    return -1;
}

bool QuakemlReader::at(const char* suffix) const
{
    QStringList want = QString(suffix).split('/');
    if (want.size() > path.size())
        return false;
    for (int i = 0; i < want.size(); i++)
        if (path[path.size() - want.size() + i] != want[i])
            return false;
    return true;
}

int QuakemlReader::number(const QString& t, double* out)
{
    bool ok = false;
    double v = t.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(v))
        return fail("bad number '%s'", t.trimmed() + "' in '" + path.join('/'));
    *out = v;
    return 0;
}

int QuakemlReader::start()
{
    QString name = xml.name().toString();
    path << name;
    text.clear();
    QString id = xml.attributes().value("publicID").toString();
    const bool in_event = event != nullptr;
    if (name == "event" && at("eventParameters/event")) {
        cat->events.emplace_back();
        event = &cat->events.back();
        event->publicid = id.toStdString();
    } else if (in_event && name == "origin" && path.size() >= 2 &&
               path[path.size() - 2] == "event") {
        event->origins.emplace_back();
        origin = &event->origins.back();
        origin->publicid = id.toStdString();
        seen = 0;
    } else if (origin && name == "arrival") {
        origin->arrivals.emplace_back();
        arrival = &origin->arrivals.back();
    } else if (in_event && name == "magnitude" && path[path.size() - 2] == "event") {
        event->magnitudes.emplace_back();
        magnitude = &event->magnitudes.back();
        magnitude->publicid = id.toStdString();
    } else if (in_event && name == "pick" && path[path.size() - 2] == "event") {
        event->picks.emplace_back();
        pick = &event->picks.back();
        pick->publicid = id.toStdString();
        seen = 0;
    } else if (in_event && name == "momentTensor") {
        event->tensors.emplace_back();
        tensor = &event->tensors.back();
        tensor->publicid = id.toStdString();
    } else if (pick && name == "waveformID") {
        QXmlStreamAttributes a = xml.attributes();
        pick->net = a.value("networkCode").toString().toStdString();
        pick->sta = a.value("stationCode").toString().toStdString();
        pick->chan = a.value("channelCode").toString().toStdString();
        if (pick->sta.empty())
            return fail("%s", "waveformID without stationCode");
    } else if (name == "eventParameters" && path.size() > 2) {
        return fail("%s", "nested eventParameters");
    }
    return 0;
}

int QuakemlReader::value(const QString& raw)
{
    QString t = raw.trimmed();
    std::string s = t.toStdString();
    double v = 0;
    if (tensor) {
        static const char* const comps[] = {"Mrr", "Mtt", "Mpp", "Mrt", "Mrp", "Mtp"};
        for (int i = 0; i < 6; i++)
            if (at((QString("tensor/") + comps[i] + "/value").toUtf8().constData()))
                return number(t, &tensor->m[i]);
        if (at("scalarMoment/value"))
            return number(t, &tensor->scm);
        if (at("momentTensor/derivedOriginID"))
            tensor->originid = s;
        return 0;
    }
    if (arrival) {
        if (at("arrival/pickID"))
            arrival->pickid = s;
        else if (at("arrival/phase"))
            arrival->phase = s;
        else if (at("arrival/distance"))
            return number(t, &arrival->delta);
        else if (at("arrival/timeResidual"))
            return number(t, &arrival->residual);
        else if (at("arrival/timeWeight")) {
            if (number(t, &v) < 0)
                return -1;
            arrival->defining = v > 0;
        }
        return 0;
    }
    if (origin) {
        if (at("origin/time/value")) {
            if (hx_str2epoch(s.c_str(), &origin->time) < 0) {
                hx_clear_register(0);
                return fail("bad time '%s'", t);
            }
            seen |= SEEN_TIME;
        } else if (at("origin/latitude/value")) {
            seen |= SEEN_LAT;
            if (number(t, &origin->lat) < 0)
                return -1;
            if (fabs(origin->lat) > 90)
                return fail("latitude '%s' out of range", t);
        } else if (at("origin/longitude/value")) {
            seen |= SEEN_LON;
            if (number(t, &origin->lon) < 0)
                return -1;
            if (fabs(origin->lon) > 360)
                return fail("longitude '%s' out of range", t);
        } else if (at("origin/depth/value")) {
            if (number(t, &origin->depth) < 0)
                return -1;
            origin->depth /= 1000; // metres in QuakeML
        } else if (at("origin/evaluationMode")) {
            origin->review = s;
        } else if (at("origin/creationInfo/agencyID")) {
            origin->auth = s;
        }
        return 0;
    }
    if (magnitude) {
        if (at("magnitude/mag/value"))
            return number(t, &magnitude->mag);
        if (at("magnitude/mag/uncertainty"))
            return number(t, &magnitude->uncertainty);
        if (at("magnitude/type"))
            magnitude->type = s;
        else if (at("magnitude/originID"))
            magnitude->originid = s;
        else if (at("magnitude/stationCount"))
            magnitude->nsta = t.toInt();
        else if (at("magnitude/creationInfo/agencyID"))
            magnitude->auth = s;
        return 0;
    }
    if (pick) {
        if (at("pick/time/value")) {
            if (hx_str2epoch(s.c_str(), &pick->time) < 0) {
                hx_clear_register(0);
                return fail("bad time '%s'", t);
            }
            seen |= SEEN_TIME;
        } else if (at("pick/phaseHint")) {
            pick->phase = s;
        } else if (at("pick/evaluationMode")) {
            pick->state = s;
        }
        return 0;
    }
    if (event) {
        if (at("event/preferredOriginID"))
            event->preferred_origin = s;
        else if (at("event/description/text") && event->name.empty())
            event->name = s;
        else if (at("event/creationInfo/agencyID"))
            event->auth = s;
    }
    return 0;
}

int QuakemlReader::end()
{
    if (!text.isEmpty() && value(text) < 0)
        return -1;
    text.clear();
    QString name = path.takeLast();
    if (name == "momentTensor" && tensor) {
        tensor = nullptr;
    } else if (name == "arrival" && arrival) {
        if (arrival->pickid.empty())
            return fail("%s", "arrival without pickID");
        arrival = nullptr;
    } else if (name == "origin" && origin && !arrival) {
        if ((seen & (SEEN_TIME | SEEN_LAT | SEEN_LON)) != (SEEN_TIME | SEEN_LAT | SEEN_LON))
            return fail("%s", !(seen & SEEN_TIME)  ? "origin without time"
                              : !(seen & SEEN_LAT) ? "origin without latitude"
                                                   : "origin without longitude");
        if (origin->publicid.empty())
            return fail("%s", "origin without publicID");
        origin = nullptr;
    } else if (name == "magnitude" && magnitude) {
        magnitude = nullptr;
    } else if (name == "pick" && pick) {
        if (!(seen & SEEN_TIME))
            return fail("%s", "pick without time");
        if (pick->sta.empty())
            return fail("%s", "pick without waveformID");
        pick = nullptr;
    } else if (name == "event" && event && path.size() >= 1 && path.last() == "eventParameters") {
        if (event->publicid.empty())
            return fail("%s", "event without publicID");
        event = nullptr;
    }
    return 0;
}

int QuakemlReader::read(HXCatalog* catalog)
{
    cat = catalog;
    bool root = false;
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            if (!root && xml.name() != QLatin1String("quakeml"))
                return fail("root element is '%s', not quakeml", xml.name().toString());
            root = true;
            if (start() < 0)
                return -1;
            break;
        case QXmlStreamReader::EndElement:
            if (end() < 0)
                return -1;
            break;
        case QXmlStreamReader::Characters:
            text += xml.text();
            break;
        case QXmlStreamReader::DTD:
            // Entity declarations could expand without bound.
            return fail("%s", "document type declarations are not accepted");
        default:
            break;
        }
    }
    if (xml.hasError())
        return fail("%s", xml.errorString());
    if (!root)
        return fail("%s", "no quakeml element");
    return 0;
}

} // namespace

int hxcat_read_quakeml(const char* data, size_t size, const char* source, HXCatalog* catalog)
{
    if (size > (size_t)INT32_MAX) {
        hx_register_error(0, "hxcat_read_quakeml: %s: too large\n", source);
        return -1;
    }
    QuakemlReader reader(data, size, source ? source : "input");
    HXCatalog result;
    if (reader.read(&result) < 0)
        return -1;
    *catalog = std::move(result);
    return 0;
}
