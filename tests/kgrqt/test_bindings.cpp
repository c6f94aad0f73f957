#include "KGR.h"
#include "register.h"

#include <QMouseEvent>
#include <QString>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

std::vector<std::string> calls;

int record(const char* tag, int result)
{
    calls.push_back(tag);
    return result;
}
int consume(int, void* cd, QEvent*)
{
    return record(static_cast<const char*>(cd), 2);
}
int proceed(int, void* cd, QEvent*)
{
    return record(static_cast<const char*>(cd), 0);
}
int fail(int, void* cd, QEvent*)
{
    return record(static_cast<const char*>(cd), -1);
}

struct BindingsTest : ::testing::Test {
    void SetUp() override
    {
        calls.clear();
        hx_clear_register(0);
        hx_set_complaint_stream(sink = tmpfile());
        table = KGR_new_bindings();
        ASSERT_NE(table, nullptr);
    }
    void TearDown() override
    {
        KGR_free_bindings(table);
        hx_set_complaint_stream(nullptr);
        fclose(sink);
        hx_clear_register(0);
    }
    KGR_Binding* row(int code) { return &table[code - 1]; }
    KGR_Binding* table = nullptr;
    FILE* sink = nullptr;
    char a[2] = "a", b[2] = "b";
};

std::string describe(int event, QEvent* qevent, const char* clientData)
{
    char* text = nullptr;
    EXPECT_EQ(KGR_ConvertEvent(event, qevent, clientData, &text), 0);
    std::string s = text ? text : "";
    free(text);
    return s;
}

} // namespace

TEST_F(BindingsTest, NewTableIsACopyOfTheTemplate)
{
    const char* names[] = {"event",
                           "mousePressEvent",
                           "mouseReleaseEvent",
                           "mouseMoveEvent",
                           "mouseDoubleClickEvent",
                           "wheelEvent",
                           "Enter",
                           "Leave",
                           "Resize",
                           "keyPressEvent",
                           "keyReleaseEvent",
                           "paintStale"};
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(table[i].event, i + 1);
        EXPECT_STREQ(table[i].event_name, names[i]);
        EXPECT_EQ(table[i].n_callbacks, 0);
        EXPECT_EQ(table[i].callbacks, nullptr);
    }
    EXPECT_EQ(table[12].event, 100);
    EXPECT_EQ(table[12].event_name, nullptr);
    EXPECT_NE(table, KGR_Bindings_Template);
}

TEST_F(BindingsTest, WrongCaseNameIsRefused)
{
    EXPECT_EQ(KGR_bind(table, "MousePressEvent", proceed, a), -1);
    EXPECT_EQ(takeRegister(), "KGR_bind: Cannot find event name 'MousePressEvent'.\n");
    EXPECT_EQ(row(2)->n_callbacks, 0);
}

TEST_F(BindingsTest, CallbacksRunInBindingOrder)
{
    ASSERT_EQ(KGR_bind(table, "Resize", proceed, a), 0);
    ASSERT_EQ(KGR_bind(table, "Resize", proceed, b), 0);
    EXPECT_EQ(KGR_process_event(table, KGR_EVENT_RESIZE, nullptr), 1);
    EXPECT_EQ(calls, (std::vector<std::string>{"a", "b"}));
}

TEST_F(BindingsTest, ConsumingCallbackStopsTheChain)
{
    ASSERT_EQ(KGR_bind(table, "mousePressEvent", consume, a), 0);
    ASSERT_EQ(KGR_bind(table, "mousePressEvent", proceed, b), 0);
    EXPECT_EQ(KGR_process_event(table, KGR_EVENT_MOUSE_PRESS, nullptr), 2);
    EXPECT_EQ(calls, (std::vector<std::string>{"a"}));
}

TEST_F(BindingsTest, FailingCallbackIsReportedAndTheChainGoesOn)
{
    ASSERT_EQ(KGR_bind(table, "keyPressEvent", fail, a), 0);
    ASSERT_EQ(KGR_bind(table, "keyPressEvent", proceed, b), 0);
    EXPECT_EQ(KGR_process_event(table, KGR_EVENT_KEY_PRESS, nullptr), 1);
    EXPECT_EQ(calls, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(takeRegister(), "KGR_process_event: callback error.\n");
}

TEST_F(BindingsTest, EmptyRowsAndNullProceduresCallNothing)
{
    EXPECT_EQ(KGR_process_event(table, KGR_EVENT_LEAVE, nullptr), 0);
    ASSERT_EQ(KGR_bind(table, "Leave", nullptr, a), 0);
    EXPECT_EQ(KGR_process_event(table, KGR_EVENT_LEAVE, nullptr), 0);
    EXPECT_TRUE(calls.empty());
}

TEST_F(BindingsTest, UnbindingAPairBoundTwiceRemovesBoth)
{
    ASSERT_EQ(KGR_bind(table, "wheelEvent", proceed, a), 0);
    ASSERT_EQ(KGR_bind(table, "wheelEvent", proceed, a), 0);
    EXPECT_EQ(KGR_unbind(table, "wheelEvent", proceed, a), 0);
    EXPECT_EQ(row(6)->n_callbacks, 0);
    EXPECT_NE(row(6)->callbacks, nullptr); // the array is kept
    EXPECT_EQ(KGR_process_event(table, KGR_EVENT_WHEEL, nullptr), 0);
    EXPECT_TRUE(calls.empty());
}

TEST_F(BindingsTest, UnbindingTheLastEntryKeepsTheOthers)
{
    ASSERT_EQ(KGR_bind(table, "Enter", proceed, a), 0);
    ASSERT_EQ(KGR_bind(table, "Enter", proceed, b), 0);
    EXPECT_EQ(KGR_unbind(table, "Enter", proceed, b), 0);
    EXPECT_EQ(row(7)->n_callbacks, 1);
    EXPECT_EQ(KGR_process_event(table, KGR_EVENT_ENTER, nullptr), 1);
    EXPECT_EQ(calls, (std::vector<std::string>{"a"}));
}

TEST_F(BindingsTest, UnbindMovesBytesNotEntries)
{
    // The memory after a removed entry moves down by (new count - index)
    // bytes: with three entries, removing the first moves two bytes.
    ASSERT_EQ(KGR_bind(table, "Enter", fail, a), 0);
    ASSERT_EQ(KGR_bind(table, "Enter", proceed, b), 0);
    ASSERT_EQ(KGR_bind(table, "Enter", consume, b), 0);
    KGR_Event_Callback before[3];
    memcpy(before, row(7)->callbacks, sizeof before);
    EXPECT_EQ(KGR_unbind(table, "Enter", fail, a), 0);
    EXPECT_EQ(row(7)->n_callbacks, 2);
    const unsigned char* now = reinterpret_cast<const unsigned char*>(row(7)->callbacks);
    const unsigned char* old = reinterpret_cast<const unsigned char*>(before);
    EXPECT_EQ(memcmp(now, old + sizeof(KGR_Event_Callback), 2), 0);
    EXPECT_EQ(memcmp(now + 2, old + 2, sizeof before - 2), 0);
}

TEST_F(BindingsTest, UnbindOfUnknownNamesAndEmptyRowsSucceeds)
{
    EXPECT_EQ(KGR_unbind(table, "nosuch", proceed, a), 0);
    EXPECT_EQ(KGR_unbind(table, "Resize", proceed, a), 0);
    EXPECT_EQ(takeRegister(), "");
}

TEST_F(BindingsTest, ButtonWords)
{
    QString s;
    KGR_ConvertButton(Qt::LeftButton | Qt::RightButton, &s);
    EXPECT_EQ(s, " LeftButton RightButton");
    s.clear();
    KGR_ConvertButton(Qt::RightButton | Qt::MiddleButton | Qt::LeftButton, &s);
    EXPECT_EQ(s, " LeftButton MiddleButton RightButton");
    s.clear();
    KGR_ConvertButton(0, &s);
    EXPECT_EQ(s, " NoButton");
    s.clear();
    KGR_ConvertButton(0x7ffffff, &s);
    EXPECT_EQ(s, " AllButtons");
    s.clear();
    KGR_ConvertButton(Qt::BackButton, &s);
    EXPECT_EQ(s, "");
}

TEST_F(BindingsTest, ModifierWords)
{
    QString s;
    KGR_ConvertKeyMods(0, &s);
    EXPECT_EQ(s, " NoModifier");
    s.clear();
    KGR_ConvertKeyMods(Qt::KeypadModifier | Qt::MetaModifier | Qt::AltModifier |
                           Qt::ControlModifier | Qt::ShiftModifier | Qt::GroupSwitchModifier,
                       &s);
    EXPECT_EQ(s, " ShiftModifier ControlModifier AltModifier MetaModifier KeypadModifier");
    s.clear();
    KGR_ConvertKeyMods(Qt::GroupSwitchModifier, &s);
    EXPECT_EQ(s, "");
}

TEST_F(BindingsTest, MousePressDescription)
{
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(10, 20), Qt::LeftButton, Qt::LeftButton,
                      Qt::ShiftModifier);
    EXPECT_EQ(describe(KGR_EVENT_MOUSE_PRESS, &press, nullptr),
              "event &Arr{\ntype mousePressEvent\nbuttons LeftButton\nkeymods ShiftModifier\n"
              "x 10\ny 20\n}\n");
}

TEST_F(BindingsTest, MoveUsesTheButtonThatCausedTheEvent)
{
    QMouseEvent move(QEvent::MouseMove, QPointF(3, 4), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    EXPECT_EQ(describe(KGR_EVENT_MOUSE_MOVE, &move, "picker"),
              "event &Arr{\ntype mouseMoveEvent\nbuttons NoButton\nkeymods NoModifier\n"
              "x 3\ny 4\n}\nclientData picker\n");
}

TEST_F(BindingsTest, WheelDescription)
{
    QWheelEvent wheel(QPointF(5, 6), QPointF(5, 6), QPoint(), QPoint(0, -120), Qt::MiddleButton,
                      Qt::ControlModifier | Qt::AltModifier, Qt::NoScrollPhase, false);
    EXPECT_EQ(describe(KGR_EVENT_WHEEL, &wheel, nullptr),
              "event &Arr{\ntype wheelEvent\nbuttons MiddleButton\n"
              "keymods ControlModifier AltModifier\ndelta -120\n}\n");
}

TEST_F(BindingsTest, DoubleClickGivesOnlyTheFrame)
{
    QMouseEvent dbl(QEvent::MouseButtonDblClick, QPointF(1, 1), Qt::LeftButton, Qt::LeftButton,
                    Qt::NoModifier);
    EXPECT_EQ(describe(KGR_EVENT_MOUSE_DOUBLE_CLICK, &dbl, nullptr), "event &Arr{\n}\n");
    EXPECT_EQ(describe(KGR_EVENT_MOUSE_DOUBLE_CLICK, &dbl, "cd"),
              "event &Arr{\n}\nclientData cd\n");
}

TEST_F(BindingsTest, DescriptionIsAParameterFileText)
{
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(7, 8), Qt::RightButton, Qt::NoButton,
                        Qt::NoModifier);
    std::string text = describe(KGR_EVENT_MOUSE_RELEASE, &release, "my data");
    Pf* pf = nullptr;
    ASSERT_EQ(pfcompile(text.c_str(), &pf), 0);
    Arr* event = nullptr;
    ASSERT_EQ(parse_param(pf, "event", 'a', 1, &event), 0);
    EXPECT_STREQ(pfstring(static_cast<Pf*>(getarr(event, "type"))), "mouseReleaseEvent");
    EXPECT_STREQ(pfstring(static_cast<Pf*>(getarr(event, "buttons"))), "RightButton");
    char* cd = nullptr;
    ASSERT_EQ(parse_param(pf, "clientData", 's', 1, &cd), 0);
    EXPECT_STREQ(cd, "my data");
    free(cd);
    pffree(pf);
}
