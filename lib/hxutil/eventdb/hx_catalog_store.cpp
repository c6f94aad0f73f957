// Writing a catalogue into an event database in one transaction.
#include "hx_catalog.h"

#include "hx_error.h"
#include "hx_eventdb_writer.h"

#include <cctype>
#include <cstring>
#include <map>

namespace {

// Which origin column a magnitude type fills: local-type magnitudes (ml,
// md, mlv, ...) count as ml when nothing better is known.
double* magnitudeColumn(HXEVOrigin& o, const std::string& type)
{
    std::string t;
    for (char c : type)
        t += (char)tolower((unsigned char)c);
    if (t.rfind("mw", 0) == 0)
        return &o.mw;
    if (t.rfind("mb", 0) == 0)
        return &o.mb;
    if (t.rfind("ms", 0) == 0)
        return &o.ms;
    if (t.rfind("ml", 0) == 0)
        return &o.ml;
    return o.ml <= -999 ? &o.ml : nullptr;
}

void copyText(char* dst, size_t size, const std::string& s)
{
    size_t n = s.size() < size - 1 ? s.size() : size - 1;
    memcpy(dst, s.data(), n);
    dst[n] = 0;
}

HXEVOrigin originRecord(const HXCatEvent& e, const HXCatOrigin& c, long evid)
{
    HXEVOrigin o{};
    o.evid = evid;
    o.time = c.time;
    o.lat = c.lat;
    o.lon = c.lon;
    o.depth = c.depth;
    o.ndef = o.nass = -1;
    o.ml = o.mb = o.ms = o.mw = -999;
    int ndef = 0;
    for (const HXCatArrival& a : c.arrivals)
        ndef += a.defining;
    if (!c.arrivals.empty()) {
        o.nass = (int)c.arrivals.size();
        o.ndef = ndef;
    }
    for (const HXCatMagnitude& m : e.magnitudes) {
        bool mine =
            m.originid == c.publicid || (m.originid.empty() && c.publicid == e.preferred_origin);
        if (double* col = mine ? magnitudeColumn(o, m.type) : nullptr)
            *col = m.mag;
    }
    copyText(o.auth, sizeof o.auth, c.auth);
    copyText(o.review, sizeof o.review, c.review);
    return o;
}

int storeEvent(const HXCatEvent& e, HXEvdbWriter& w, HXCatStoreStats& st)
{
    bool made = false;
    long evid = w.event(e.publicid.c_str(), e.name.c_str(), e.auth.c_str(), &made);
    if (evid < 0)
        return -1;
    st.events += made;
    std::map<std::string, long> arids;
    std::map<std::string, const HXCatPick*> picks;
    for (const HXCatPick& p : e.picks) {
        HXEVDetectionStachan d{};
        copyText(d.net, sizeof d.net, p.net);
        copyText(d.sta, sizeof d.sta, p.sta);
        copyText(d.chan, sizeof d.chan, p.chan);
        copyText(d.phase, sizeof d.phase, p.phase);
        copyText(d.state, sizeof d.state, p.state);
        d.time = p.time;
        long arid = w.detection(p.publicid.c_str(), d, &made);
        if (arid < 0)
            return -1;
        st.detections += made;
        arids[p.publicid] = arid;
        picks[p.publicid] = &p;
    }
    std::map<std::string, long> orids;
    long preferred = -1;
    for (const HXCatOrigin& c : e.origins) {
        long orid = w.origin(c.publicid.c_str(), originRecord(e, c, evid), &made);
        if (orid < 0)
            return -1;
        st.origins += made;
        orids[c.publicid] = orid;
        if (preferred < 0 || c.publicid == e.preferred_origin)
            preferred = orid;
        for (const HXCatArrival& a : c.arrivals) {
            auto it = arids.find(a.pickid);
            if (it == arids.end()) {
                hx_register_error(0,
                                  "hxcat_store: arrival of origin '%s' names unknown pick '%s'\n",
                                  c.publicid.c_str(), a.pickid.c_str());
                return -1;
            }
            const HXCatPick* pick = picks[a.pickid];
            int added = w.assoc(it->second, orid, pick->sta.c_str(),
                                (a.phase.empty() ? pick->phase : a.phase).c_str(), a.delta,
                                a.residual, a.defining);
            if (added < 0)
                return -1;
            st.associations += added;
        }
    }
    if (preferred >= 0 && w.setPreferred(evid, preferred) < 0)
        return -1;
    for (const HXCatMagnitude& m : e.magnitudes) {
        auto it = orids.find(m.originid);
        long orid = it != orids.end() ? it->second : preferred;
        long id = w.netmag(m.publicid.c_str(), orid, evid, m.type.c_str(), m.mag, m.nsta,
                           m.uncertainty, m.auth.c_str(), &made);
        if (id < 0)
            return -1;
        st.magnitudes += made;
    }
    for (const HXCatTensor& t : e.tensors) {
        auto it = orids.find(t.originid);
        long orid = it != orids.end() ? it->second : preferred;
        if (w.mt(t.publicid.c_str(), orid, evid, t.m, t.scm, e.auth.c_str(), &made) < 0)
            return -1;
        st.tensors += made;
    }
    return 0;
}

} // namespace

int hxcat_store(const HXCatalog& catalog, HXEvdbWriter& writer, HXCatStoreStats* stats)
{
    HXCatStoreStats st{};
    if (writer.begin() < 0)
        return -1;
    for (const HXCatEvent& e : catalog.events)
        if (storeEvent(e, writer, st) < 0) {
            writer.rollback();
            hx_register_error(0,
                              "hxcat_store: event '%s' not stored; nothing of the catalogue was\n",
                              e.publicid.c_str());
            return -1;
        }
    if (writer.commit() < 0)
        return -1;
    if (stats)
        *stats = st;
    return 0;
}
