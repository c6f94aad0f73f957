#include "kgrqt.h"
#include "render.h"

#include <QColor>
#include <QPainter>
#include <QPixmap>

#include <gtest/gtest.h>

namespace {

// An item that paints a white rectangle with a red square into a layer,
// following the contract of every layer painter.
class SquarePainter : public QWidget {
public:
    explicit SquarePainter(KGRViewport* vp) : vp(vp) { vp->registerItem(this); }
    void setLayer(KGRLayer* l) { layer = l; }
    int paints = 0;

protected:
    void paintEvent(QPaintEvent*) override
    {
        if (!layer)
            return;
        layer->setSize(vp->viewport.w, vp->viewport.h);
        if (!layer->layer.stale)
            return;
        ++paints;
        QPainter p(layer->layer.pixmap);
        p.fillRect(0, 0, 100, 50, Qt::white);
        p.fillRect(10, 10, 20, 20, Qt::red);
    }

private:
    KGRViewport* vp;
    KGRLayer* layer = nullptr;
};

struct LayerTest : ::testing::Test {
    void SetUp() override
    {
        vp = new KGRViewport(nullptr);
        vp->resize(100, 50);
        ASSERT_EQ(vp->configure("fill_frame", "#0000ff", static_cast<char*>(nullptr)), 0);
        // Items come first: the layer is raised above the items that paint
        // into it, so it shows their drawing in the same frame.
        square = new SquarePainter(vp);
        layer = new KGRLayer(vp);
    }
    // Hands the layer to the square item.
    SquarePainter* painter()
    {
        square->setLayer(layer);
        return square;
    }
    void TearDown() override { delete vp; }
    KGRViewport* vp = nullptr;
    KGRLayer* layer = nullptr;
    SquarePainter* square = nullptr;
};

} // namespace

TEST_F(LayerTest, ConstructionLinksTheViewport)
{
    EXPECT_EQ(layer->layer.vp, vp);
    EXPECT_EQ(layer->layer.viewport, &vp->viewport);
    EXPECT_EQ(layer->layer.stale, 0);
    EXPECT_EQ(layer->layer.pixmap, nullptr);
    EXPECT_EQ(layer->parentWidget(), vp);
    EXPECT_STREQ(layer->class_name, "KGRLayer");
    EXPECT_FALSE(layer->autoFillBackground());
}

TEST_F(LayerTest, SetSizeTwiceClearsOnce)
{
    layer->setSize(40, 30);
    ASSERT_NE(layer->layer.pixmap, nullptr);
    EXPECT_EQ(layer->layer.pixmap->size(), QSize(40, 30));
    EXPECT_EQ(layer->layer.stale, 1);
    layer->layer.stale = 0;
    QPainter(layer->layer.pixmap).fillRect(0, 0, 40, 30, Qt::green);
    QPixmap* before = layer->layer.pixmap;
    layer->setSize(40, 30);
    EXPECT_EQ(layer->layer.pixmap, before);
    EXPECT_EQ(layer->layer.stale, 0);
    EXPECT_EQ(layer->layer.pixmap->toImage().pixel(5, 5), qRgb(0, 255, 0));
    layer->setSize(41, 30);
    EXPECT_EQ(layer->layer.stale, 1);
    EXPECT_EQ(qAlpha(layer->layer.pixmap->toImage().pixel(5, 5)), 0);
}

TEST_F(LayerTest, SetStaleClearsThePixmap)
{
    layer->setSize(10, 10);
    layer->layer.pixmap->fill(Qt::red);
    layer->layer.stale = 0;
    layer->setStale();
    EXPECT_EQ(layer->layer.stale, 1);
    EXPECT_EQ(qAlpha(layer->layer.pixmap->toImage().pixel(3, 3)), 0);
}

TEST_F(LayerTest, ShowsThePixmapAndPaintsOnlyWhenStale)
{
    auto* square = painter();
    QImage first = renderWidget(*vp);
    EXPECT_EQ(square->paints, 1);
    EXPECT_EQ(layer->layer.stale, 0);
    EXPECT_EQ(first.pixel(15, 15), qRgb(255, 0, 0));
    EXPECT_EQ(first.pixel(50, 40), qRgb(255, 255, 255));
    QImage second = renderWidget(*vp);
    EXPECT_EQ(square->paints, 1); // not stale: the pixmap is shown again
    EXPECT_EQ(second.pixel(15, 15), qRgb(255, 0, 0));
}

TEST_F(LayerTest, ResizeOfTheViewportMakesEveryPainterRedraw)
{
    auto* square = painter();
    renderWidget(*vp);
    vp->resize(120, 60);
    renderWidget(*vp);
    EXPECT_EQ(square->paints, 2);
    EXPECT_EQ(layer->layer.pixmap->size(), QSize(120, 60));
}

TEST_F(LayerTest, MaskColourBecomesTransparent)
{
    painter();
    QColor white(Qt::white);
    layer->maskColorTransparent(&white);
    QImage image = renderWidget(*vp);
    // The white background is gone: the viewport's frame fill shows through.
    EXPECT_EQ(image.pixel(50, 40), qRgb(0, 0, 255));
    EXPECT_EQ(image.pixel(15, 15), qRgb(255, 0, 0));
    layer->maskColorTransparent();
    EXPECT_EQ(layer->layer.mask_color, nullptr);
}

TEST_F(LayerTest, PaintEventResetsStaleWithoutAPixmap)
{
    layer->layer.stale = 1;
    ASSERT_EQ(layer->layer.pixmap, nullptr);
    QImage image(10, 10, QImage::Format_ARGB32);
    layer->resize(10, 10);
    layer->render(&image);
    EXPECT_EQ(layer->layer.stale, 0);
}

TEST_F(LayerTest, ViewportPaintsIntoItsLayerOnlyWhenStale)
{
    vp->setLayer(layer);
    ASSERT_EQ(vp->configure("fill_frame", "#00ff00", static_cast<char*>(nullptr)), 0);
    QImage image = renderWidget(*vp);
    EXPECT_EQ(image.pixel(50, 25), qRgb(0, 255, 0));
    EXPECT_EQ(layer->layer.pixmap->toImage().pixel(50, 25), qRgb(0, 255, 0));
    // Not stale: a new colour is not painted until the layer is made stale.
    ASSERT_EQ(vp->configure("fill_frame", "#ff0000", static_cast<char*>(nullptr)), 0);
    image = renderWidget(*vp);
    EXPECT_EQ(layer->layer.pixmap->toImage().pixel(50, 25), qRgb(0, 255, 0));
    layer->setStale();
    image = renderWidget(*vp);
    EXPECT_EQ(image.pixel(50, 25), qRgb(255, 0, 0));
}
