#include "CatalogueLegend.h"

#include "kgrqt.h"

#include <QGridLayout>
#include <QPainter>

#include <algorithm>

namespace {

const int kPad = 6;     // inside the box
const int kTitle = 74;  // width of the row titles
const int kColumn = 46; // width of one swatch with its value
const int kInset = 8;   // from the frame's corner

} // namespace

CatalogueLegend::CatalogueLegend(KGRViewport* viewport) : QWidget(viewport), vp(viewport)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    vp->registerItem(this);
}

void CatalogueLegend::setEntries(const std::vector<Swatch>& depths,
                                 const std::vector<Swatch>& magnitudes)
{
    depthRow = depths;
    magnitudeRow = magnitudes;
    update();
}

// Two rows as high as the largest symbol of each, as wide as the longer.
QRect CatalogueLegend::box() const
{
    if (depthRow.empty() && magnitudeRow.empty())
        return QRect();
    auto height = [](const std::vector<Swatch>& row) {
        int r = 7;
        for (const Swatch& s : row)
            r = std::max(r, s.radius);
        return 2 * r + 4;
    };
    const int columns = static_cast<int>(std::max(depthRow.size(), magnitudeRow.size()));
    const int w = 2 * kPad + kTitle + columns * kColumn;
    const int h = 2 * kPad + height(depthRow) + height(magnitudeRow);
    const KgrviewportItem& r = vp->viewport;
    return QRect(r.mleft + kInset, vp->height() - r.mbottom - kInset - h, w, h);
}

void CatalogueLegend::drawRow(QPainter& painter, int y, const char* title,
                              const std::vector<Swatch>& row, const char* format)
{
    const QRect b = box();
    int r = 7;
    for (const Swatch& s : row)
        r = std::max(r, s.radius);
    const int middle = y + r + 2;
    painter.setPen(Qt::black);
    painter.drawText(QRect(b.left() + kPad, y, kTitle, 2 * r + 4), Qt::AlignVCenter, title);
    for (size_t i = 0; i < row.size(); ++i) {
        const Swatch& s = row[i];
        const int x = b.left() + kPad + kTitle + static_cast<int>(i) * kColumn;
        const QPoint c(x + 8, middle);
        painter.setPen(QPen(QColor("#303030"), 1));
        painter.setBrush(s.colour);
        painter.drawEllipse(QPointF(c), s.radius, s.radius);
        painter.setPen(Qt::black);
        painter.drawText(QRect(x + 8 + std::max(s.radius, 7) + 3, y, kColumn, 2 * r + 4),
                         Qt::AlignVCenter, QString::asprintf(format, s.value));
    }
}

void CatalogueLegend::draw(QPainter& painter)
{
    const QRect b = box();
    if (b.isEmpty())
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(QFont("Helvetica", 9));
    painter.setPen(QColor("#a0a0a0"));
    painter.setBrush(QColor(255, 255, 255, 225));
    painter.drawRect(b);
    int r = 7;
    for (const Swatch& s : depthRow)
        r = std::max(r, s.radius);
    drawRow(painter, b.top() + kPad, "Depth (km)", depthRow, "%.0f");
    drawRow(painter, b.top() + kPad + 2 * r + 4, "Magnitude", magnitudeRow, "%.0f");
    painter.restore();
}

void CatalogueLegend::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    draw(painter);
}
