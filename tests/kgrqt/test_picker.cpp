#include "kgrqt.h"
#include "register.h"

#include <QApplication>
#include <QColor>
#include <QCursor>
#include <QGridLayout>
#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPen>
#include <QPixmap>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

const QRgb white = qRgb(255, 255, 255);

struct Call {
    int event;
    QEvent* qevent;
};

// Client data of a recording callback: what it saw and what it answers.
struct Recorder {
    std::vector<Call> calls;
    int result = 0;
};

int record(int event, void* clientData, QEvent* qevent)
{
    auto* r = static_cast<Recorder*>(clientData);
    r->calls.push_back({event, qevent});
    return r->result;
}

int other(int, void*, QEvent*)
{
    return 0;
}

// A picker that notes what reaches its hook.
class ProbePicker : public KGRPicker {
public:
    using KGRPicker::KGRPicker;
    int eventCallback(QEvent* event) override
    {
        seen.push_back(event->type());
        return 0;
    }
    std::vector<QEvent::Type> seen;
};

// Counts events of one type delivered to the object it watches.
class EventCounter : public QObject {
public:
    explicit EventCounter(QEvent::Type type) : type(type) {}
    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == type;
        return false;
    }
    QEvent::Type type;
    int count = 0;
};

void send(QWidget* widget, QEvent* event)
{
    QApplication::sendEvent(widget, event);
}

void sendMove(QWidget* widget, int x, int y)
{
    QMouseEvent e(QEvent::MouseMove, QPointF(x, y), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    send(widget, &e);
}

void sendEnter(QWidget* widget)
{
    QEvent e(QEvent::Enter);
    send(widget, &e);
}

void sendLeave(QWidget* widget)
{
    QEvent e(QEvent::Leave);
    send(widget, &e);
}

QWheelEvent wheelAt(int x, int y)
{
    return QWheelEvent(QPointF(x, y), QPointF(x, y), QPoint(), QPoint(0, 120), Qt::NoButton,
                       Qt::NoModifier, Qt::NoScrollPhase, false);
}

// One event of each kind the picker handles, with the code it maps to.
struct EventCase {
    const char* name;
    int code;
    std::function<std::unique_ptr<QEvent>()> make;
};

std::vector<EventCase> everyEvent()
{
    auto mouse = [](QEvent::Type t) {
        return [t] {
            return std::unique_ptr<QEvent>(new QMouseEvent(t, QPointF(50, 60), Qt::LeftButton,
                                                           Qt::LeftButton, Qt::NoModifier));
        };
    };
    auto key = [](QEvent::Type t) {
        return [t] { return std::unique_ptr<QEvent>(new QKeyEvent(t, Qt::Key_A, Qt::NoModifier)); };
    };
    auto plain = [](QEvent::Type t) { return [t] { return std::make_unique<QEvent>(t); }; };
    return {
        {"mousePressEvent", 2, mouse(QEvent::MouseButtonPress)},
        {"mouseReleaseEvent", 3, mouse(QEvent::MouseButtonRelease)},
        {"mouseMoveEvent", 4,
         [] {
             return std::unique_ptr<QEvent>(new QMouseEvent(
                 QEvent::MouseMove, QPointF(50, 60), Qt::NoButton, Qt::NoButton, Qt::NoModifier));
         }},
        {"wheelEvent", 6, [] { return std::unique_ptr<QEvent>(new QWheelEvent(wheelAt(50, 60))); }},
        {"Enter", 7, plain(QEvent::Enter)},
        {"Leave", 8, plain(QEvent::Leave)},
        {"keyPressEvent", 10, key(QEvent::KeyPress)},
        {"keyReleaseEvent", 11, key(QEvent::KeyRelease)},
    };
}

// A 200 x 150 viewport, white all over, with a different margin on each
// side: left 20, right 30, top 15, bottom 25.
struct PickerTest : ::testing::Test {
    void SetUp() override
    {
        hx_clear_register(0);
        vp.resize(200, 150);
        ASSERT_EQ(vp.configure("mleft", "20", "mright", "30", "mbottom", "25", "mtop", "15", "fill",
                               "white", "fill_frame", "white", static_cast<char*>(nullptr)),
                  0);
    }
    void TearDown() override { hx_clear_register(0); }

    // Shows the viewport and lets the pending paints and activation pass.
    void showViewport()
    {
        vp.show();
        vp.activateWindow();
        settle();
    }
    static void settle()
    {
        for (int i = 0; i < 5; ++i)
            QApplication::processEvents();
    }

    // The viewport as it is shown, pickers included.
    QImage shot() { return vp.grab().toImage().convertToFormat(QImage::Format_RGB32); }

    // The record's frame as the viewport's paint leaves it.
    void setFrame()
    {
        vp.viewport.w = 200;
        vp.viewport.h = 150;
    }

    KGRViewport vp{nullptr};
};

bool allWhite(const QImage& image)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != white)
                return false;
    return true;
}

// Whether the horizontal and the vertical crosshair through (x, y) show,
// each sampled 30 pixels away from their crossing (antialiasing shades the
// pixel before the line too).
bool crosshairsAt(const QImage& image, int x, int y)
{
    int column = x < 100 ? x + 30 : x - 30;
    int row = y < 70 ? y + 30 : y - 30;
    bool horizontal = image.pixel(column, y) != white || image.pixel(column, y - 1) != white;
    bool vertical = image.pixel(x, row) != white || image.pixel(x - 1, row) != white;
    return horizontal && vertical;
}

QImage whiteImage()
{
    QImage image(200, 150, QImage::Format_RGB32);
    image.fill(white);
    return image;
}

} // namespace

TEST_F(PickerTest, ConstructionFollowsTheItemPattern)
{
    KGRPicker picker(&vp);
    EXPECT_EQ(picker.parentWidget(), &vp);
    EXPECT_GE(vp.layout->indexOf(&picker), 0);
    EXPECT_FALSE(picker.autoFillBackground());
    EXPECT_TRUE(picker.hasMouseTracking());
    EXPECT_EQ(picker.debug, 0);
    EXPECT_STREQ(picker.class_name, "KGRPicker");
    EXPECT_EQ(picker.picker.vp, &vp);
    EXPECT_EQ(picker.picker.viewport, &vp.viewport);
    EXPECT_EQ(picker.picker.layer, nullptr);
    EXPECT_EQ(picker.picker.left_window, 0);
    ASSERT_NE(picker.bindings, nullptr);
    EXPECT_STREQ(picker.bindings[1].event_name, "mousePressEvent");
    ASSERT_NE(picker.picker.crosshairs_pen, nullptr);
    EXPECT_EQ(picker.picker.crosshairs_pen->color(), QColor("#000000"));
}

TEST_F(PickerTest, OptionDefaults)
{
    KGRPicker picker(&vp);
    EXPECT_EQ(picker.picker.crosshairs, 0);
    ASSERT_NE(picker.picker.crosshairs_color.color, nullptr);
    EXPECT_STREQ(picker.picker.crosshairs_color.color_name, "black");
    EXPECT_EQ(picker.picker.crosshairs_color.color->rgba(), qRgba(0, 0, 0, 255));
    ASSERT_NE(picker.picker.crosshairs2_color.color, nullptr);
    EXPECT_STREQ(picker.picker.crosshairs2_color.color_name, "#80ffff00");
    EXPECT_EQ(picker.picker.crosshairs2_color.color->rgba(), qRgba(255, 255, 0, 0x80));
    ASSERT_EQ(picker.configure("crosshairs", "yes", "crosshairs_color", "#80004000",
                               static_cast<char*>(nullptr)),
              0);
    EXPECT_EQ(picker.picker.crosshairs, 1);
    EXPECT_EQ(picker.picker.crosshairs_color.color->rgba(), qRgba(0, 0x40, 0, 0x80));
}

TEST_F(PickerTest, DefaultCursorIsACachedHalfTransparentCross)
{
    KGRPicker picker(&vp);
    QCursor cursor = picker.cursor();
    EXPECT_EQ(cursor.shape(), Qt::BitmapCursor);
    EXPECT_EQ(cursor.hotSpot(), QPoint(15, 15));
    QImage image = cursor.pixmap().toImage().convertToFormat(QImage::Format_ARGB32);
    ASSERT_EQ(image.size(), QSize(31, 31));
    const QRgb black = qRgba(0, 0, 0, 0x80), light = qRgba(255, 255, 255, 0x80);
    // Both lines of the cross pass through the centre.
    EXPECT_EQ(image.pixel(15, 15), qRgba(0, 0, 0, 0xc0));
    for (QPoint p : {QPoint(0, 15), QPoint(30, 15), QPoint(15, 0), QPoint(15, 30), QPoint(14, 15),
                     QPoint(15, 14)})
        EXPECT_EQ(image.pixel(p), black) << p.x() << "," << p.y();
    // Outlines on both sides, open at the centre.
    for (QPoint p : {QPoint(0, 14), QPoint(14, 14), QPoint(16, 14), QPoint(30, 16), QPoint(14, 0),
                     QPoint(14, 13), QPoint(16, 17), QPoint(16, 30), QPoint(14, 16)})
        EXPECT_EQ(image.pixel(p), light) << p.x() << "," << p.y();
    for (QPoint p : {QPoint(0, 0), QPoint(30, 30), QPoint(5, 20), QPoint(13, 13), QPoint(17, 17)})
        EXPECT_EQ(qAlpha(image.pixel(p)), 0) << p.x() << "," << p.y();

    // Built once: every picker shows the same pixmap.
    KGRPicker second(&vp);
    EXPECT_EQ(second.cursor().pixmap().cacheKey(), cursor.pixmap().cacheKey());
}

TEST_F(PickerTest, SetDefaultCursorActivatesTheWindowAndTakesTheFocus)
{
    QWidget elsewhere(&vp);
    elsewhere.setFocusPolicy(Qt::StrongFocus);
    KGRPicker picker(&vp);
    showViewport();
    elsewhere.setFocus();
    settle();
    ASSERT_EQ(vp.focusWidget(), &elsewhere);

    picker.setDefaultCursor();
    settle();
    EXPECT_EQ(vp.focusWidget(), &picker);
    EXPECT_EQ(QApplication::activeWindow(), &vp);
    EXPECT_TRUE(picker.hasFocus());
}

TEST_F(PickerTest, EnteringTakesTheFocusSoKeyBindingsWorkWithoutAClick)
{
    QWidget elsewhere(&vp);
    elsewhere.setFocusPolicy(Qt::StrongFocus);
    KGRPicker picker(&vp);
    Recorder keys;
    picker.bind("keyPressEvent", record, &keys);
    showViewport();
    elsewhere.setFocus();
    picker.picker.left_window = 1;

    sendEnter(&picker);
    EXPECT_EQ(picker.picker.left_window, 0);
    ASSERT_EQ(vp.focusWidget(), &picker);
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Z, Qt::NoModifier, "z");
    send(vp.focusWidget(), &press);
    ASSERT_EQ(keys.calls.size(), 1u);
    EXPECT_EQ(keys.calls[0].event, 10);
}

TEST_F(PickerTest, LeavingReleasesTheKeyboardGrab)
{
    KGRPicker picker(&vp);
    showViewport();
    picker.grabKeyboard();
    ASSERT_EQ(QWidget::keyboardGrabber(), &picker);
    sendLeave(&picker);
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
    EXPECT_EQ(picker.picker.left_window, 1);
}

TEST_F(PickerTest, EachHandlerDispatchesItsEventKind)
{
    KGRPicker picker(&vp);
    Recorder r;
    for (const EventCase& c : everyEvent())
        picker.bind(c.name, record, &r);
    for (const EventCase& c : everyEvent()) {
        r.calls.clear();
        std::unique_ptr<QEvent> event = c.make();
        send(&picker, event.get());
        ASSERT_EQ(r.calls.size(), 1u) << c.name;
        EXPECT_EQ(r.calls[0].event, c.code) << c.name;
        EXPECT_EQ(r.calls[0].qevent, event.get()) << c.name;
    }
}

TEST_F(PickerTest, ConsumingBindingKeepsTheHookFromEveryEvent)
{
    ProbePicker picker(&vp);
    Recorder consume;
    consume.result = 2;
    for (const EventCase& c : everyEvent())
        picker.bind(c.name, record, &consume);
    for (const EventCase& c : everyEvent()) {
        std::unique_ptr<QEvent> event = c.make();
        send(&picker, event.get());
    }
    EXPECT_EQ(consume.calls.size(), everyEvent().size());
    EXPECT_TRUE(picker.seen.empty());
}

TEST_F(PickerTest, OtherResultsAndNoBindingCallTheHook)
{
    // A failing callback is complained about; keep that out of the output.
    FILE* complaints = tmpfile();
    hx_set_complaint_stream(complaints);
    for (int result : {-1, 0, 1, 3}) {
        ProbePicker picker(&vp);
        Recorder r;
        r.result = result;
        for (const EventCase& c : everyEvent())
            picker.bind(c.name, record, &r);
        std::vector<QEvent::Type> expected;
        for (const EventCase& c : everyEvent()) {
            std::unique_ptr<QEvent> event = c.make();
            expected.push_back(event->type());
            send(&picker, event.get());
        }
        EXPECT_EQ(picker.seen, expected) << "result " << result;
    }
    hx_set_complaint_stream(nullptr);
    fclose(complaints);
    hx_clear_register(0);

    ProbePicker unbound(&vp);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    send(&unbound, &press);
    EXPECT_EQ(unbound.seen, std::vector<QEvent::Type>{QEvent::MouseButtonPress});
}

TEST_F(PickerTest, FirstCallbackConsumingAPressStopsTheChainAndTheHook)
{
    ProbePicker picker(&vp);
    Recorder first, second;
    first.result = 2;
    picker.bind("mousePressEvent", record, &first);
    picker.bind("mousePressEvent", record, &second);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    send(&picker, &press);
    EXPECT_EQ(first.calls.size(), 1u);
    EXPECT_TRUE(second.calls.empty());
    EXPECT_TRUE(picker.seen.empty());
}

TEST_F(PickerTest, MotionAndWheelSetTheLastMousePositionOthersDoNot)
{
    KGRPicker picker(&vp);
    sendMove(&picker, 33, 44);
    EXPECT_EQ(picker.picker.last_mouse_x, 33);
    EXPECT_EQ(picker.picker.last_mouse_y, 44);
    QWheelEvent wheel = wheelAt(71, 82);
    send(&picker, &wheel);
    EXPECT_EQ(picker.picker.last_mouse_x, 71);
    EXPECT_EQ(picker.picker.last_mouse_y, 82);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 6), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    send(&picker, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(7, 8), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    send(&picker, &release);
    sendEnter(&picker);
    EXPECT_EQ(picker.picker.last_mouse_x, 71);
    EXPECT_EQ(picker.picker.last_mouse_y, 82);
}

TEST_F(PickerTest, WheelIsAcceptedOnlyWhenTheBindingsAnswerOne)
{
    struct Case {
        int callbacks; // 0: nothing bound
        int result;
        bool accepted;
    };
    for (Case c : {Case{1, 1, true}, Case{1, 0, true}, Case{1, 2, false}, Case{0, 0, false}}) {
        KGRPicker picker(&vp);
        Recorder r;
        r.result = c.result;
        if (c.callbacks)
            picker.bind("wheelEvent", record, &r);
        QWheelEvent wheel = wheelAt(50, 50);
        wheel.accept();
        send(&picker, &wheel);
        EXPECT_EQ(wheel.isAccepted(), c.accepted) << c.callbacks << " " << c.result;
    }
}

TEST_F(PickerTest, MotionRepaintsOnlyWithCrosshairs)
{
    KGRPicker picker(&vp);
    EventCounter paints(QEvent::Paint);
    picker.installEventFilter(&paints);
    showViewport();
    paints.count = 0;

    for (int i = 0; i < 5; ++i)
        sendMove(&picker, 50 + i, 60);
    settle();
    EXPECT_EQ(paints.count, 0);

    ASSERT_EQ(picker.configure("crosshairs", "1", static_cast<char*>(nullptr)), 0);
    sendMove(&picker, 70, 60);
    settle();
    EXPECT_GE(paints.count, 1);
}

TEST_F(PickerTest, EnterAndLeaveRepaintWithCrosshairs)
{
    KGRPicker picker(&vp);
    ASSERT_EQ(picker.configure("crosshairs", "1", static_cast<char*>(nullptr)), 0);
    EventCounter paints(QEvent::Paint);
    picker.installEventFilter(&paints);
    showViewport();
    paints.count = 0;
    sendLeave(&picker);
    settle();
    EXPECT_GE(paints.count, 1);
    paints.count = 0;
    sendEnter(&picker);
    settle();
    EXPECT_GE(paints.count, 1);
}

TEST_F(PickerTest, CrosshairsOnlyStrictlyInsideTheFrame)
{
    KGRPicker picker(&vp);
    ASSERT_EQ(picker.configure("crosshairs", "1", static_cast<char*>(nullptr)), 0);
    // Frame: 20 < x < 170 and 15 < y < 125.
    struct Case {
        int x, y;
        bool shown;
    };
    for (Case c :
         {Case{20, 70, false}, Case{21, 70, true}, Case{170, 70, false}, Case{169, 70, true},
          Case{100, 15, false}, Case{100, 16, true}, Case{100, 125, false}, Case{100, 124, true}}) {
        sendMove(&picker, c.x, c.y);
        QImage image = shot();
        if (c.shown)
            EXPECT_TRUE(crosshairsAt(image, c.x, c.y)) << c.x << "," << c.y;
        else
            EXPECT_TRUE(allWhite(image)) << c.x << "," << c.y;
    }
}

TEST_F(PickerTest, CrosshairsAreAntialiasedAcrossTheFrame)
{
    KGRPicker picker(&vp);
    ASSERT_EQ(picker.configure("crosshairs", "1", static_cast<char*>(nullptr)), 0);
    sendMove(&picker, 60, 70);
    QImage image = shot();
    EXPECT_TRUE(crosshairsAt(image, 60, 70));
    // Antialiased 1-pixel lines on whole coordinates shade the two pixel
    // rows they straddle, neither of them fully.
    EXPECT_NE(image.pixel(100, 69), white);
    EXPECT_NE(image.pixel(100, 70), white);
    EXPECT_NE(image.pixel(100, 70), qRgb(128, 128, 0));
    // They span the frame and stop near it.
    EXPECT_NE(image.pixel(22, 70), white);
    EXPECT_NE(image.pixel(168, 70), white);
    EXPECT_EQ(image.pixel(10, 70), white);
    EXPECT_EQ(image.pixel(180, 70), white);
    EXPECT_EQ(image.pixel(60, 5), white);
    EXPECT_EQ(image.pixel(60, 140), white);
}

TEST_F(PickerTest, CrosshairsOffOrOutsideTheWidgetDrawNothing)
{
    KGRPicker picker(&vp);
    sendMove(&picker, 60, 70);
    EXPECT_TRUE(allWhite(shot()));
    ASSERT_EQ(picker.configure("crosshairs", "1", static_cast<char*>(nullptr)), 0);
    EXPECT_TRUE(crosshairsAt(shot(), 60, 70));
    sendLeave(&picker);
    EXPECT_TRUE(allWhite(shot()));
    sendEnter(&picker);
    EXPECT_TRUE(crosshairsAt(shot(), 60, 70));
}

TEST_F(PickerTest, SecondPassIsDrawnOverTheFirst)
{
    KGRPicker picker(&vp);
    setFrame();
    sendMove(&picker, 60, 70);
    QImage image = whiteImage();
    {
        QPainter painter(&image);
        picker.draw(painter);
    }
    // Half-transparent yellow over opaque black.
    QRgb line = image.pixel(100, 70);
    EXPECT_NEAR(qRed(line), 128, 1);
    EXPECT_NEAR(qGreen(line), 128, 1);
    EXPECT_EQ(qBlue(line), 0);
    EXPECT_EQ(image.pixel(60, 100), line);
    // Both lines get the first colour before either gets the second: the
    // crossing holds two layers of yellow over black.
    QRgb crossing = image.pixel(60, 70);
    EXPECT_NEAR(qRed(crossing), 192, 1);
    EXPECT_NEAR(qGreen(crossing), 192, 1);
    EXPECT_EQ(qBlue(crossing), 0);
    // The lines run from frame edge to frame edge, in one pixel row and
    // one pixel column.
    EXPECT_NE(image.pixel(20, 70), white);
    EXPECT_NE(image.pixel(170, 70), white);
    EXPECT_EQ(image.pixel(19, 70), white);
    EXPECT_EQ(image.pixel(172, 70), white);
    EXPECT_EQ(image.pixel(100, 69), white);
    EXPECT_EQ(image.pixel(100, 71), white);
    EXPECT_NE(image.pixel(60, 15), white);
    EXPECT_NE(image.pixel(60, 125), white);
    EXPECT_EQ(image.pixel(60, 14), white);
    EXPECT_EQ(image.pixel(60, 127), white);
}

TEST_F(PickerTest, ColoursOfTheTwoPassesFollowTheOptions)
{
    KGRPicker picker(&vp);
    setFrame();
    sendMove(&picker, 60, 70);
    ASSERT_EQ(picker.configure("crosshairs_color", "#ff0000", "crosshairs2_color", "#800000ff",
                               static_cast<char*>(nullptr)),
              0);
    QImage image = whiteImage();
    {
        QPainter painter(&image);
        picker.draw(painter);
    }
    QRgb line = image.pixel(100, 70);
    EXPECT_NEAR(qRed(line), 127, 1);
    EXPECT_EQ(qGreen(line), 0);
    EXPECT_NEAR(qBlue(line), 128, 1);

    // Without a second colour only the first pass is drawn.
    ASSERT_EQ(picker.configure("crosshairs2_color", "", static_cast<char*>(nullptr)), 0);
    image = whiteImage();
    {
        QPainter painter(&image);
        picker.draw(painter);
    }
    EXPECT_EQ(image.pixel(100, 70), qRgb(255, 0, 0));
}

TEST_F(PickerTest, NoFirstColourNoCrosshairs)
{
    KGRPicker picker(&vp);
    setFrame();
    sendMove(&picker, 60, 70);
    ASSERT_EQ(picker.configure("crosshairs_color", "", static_cast<char*>(nullptr)), 0);
    QImage image = whiteImage();
    {
        QPainter painter(&image);
        picker.draw(painter);
    }
    EXPECT_TRUE(allWhite(image));
}

TEST_F(PickerTest, BindingAnUnknownEventThrows)
{
    KGRPicker picker(&vp);
    Recorder r;
    try {
        picker.bind("MousePressEvent", record, &r);
        FAIL() << "no exception";
    } catch (const char* message) {
        EXPECT_STREQ(message, "KGRPicker::bind: KGR_bind() error.");
    }
    EXPECT_EQ(takeRegister(), "KGR_bind: Cannot find event name 'MousePressEvent'.\n");
}

TEST_F(PickerTest, UnbindingWhatWasNeverBoundReportsTheBindMessage)
{
    KGRPicker picker(&vp);
    Recorder r;
    picker.bind("mousePressEvent", other, nullptr);
    for (const char* event : {"mousePressEvent", "keyPressEvent", "noSuchEvent"}) {
        try {
            picker.unbind(event, record, &r);
            FAIL() << "no exception for " << event;
        } catch (const char* message) {
            EXPECT_STREQ(message, "KGRPicker::bind: KGR_bind() error.");
        }
    }
    // Same procedure, other client data: not bound either.
    picker.bind("mousePressEvent", record, &r);
    Recorder stranger;
    EXPECT_THROW(picker.unbind("mousePressEvent", record, &stranger), const char*);
}

TEST_F(PickerTest, UnbindRemovesEveryCopyOfThePair)
{
    KGRPicker picker(&vp);
    Recorder r, kept;
    picker.bind("mousePressEvent", record, &r);
    picker.bind("mousePressEvent", record, &r);
    picker.bind("mouseReleaseEvent", record, &kept);
    EXPECT_NO_THROW(picker.unbind("mousePressEvent", record, &r));
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    send(&picker, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(5, 5), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    send(&picker, &release);
    EXPECT_TRUE(r.calls.empty());
    EXPECT_EQ(kept.calls.size(), 1u);
    EXPECT_THROW(picker.unbind("mousePressEvent", record, &r), const char*);
}

TEST_F(PickerTest, DestroyedPickerIsNoLongerFoundByName)
{
    auto* picker = new KGRPicker(&vp);
    HX_SetName("sharedpicker", "KGRPicker", picker);
    ASSERT_EQ(HX_GetObject("sharedpicker", nullptr), picker);
    delete picker;
    EXPECT_EQ(HX_GetObject("sharedpicker", nullptr), nullptr);
}
