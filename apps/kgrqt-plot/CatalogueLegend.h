// The key of a catalogue map, in the lower left corner of its frame: the
// colours of a few depths and the sizes of a few magnitudes, as the map's
// codings draw them. It lies over the map but takes no input.
#ifndef KGRQT_CATALOGUE_LEGEND_H
#define KGRQT_CATALOGUE_LEGEND_H

#include <QColor>
#include <QWidget>

#include <vector>

class KGRViewport;

class CatalogueLegend : public QWidget {
public:
    struct Swatch {
        double value; // depth km or magnitude
        QColor colour;
        int radius; // pixels
    };

    // Registers with the viewport as its items do, so that it covers it.
    explicit CatalogueLegend(KGRViewport* vp);

    void setEntries(const std::vector<Swatch>& depths, const std::vector<Swatch>& magnitudes);
    // The box the key takes, in viewport pixels (empty before entries).
    QRect box() const;
    void draw(QPainter& painter);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void drawRow(QPainter& painter, int y, const char* title, const std::vector<Swatch>& row,
                 const char* format);

    KGRViewport* vp;
    std::vector<Swatch> depthRow, magnitudeRow;
};

#endif
