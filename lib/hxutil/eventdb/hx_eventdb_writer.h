// Writing rows into an event database, as importers and feeds do.
//
// Rows that carry a public identifier are looked up by it first, so that
// writing the same catalogue twice adds nothing: each call returns the key
// of the row found or made. Statements are prepared once and bound.
#ifndef HX_EVENTDB_WRITER_H
#define HX_EVENTDB_WRITER_H

#include "hx_eventview.h"

#include <QSqlDatabase>
#include <QString>

#include <map>
#include <memory>
#include <string>

class QSqlQuery;

class HXEvdbWriter {
public:
    // Writes through an open connection (see hxevdb_open).
    explicit HXEvdbWriter(const QString& connection);
    ~HXEvdbWriter();

    int begin();
    int commit();
    void rollback();

    // Each returns the row's key, or -1 with a registered error; *created
    // (when given) tells whether the row is new. A null or empty publicid
    // always makes a new row.
    long event(const char* publicid, const char* evname, const char* auth, bool* created = nullptr);
    // Uses o's evid, time, lat, lon, depth, ndef, nass, ml, mb, ms, mw, auth
    // and review.
    long origin(const char* publicid, const HXEVOrigin& o, bool* created = nullptr);
    long netmag(const char* publicid, long orid, long evid, const char* magtype, double magnitude,
                int nsta, double uncertainty, const char* auth, bool* created = nullptr);
    // Uses d's net, sta, chan, time, phase and state.
    long detection(const char* publicid, const HXEVDetectionStachan& d, bool* created = nullptr);
    // tensor: rr, tt, pp, rt, rp, tp (N m).
    long mt(const char* publicid, long orid, long evid, const double tensor[6], double scm,
            const char* auth, bool* created = nullptr);

    // Rows without public identifiers: added once, kept when present.
    // Return 1 when added, 0 when present, -1 on error.
    int assoc(long arid, long orid, const char* sta, const char* phase, double delta,
              double timeres, int defining);
    int site(const char* sta, const char* net, double lat, double lon, double elev);
    // A site row made to hold these values: 1 when added, 2 when its
    // network or position changed, 0 when it held them already, -1 on
    // error. elev in km.
    int upsertSite(const char* sta, const char* net, double lat, double lon, double elev);

    // Names origin orid as the preferred origin of event evid.
    int setPreferred(long evid, long orid);

    // Drops change-log entries beyond the newest keep (readers that fall
    // further behind read everything again).
    int pruneChangelog(long keep);

    QSqlDatabase db() const { return QSqlDatabase::database(connection_, false); }

private:
    QSqlQuery& prepared(const char* sql);
    long findOrInsert(const char* table, const char* key, const char* publicid, QSqlQuery& insert,
                      bool* created);

    QString connection_;
    std::map<std::string, std::unique_ptr<QSqlQuery>> queries_;
};

#endif
