// Map-data rendering checked against GMT's drawing of the same shorelines
// and PROJ's azimuthal equidistant projection (tables made by
// tools/gen_coast_reference.sh).
#include "cpt_reference.h"
#include "kgrqt.h"
#include "mapdata_files.h"
#include "plot_record.h"
#include "reference_table.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <unistd.h>

namespace {

struct GmtPoint {
    int piece;
    double lon, lat, x, y;
};

struct GmtCase {
    std::string name, proj;
    int width = 0;
    double height = 0;
    double west = 0, east = 0, south = 0, north = 0;
    std::vector<GmtPoint> points;
};

std::vector<GmtCase> gmtCases()
{
    std::vector<GmtCase> cases;
    for (const ReferenceLine& row : readReferenceTable("gmt_coast_reference.tsv")) {
        const auto& f = row.fields;
        if (f[0] == "case") {
            GmtCase c;
            c.name = f[1];
            c.proj = f[2];
            c.width = std::stoi(f[3]);
            c.height = std::stod(f[4]);
            c.west = std::stod(f[5]);
            c.east = std::stod(f[6]);
            c.south = std::stod(f[7]);
            c.north = std::stod(f[8]);
            cases.push_back(c);
        } else if (!cases.empty()) {
            cases.back().points.push_back(GmtPoint{std::stoi(f[2]), std::stod(f[3]),
                                                   std::stod(f[4]), std::stod(f[5]),
                                                   std::stod(f[6])});
        }
    }
    return cases;
}

// The pieces of a case as level-1 polylines of a map-data file.
std::string piecesFile(const GmtCase& c)
{
    std::map<int, HXMapDataSegmentInput> pieces;
    for (const GmtPoint& p : c.points) {
        HXMapDataSegmentInput& s = pieces[p.piece];
        s.level = 1;
        s.lons.push_back(int(std::lround(p.lon * 1e6)));
        s.lats.push_back(int(std::lround(p.lat * 1e6)));
    }
    std::vector<HXMapDataSegmentInput> segs;
    for (auto& kv : pieces)
        segs.push_back(kv.second);
    HXMapDataWriter w;
    w.addVector(vectorOf(segs));
    return writeBytes("gmt_" + c.name + "_" + c.proj + ".kmd", bytesOf(w));
}

KgrviewportItem caseViewport(const GmtCase& c)
{
    const bool merc = c.proj == "merc";
    int h = int(std::lround(c.height));
    double yb = merc ? kgrqt_mercator_y(c.south) : c.south;
    double yt = merc ? kgrqt_mercator_y(c.north) : c.north;
    KgrviewportItem vp =
        plotRecord(c.width, h, c.west, c.east, yb, yt, merc ? KGR_WTRAN_MERC : KGR_WTRAN_GEOG);
    vp.bblatmin = yb;
    vp.bblatmax = yt;
    return vp;
}

bool darkNear(const QImage& image, double x, double y)
{
    int cx = int(std::floor(x)), cy = int(std::floor(y));
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
            if (image.valid(cx + dx, cy + dy) && qGray(image.pixel(cx + dx, cy + dy)) < 128)
                return true;
    return false;
}

} // namespace

TEST(KGRMapDataReference, TablesArePresent)
{
    std::vector<GmtCase> cases = gmtCases();
    ASSERT_EQ(cases.size(), 6u); // three scales, two projections
    for (const GmtCase& c : cases)
        EXPECT_GT(c.points.size(), 150u) << c.name;
}

TEST(KGRMapDataReference, ProjectedPointsAreGmtsPositions)
{
    for (const GmtCase& c : gmtCases()) {
        KgrviewportItem vp = caseViewport(c);
        double yscale = c.height / vp.h; // our frame has a whole number of rows
        int bad = 0;
        for (const GmtPoint& p : c.points) {
            double px, py;
            ASSERT_EQ(kgrqt_get_pcoords(&vp, p.lon, p.lat, &px, &py, 0, 0), 0);
            if (std::fabs(px - p.x) > 1e-3 || std::fabs(py * yscale - p.y) > 1e-3)
                ++bad;
        }
        EXPECT_EQ(bad, 0) << c.name << " " << c.proj;
    }
}

TEST(KGRMapDataReference, DrawnCoastlineLiesWithinOnePixelOfGmts)
{
    QColor black(Qt::black);
    for (const GmtCase& c : gmtCases()) {
        std::string path = piecesFile(c);
        KGRMapData md(const_cast<char*>(path.c_str()), 1);
        ASSERT_EQ(md.setResolution(0), 0);
        KgrviewportItem vp = caseViewport(c);
        QImage image(vp.w, vp.h, QImage::Format_ARGB32);
        image.fill(Qt::white);
        {
            QPainter painter(&image);
            KGR_Color outline[KGRMAPDATA_NLEVELS]{};
            int widths[KGRMAPDATA_NLEVELS];
            for (int& w : widths)
                w = -1;
            outline[0].color = &black;
            widths[0] = 1;
            KGR_Color none{nullptr, nullptr};
            md.drawVector(painter, &vp, 1u, outline, widths, nullptr, none, none);
        }
        double yscale = vp.h / c.height;
        int checked = 0, missed = 0;
        for (const GmtPoint& p : c.points) {
            double x = p.x, y = p.y * yscale;
            if (x < 1 || y < 1 || x > vp.w - 2 || y > vp.h - 2)
                continue;
            ++checked;
            missed += !darkNear(image, x, y);
        }
        EXPECT_GT(checked, 100) << c.name << " " << c.proj;
        EXPECT_EQ(missed, 0) << c.name << " " << c.proj;
        // And the drawing is no more than the coastline: dark pixels are
        // near some GMT point or the line between two of them.
        QImage gmt(vp.w, vp.h, QImage::Format_ARGB32);
        gmt.fill(Qt::white);
        {
            QPainter painter(&gmt);
            painter.setPen(QPen(Qt::black, 3));
            for (size_t i = 1; i < c.points.size(); ++i)
                if (c.points[i].piece == c.points[i - 1].piece)
                    painter.drawLine(QPointF(c.points[i - 1].x, c.points[i - 1].y * yscale),
                                     QPointF(c.points[i].x, c.points[i].y * yscale));
        }
        int stray = 0;
        for (int y = 0; y < vp.h; ++y)
            for (int x = 0; x < vp.w; ++x)
                if (qGray(image.pixel(x, y)) < 128 && qGray(gmt.pixel(x, y)) >= 128)
                    ++stray;
        EXPECT_EQ(stray, 0) << c.name << " " << c.proj;
    }
}

TEST(KGRMapDataReference, EquidistantPointsAgreeWithProjAeqd)
{
    auto rows = readReferenceTable("proj_aeqd_coast_reference.tsv");
    ASSERT_GT(rows.size(), 1000u);
    double worst = 0;
    for (const ReferenceLine& row : rows) {
        const auto& f = row.fields;
        HXMapTransform t(std::stod(f[0]), std::stod(f[1]));
        double x, y;
        t.edpLatlon2delxy(std::stod(f[3]), std::stod(f[2]), &x, &y);
        worst = std::max(worst,
                         std::max(std::fabs(x - std::stod(f[4])), std::fabs(y - std::stod(f[5]))));
    }
    EXPECT_LT(worst, 1e-6);
}

// The relief built by kgrqt-mapdata from ETOPO5, where it is installed.
TEST(KGRMapDataReference, KnownPlacesTakeThePalettesColours)
{
    const char* dir = getenv("KGRQT_MAPDATA_DIR");
    std::string path = std::string(dir && *dir ? dir : "/opt/larkspur/data/maps/kmd") +
                       "/srtm30.dem.world.v01.grid.kmd";
    if (access(path.c_str(), R_OK) != 0)
        GTEST_SKIP() << "no relief file at " << path << " (tools/install-mapdata.sh builds it)";
    KGRMapData md(const_cast<char*>(path.c_str()), 1);
    int full = int(md.frame.nresolutions) - 1;
    ASSERT_EQ(md.setResolution(full), 0);
    struct Place {
        const char* name;
        double lat, lon;
        int zmin, zmax; // the sample must lie in this range
    } places[] = {
        {"Mariana Trench", 11.35, 142.2, -32768, -3126}, // deeper than 5000 m
        {"Himalaya", 27.99, 86.93, 2800, 32767},         // higher than 4480 m
        {"North Sea shore", 53.0, 4.75, -40, 40},        // within 64 m of sea level
    };
    for (const Place& p : places) {
        // The sample through the reader, the colour through the renderer:
        // a one-pixel image centred on the place.
        HXMapDataResolution* res = &md.frame.resolutions[full];
        int itile;
        long ilon, ilat, ix, iy, offset;
        unsigned char* buf;
        ASSERT_EQ(md.findTile(res, p.lat, p.lon, &itile, &ilon, &ilat), 0) << p.name;
        ASSERT_EQ(md.getTileGrid(full, itile, &buf), 0);
        ASSERT_EQ(md.findPixelWithinTile(res, static_cast<HXMapDataGrid*>(res->data), ilon, ilat,
                                         p.lat, p.lon, &ix, &iy, &offset),
                  0);
        int z = int16_t(buf[offset] | buf[offset + 1] << 8);
        EXPECT_GE(z, p.zmin) << p.name;
        EXPECT_LE(z, p.zmax) << p.name;
        QImage* image = md.drawImage(3, 3, KGR_WTRAN_GEOG, p.lon - 0.001, p.lon + 0.001,
                                     p.lat - 0.001, p.lat + 0.001, 0, 0, 1.0, 0);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->pixel(1, 1), expectedColor(z)) << p.name << " sample " << z;
    }
}
