// Mouse input goes through the window system layer, as a real pointer's
// would: it reaches whichever widget lies on top at the position.
#define QTEST_QPA_MOUSE_HANDLING

#include "kgrqt.h"
#include "register.h"

#include <QApplication>
#include <QColor>
#include <QGridLayout>
#include <QImage>
#include <QMouseEvent>
#include <QPainterPath>
#include <QPixmap>
#include <QPointer>
#include <QTest>
#include <QToolTip>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

// One button "grid" with three states whose names sort against their
// order: shown in order Zero, One, Two. State One's actions depend on the
// shift key; all actions write the taskbar's own "taskbar_debug" option.
const char* const gridDefinitions = R"(
buttons_definitions &Arr{
    grid &Arr{
        kgr_layer    grid_button
        description  Grid lines
        states &Arr{
            alpha &Arr{
                label        Two
                order        2
                action       configure taskbar_debug two
                description  last
            }
            beta &Arr{
                label             Zero
                order             0
                opacity           0.5
                background_color  black
                fill_color        white
                action            configure taskbar_debug zero
                description       shown
            }
            gamma &Arr{
                label            One
                order            1
                show_not_symbol  yes
                action &Tbl{
                    mod=shift configure taskbar_debug shifted
                    mod=notshift configure taskbar_debug plain
                    mod=ctrl configure taskbar_debug ctrl
                    configure taskbar_debug
                    reconfigure taskbar_debug other
                    mod=shift configure taskbar_debug five words
                }
                description      hidden
            }
        }
    }
    logo &Arr{
        kgr_layer  logo_button
        width      60
        height     24
        label      Logo
        action     configure taskbar_debug logo
    }
}
)";

const char* const gridAtTopLeft = "buttons &Tbl{\n    grid nwb 10 top-10\n}\n";

struct Message {
    const char* text;
    std::vector<std::string> messages;
};

std::string printed(KGRConfigure& item, const char* option)
{
    char* value = item.printConfigValue(option);
    std::string s = value ? value : "(null)";
    free(value);
    return s;
}

// How many times the button is bound to the picker's event.
int boundTimes(KGRPicker* picker, const char* event, void* params)
{
    int n = 0;
    for (KGR_Binding* row = picker->bindings; row->event != KGR_EVENT_END; ++row)
        if (strcmp(row->event_name, event) == 0)
            for (int i = 0; i < row->n_callbacks; ++i)
                n += row->callbacks[i].callbackProc == taskbar_button_callback &&
                     row->callbacks[i].clientData == params;
    return n;
}

// The pickers among the viewport's children (the classes have no meta
// objects of their own, so findChildren cannot tell them apart).
int pickersOn(KGRViewport& vp)
{
    int n = 0;
    for (QObject* child : vp.children())
        n += dynamic_cast<KGRPicker*>(child) != nullptr;
    return n;
}

// Client data of a recording callback.
struct Recorder {
    int calls = 0;
};

int record(int, void* clientData, QEvent*)
{
    ++static_cast<Recorder*>(clientData)->calls;
    return 0;
}

// A 300 x 200 viewport without margins, white all over, with a taskbar.
struct TaskbarTest : ::testing::Test {
    void SetUp() override
    {
        hx_clear_register(0);
        vp.resize(300, 200);
        ASSERT_EQ(vp.configure("fill", "white", "fill_frame", "white", static_cast<char*>(nullptr)),
                  0);
        tb = new KGRTaskbar(&vp);
    }
    void TearDown() override
    {
        QToolTip::hideText();
        hx_clear_register(0);
    }

    int define(const char* text)
    {
        return tb->configure("taskbar_buttons_definitions", text, static_cast<char*>(nullptr));
    }
    int show(const char* text)
    {
        return tb->configure("taskbar_buttons", text, static_cast<char*>(nullptr));
    }
    KGRTaskbarButtonParams* button(const char* name)
    {
        return static_cast<KGRTaskbarButtonParams*>(getarr(tb->taskbar.buttons_definitions, name));
    }
    static KGRTaskbarButtonStateParams* state(KGRTaskbarButtonParams* b, int i)
    {
        return static_cast<KGRTaskbarButtonStateParams*>(gettbl(b->states, i));
    }
    static std::string label(KGRTaskbarButtonParams* b)
    {
        return b->kgr_text && b->kgr_text->text.text ? b->kgr_text->text.text : "(none)";
    }

    // Shows the viewport as a window and lets it paint.
    void showViewport()
    {
        vp.show();
        settle();
        vp.grab();
    }
    static void settle()
    {
        for (int i = 0; i < 5; ++i)
            QApplication::processEvents();
    }
    // The middle of a button's box, in viewport pixels.
    static QPoint middle(KGRTaskbarButtonParams* b)
    {
        return b->kgr_text->text.path->boundingRect().center().toPoint();
    }
    void moveTo(QPoint p) { QTest::mouseMove(&vp, p); }
    void click(QPoint p, Qt::KeyboardModifiers mods = Qt::NoModifier)
    {
        QTest::mouseClick(&vp, Qt::LeftButton, mods, p);
    }
    QImage shot() { return vp.grab().toImage().convertToFormat(QImage::Format_RGB32); }

    KGRViewport vp{nullptr};
    KGRTaskbar* tb = nullptr;
};

void expectMessages(const std::string& reg, const std::vector<std::string>& messages)
{
    size_t at = 0;
    for (const std::string& m : messages) {
        size_t found = reg.find(m, at);
        EXPECT_NE(found, std::string::npos) << "missing or out of order: " << m << "in:\n" << reg;
        if (found != std::string::npos)
            at = found + m.size();
    }
}

// A definitions text of one button "b" with the given lines.
std::string oneButton(const std::string& lines)
{
    return "buttons_definitions &Arr{\n b &Arr{\n" + lines + " }\n}\n";
}

const std::string goodState = "label L\naction configure taskbar_debug x\n";
const std::string layer = "kgr_layer lay\n";
const std::string stateFailed =
    "taskbar_parse_buttons_definitions: taskbar_parse_button_state(b) error.\n";

} // namespace

// ------------------------------------------------------------ the item

TEST_F(TaskbarTest, ConstructionFollowsTheItemPattern)
{
    EXPECT_EQ(tb->parentWidget(), &vp);
    EXPECT_FALSE(tb->autoFillBackground());
    EXPECT_EQ(tb->debug, 0);
    EXPECT_STREQ(tb->class_name, "KGRTaskbar");
    EXPECT_EQ(tb->taskbar.object_ptr, tb);
    EXPECT_EQ(tb->taskbar.parent, &vp);
    EXPECT_EQ(tb->taskbar.vp, &vp);
    EXPECT_EQ(tb->taskbar.viewport, &vp.viewport);
    EXPECT_EQ(tb->taskbar.picker, nullptr);
    EXPECT_EQ(tb->taskbar.buttons_definitions, nullptr);
    EXPECT_EQ(tb->taskbar.buttons, nullptr);
    // It draws nothing itself and must not cover a picker made before it.
    EXPECT_TRUE(tb->isHidden());
}

TEST_F(TaskbarTest, OptionDefaults)
{
    EXPECT_EQ(printed(*tb, "taskbar_background"), "");
    EXPECT_EQ(printed(*tb, "taskbar_buttons_definitions"), "");
    EXPECT_EQ(printed(*tb, "taskbar_buttons"), "");
    EXPECT_EQ(printed(*tb, "taskbar_picker_name"), "");
    EXPECT_EQ(printed(*tb, "taskbar_debug"), "");
    EXPECT_EQ(tb->taskbar.background.color, nullptr);
}

// ---------------------------------------------------- definitions text

TEST_F(TaskbarTest, StatesAreSortedByOrder)
{
    ASSERT_EQ(define(gridDefinitions), 0) << takeRegister();
    KGRTaskbarButtonParams* grid = button("grid");
    ASSERT_NE(grid, nullptr);
    ASSERT_EQ(maxtbl(grid->states), 3);
    EXPECT_STREQ(state(grid, 0)->label, "Zero");
    EXPECT_STREQ(state(grid, 1)->label, "One");
    EXPECT_STREQ(state(grid, 2)->label, "Two");
    EXPECT_EQ(state(grid, 0)->order, 0);
    EXPECT_EQ(state(grid, 2)->order, 2);
    EXPECT_EQ(state(grid, 1)->buttonparams, grid);
    EXPECT_EQ(grid->taskbar, tb);
    EXPECT_STREQ(grid->kgr_layer_name, "grid_button");
    EXPECT_EQ(grid->current, 0);
    EXPECT_EQ(grid->kgr_text, nullptr);
    EXPECT_EQ(grid->kgr_layer, nullptr);
}

TEST_F(TaskbarTest, ToolTipListsTheDescribedStatesInOrder)
{
    ASSERT_EQ(define(gridDefinitions), 0) << takeRegister();
    EXPECT_STREQ(button("grid")->description,
                 "Grid lines\n   Zero - shown\n   not One - hidden\n   Two - last");
    // Without descriptions there is no tool tip.
    EXPECT_EQ(button("logo")->description, nullptr);
}

TEST_F(TaskbarTest, ToolTipWithoutAButtonDescriptionStartsWithALineBreak)
{
    ASSERT_EQ(define(oneButton(layer + "states &Arr{\n s &Arr{\n" + goodState +
                               "description first\n }\n }\n")
                         .c_str()),
              0)
        << takeRegister();
    EXPECT_STREQ(button("b")->description, "\n   L - first");
}

TEST_F(TaskbarTest, StateDefaults)
{
    ASSERT_EQ(define(gridDefinitions), 0) << takeRegister();
    KGRTaskbarButtonStateParams* two = state(button("grid"), 2);
    EXPECT_EQ(two->opacity, 1.0);
    EXPECT_EQ(two->show_not_symbol, 0);
    EXPECT_STREQ(two->fill_color.color_name, "black");
    EXPECT_STREQ(two->background_color.color_name, "white");
    ASSERT_NE(two->fill_color.color, nullptr);
    EXPECT_EQ(two->fill_color.color->rgb(), qRgb(0, 0, 0));
    EXPECT_EQ(two->background_color.color->rgb(), qRgb(255, 255, 255));
    KGRTaskbarButtonStateParams* zero = state(button("grid"), 0);
    EXPECT_EQ(zero->opacity, 0.5);
    EXPECT_STREQ(zero->background_color.color_name, "black");
    EXPECT_EQ(state(button("grid"), 1)->show_not_symbol, 1);
}

TEST_F(TaskbarTest, ButtonWithoutStatesIsItsOwnState)
{
    ASSERT_EQ(define(gridDefinitions), 0) << takeRegister();
    KGRTaskbarButtonParams* logo = button("logo");
    ASSERT_NE(logo, nullptr);
    EXPECT_EQ(logo->width, 60);
    EXPECT_EQ(logo->height, 24);
    ASSERT_EQ(maxtbl(logo->states), 1);
    EXPECT_STREQ(state(logo, 0)->label, "Logo");
    EXPECT_EQ(button("grid")->width, 0);
    EXPECT_EQ(button("grid")->height, 0);
}

TEST_F(TaskbarTest, SingleActionStringBecomesAOneLineTable)
{
    ASSERT_EQ(define(gridDefinitions), 0) << takeRegister();
    Tbl* one = state(button("logo"), 0)->action;
    ASSERT_EQ(maxtbl(one), 1);
    EXPECT_STREQ(static_cast<char*>(gettbl(one, 0)), "configure taskbar_debug logo");
    Tbl* lines = state(button("grid"), 1)->action;
    ASSERT_EQ(maxtbl(lines), 6);
    EXPECT_STREQ(static_cast<char*>(gettbl(lines, 0)), "mod=shift configure taskbar_debug shifted");
}

TEST_F(TaskbarTest, BackgroundStateColourFollowsTheTaskbarsBackground)
{
    const std::string text =
        oneButton(layer + goodState + "fill_color $BACKGROUND\nbackground_color $BACKGROUND\n");
    ASSERT_EQ(tb->configure("taskbar_background", "navy", static_cast<char*>(nullptr)), 0);
    ASSERT_EQ(define(text.c_str()), 0) << takeRegister();
    KGRTaskbarButtonStateParams* s = state(button("b"), 0);
    EXPECT_STREQ(s->fill_color.color_name, "navy");
    ASSERT_NE(s->fill_color.color, nullptr);
    EXPECT_EQ(*s->fill_color.color, QColor("navy"));
    EXPECT_STREQ(s->background_color.color_name, "navy");
    // An independent copy.
    EXPECT_NE(s->fill_color.color, tb->taskbar.background.color);

    ASSERT_EQ(tb->configure("taskbar_background", "120,1,0.5", static_cast<char*>(nullptr)), 0);
    ASSERT_EQ(define(text.c_str()), 0) << takeRegister();
    s = state(button("b"), 0);
    EXPECT_STREQ(s->fill_color.color_name, "120,1,0.5");
    EXPECT_EQ(*s->fill_color.color, *tb->taskbar.background.color);

    // No background: the colour stays unset.
    ASSERT_EQ(tb->configure("taskbar_background", "", static_cast<char*>(nullptr)), 0);
    ASSERT_EQ(define(text.c_str()), 0) << takeRegister();
    EXPECT_EQ(state(button("b"), 0)->fill_color.color, nullptr);
    EXPECT_EQ(state(button("b"), 0)->fill_color.color_name, nullptr);
}

TEST_F(TaskbarTest, MalformedDefinitionsRegisterTheirMessages)
{
    const std::string pre = "taskbar_parse_buttons_definitions: ";
    const std::string st = "taskbar_parse_button_state: ";
    const std::string unclosed = "buttons_definitions &Arr{\n b &Arr{\n";
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {unclosed, {pre + "pfcompile(" + unclosed + ") error.\n"}},
        {"other x\n", {pre + "parse_param(buttons_definitions) error.\n"}},
        {"buttons_definitions plain\n", {pre + "parse_param(buttons_definitions) error.\n"}},
        {"buttons_definitions &Arr{\n b text\n}\n", {pre + "parse_param(b) error.\n"}},
        {oneButton(layer + goodState + "states plain\n"),
         {pre + "parse_param(b->states) error.\n"}},
        {oneButton(layer + goodState + "width wide\n"), {pre + "parse_param(b->width) error.\n"}},
        {oneButton(layer + goodState + "height 1.5\n"), {pre + "parse_param(b->height) error.\n"}},
        {oneButton(goodState), {pre + "parse_param(b->kgr_layer) error.\n"}},
        {oneButton(layer + goodState + "kgr_layer &Arr{\n}\n"),
         {pre + "parse_param(b->kgr_layer) error.\n"}},
        {oneButton(layer + goodState + "description &Tbl{\n}\n"),
         {pre + "parse_param(b->description) error.\n"}},
        {oneButton(layer + "action configure a b\n"),
         {st + "parse_param(label) error.\n", stateFailed}},
        {oneButton(layer + "label L\n"), {st + "action not found.\n", stateFailed}},
        {oneButton(layer + "label L\naction &Arr{\n a b\n}\n"),
         {st + "parse_param(action) error.\n", stateFailed}},
        {oneButton(layer + "label L\naction &Tbl{\n &Arr{\n }\n}\n"),
         {st + "parse_param(action) error.\n", stateFailed}},
        {oneButton(layer + goodState + "visibility x\n"),
         {st + "parse_param(visibility) error.\n", stateFailed}},
        {oneButton(layer + goodState + "opacity half\n"),
         {st + "parse_param(opacity) error.\n", stateFailed}},
        {oneButton(layer + goodState + "order first\n"),
         {st + "parse_param(order) error.\n", stateFailed}},
        {oneButton(layer + goodState + "show_not_symbol maybe\n"),
         {st + "parse_param(show_not_symbol) error.\n", stateFailed}},
        {oneButton(layer + goodState + "fill_color &Arr{\n}\n"),
         {st + "parse_param(fill_color) error.\n", stateFailed}},
        {oneButton(layer + goodState + "background_color &Tbl{\n}\n"),
         {st + "parse_param(background_color) error.\n", stateFailed}},
        {oneButton(layer + goodState + "description &Arr{\n}\n"),
         {pre + "parse_param(b->description) error.\n"}},
        {oneButton(layer + "states &Arr{\n on &Arr{\n" + goodState +
                   "description &Arr{\n}\n}\n}\n"),
         {st + "parse_param(description) error.\n",
          pre + "taskbar_parse_button_state(on) error.\n"}},
        {oneButton(layer + "states &Arr{\n on plain\n}\n"),
         {pre + "taskbar_parse_button_state(on) error.\n"}},
        {oneButton(layer + goodState + "fill_color 1,2\n"),
         {"KGR_ParseColor: Cannot create new color object.\n",
          "taskbar_get_color: Illegal color specification \"1,2\"\n",
          st + "taskbar_get_color(fill_color) error.\n", stateFailed}},
        {oneButton(layer + goodState + "background_color x,1,1\n"),
         {"taskbar_get_color: Illegal color specification \"x,1,1\"\n",
          st + "taskbar_get_color(background_color) error.\n", stateFailed}},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(define(gridDefinitions), 0);
        hx_clear_register(0);
        EXPECT_EQ(define(c.first.c_str()), -1) << c.first;
        std::string reg = takeRegister();
        expectMessages(reg, c.second);
        // The last message is the one of the outermost failure.
        const std::string& last = c.second.back();
        EXPECT_EQ(reg.substr(reg.size() - std::min(reg.size(), last.size())), last) << c.first;
        // Nothing stays defined, not even the buttons defined before.
        EXPECT_EQ(tb->taskbar.buttons_definitions, nullptr) << c.first;
        EXPECT_EQ(printed(*tb, "taskbar_buttons_definitions"), c.first);
    }
}

TEST_F(TaskbarTest, AFailingButtonFreesTheButtonsReadBeforeIt)
{
    const std::string text = "buttons_definitions &Arr{\n a &Arr{\n" + layer + goodState +
                             " }\n z &Arr{\n" + goodState + " }\n}\n";
    EXPECT_EQ(define(text.c_str()), -1);
    EXPECT_EQ(takeRegister(), "parse_param: 'kgr_layer' not found\n"
                              "taskbar_parse_buttons_definitions: parse_param(z->kgr_layer) "
                              "error.\n");
    EXPECT_EQ(tb->taskbar.buttons_definitions, nullptr);
}

TEST_F(TaskbarTest, EmptyDefinitionsLeaveNoButtons)
{
    ASSERT_EQ(define(gridDefinitions), 0);
    EXPECT_EQ(printed(*tb, "taskbar_buttons_definitions"), gridDefinitions);
    ASSERT_EQ(define(""), 0);
    EXPECT_EQ(tb->taskbar.buttons_definitions, nullptr);
    EXPECT_EQ(printed(*tb, "taskbar_buttons_definitions"), "");
}

// ---------------------------------------------------------- button list

TEST_F(TaskbarTest, ButtonsNeedDefinitionsFirst)
{
    EXPECT_EQ(show(gridAtTopLeft), -1);
    EXPECT_EQ(takeRegister(), "taskbar_parse_buttons: Must define taskbar buttons with "
                              "buttons_definitions configuration first\n");
}

TEST_F(TaskbarTest, MalformedButtonListsRegisterTheirMessages)
{
    ASSERT_EQ(define(gridDefinitions), 0);
    const std::string pre = "taskbar_parse_buttons: ";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"buttons &Tbl{\n", pre + "pfcompile(buttons &Tbl{\n) error.\n"},
        {"other x\n", pre + "parse_param(buttons) error.\n"},
        {"buttons plain\n", pre + "parse_param(buttons) error.\n"},
        {"buttons &Tbl{\n grid nwb 10\n}\n",
         pre + "Cannot parse 'grid nwb 10' from buttons: Need four or five fields\n"},
        {"buttons &Tbl{\n grid nwb 10 10 0 extra\n}\n",
         pre + "Cannot parse 'grid nwb 10 10 0 extra' from buttons: Need four or five fields\n"},
        {"buttons &Tbl{\n nosuch nwb 10 10\n}\n",
         pre + "Cannot find taskbar buttons definition for 'nosuch'\n"},
        {"buttons &Tbl{\n grid nwb 10 10 3\n}\n",
         pre + "grid: Starting value of 3 outside of range of button states(3).\n"},
        {"buttons &Tbl{\n grid nwb 10 10 -1\n}\n",
         pre + "grid: Starting value of -1 outside of range of button states(3).\n"},
        {"buttons &Tbl{\n logo nwb 10 10 1\n}\n",
         pre + "logo: Starting value of 1 outside of range of button states(1).\n"},
    };
    for (const auto& c : cases) {
        hx_clear_register(0);
        EXPECT_EQ(show(c.first.c_str()), -1) << c.first;
        std::string reg = takeRegister();
        EXPECT_EQ(reg.substr(reg.size() - std::min(reg.size(), c.second.size())), c.second) << reg;
        EXPECT_EQ(printed(*tb, "taskbar_buttons"), c.first);
    }
}

TEST_F(TaskbarTest, FifthFieldIsTheStartingState)
{
    ASSERT_EQ(define(gridDefinitions), 0);
    ASSERT_EQ(show("buttons &Tbl{\n grid nwb 10 top-10 2\n}\n"), 0) << takeRegister();
    EXPECT_EQ(button("grid")->current, 2);
    EXPECT_EQ(label(button("grid")), "Two");
    // The last valid index is the number of states minus one.
    ASSERT_EQ(show("buttons &Tbl{\n grid nwb 10 top-10 0\n}\n"), 0) << takeRegister();
    EXPECT_EQ(label(button("grid")), "Zero");
}

TEST_F(TaskbarTest, ShowingMakesALayerATextAndAPicker)
{
    ASSERT_EQ(define(gridDefinitions), 0);
    ASSERT_EQ(show("buttons &Tbl{\n grid nwb 10 top-10\n logo se right-5 5\n}\n"), 0)
        << takeRegister();
    KGRTaskbarButtonParams* grid = button("grid");
    ASSERT_NE(grid->kgr_layer, nullptr);
    ASSERT_NE(grid->kgr_text, nullptr);
    EXPECT_EQ(HX_GetObject("grid_button", "KGRLayer"), grid->kgr_layer);
    EXPECT_EQ(grid->kgr_text->text.layer, grid->kgr_layer);
    EXPECT_EQ(maxtbl(tb->taskbar.buttons), 2);

    // The text shows the current state.
    KGRText* t = grid->kgr_text;
    EXPECT_EQ(printed(*t, "text"), "Zero");
    EXPECT_EQ(printed(*t, "opacity"), "0.5");
    EXPECT_EQ(printed(*t, "show_not_symbol"), "no");
    EXPECT_EQ(printed(*t, "background"), "black");
    EXPECT_EQ(printed(*t, "fill"), "white");
    EXPECT_EQ(printed(*t, "justification"), "nwb");
    EXPECT_EQ(t->text.relative, nullptr);
    EXPECT_STREQ(t->text.xpos, "10");
    EXPECT_STREQ(t->text.ypos, "top-10");
    EXPECT_EQ(t->toolTip().toStdString(), grid->description);
    EXPECT_EQ(t->toolTipDuration(), 1000);
    KGRText* logo = button("logo")->kgr_text;
    EXPECT_EQ(printed(*logo, "width"), "60");
    EXPECT_EQ(printed(*logo, "height"), "24");
    EXPECT_EQ(printed(*logo, "justification"), "se");

    // One picker for all buttons, without crosshairs, bound once per button.
    KGRPicker* picker = tb->taskbar.picker;
    ASSERT_NE(picker, nullptr);
    EXPECT_EQ(picker->parentWidget(), &vp);
    EXPECT_EQ(picker->picker.crosshairs, 0);
    EXPECT_STREQ(picker->picker.crosshairs_color.color_name, "#80004000");
    for (const char* name : {"grid", "logo"}) {
        EXPECT_EQ(boundTimes(picker, "mousePressEvent", button(name)), 1) << name;
        EXPECT_EQ(boundTimes(picker, "mouseMoveEvent", button(name)), 1) << name;
    }
    // The picker lies on top, each layer above its text.
    QList<QWidget*> order = vp.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    EXPECT_EQ(order.back(), picker);
    EXPECT_GT(order.indexOf(grid->kgr_layer), order.indexOf(t));
}

TEST_F(TaskbarTest, ANewListReplacesTheButtonsShownBefore)
{
    ASSERT_EQ(define(gridDefinitions), 0);
    ASSERT_EQ(show(gridAtTopLeft), 0);
    QPointer<QWidget> text = button("grid")->kgr_text;
    QPointer<QWidget> layerWidget = button("grid")->kgr_layer;
    ASSERT_EQ(show("buttons &Tbl{\n logo nwb 10 10\n}\n"), 0);
    EXPECT_TRUE(text.isNull());
    EXPECT_TRUE(layerWidget.isNull());
    EXPECT_EQ(button("grid")->kgr_text, nullptr);
    EXPECT_EQ(HX_GetObject("grid_button", "KGRLayer"), nullptr);
    EXPECT_EQ(boundTimes(tb->taskbar.picker, "mousePressEvent", button("grid")), 0);
    EXPECT_EQ(boundTimes(tb->taskbar.picker, "mousePressEvent", button("logo")), 1);
    // New definitions take the shown buttons away.
    QPointer<QWidget> logo = button("logo")->kgr_text;
    ASSERT_EQ(define(gridDefinitions), 0);
    EXPECT_TRUE(logo.isNull());
    EXPECT_EQ(tb->taskbar.buttons, nullptr);
}

TEST_F(TaskbarTest, PickerNameSharesOnePicker)
{
    KGRPicker* shared = new KGRPicker(&vp);
    HX_SetName("main_picker", "KGRPicker", shared);
    ASSERT_EQ(tb->configure("taskbar_picker_name", "main_picker", static_cast<char*>(nullptr)), 0);
    ASSERT_EQ(define(gridDefinitions), 0);
    ASSERT_EQ(show(gridAtTopLeft), 0) << takeRegister();
    EXPECT_EQ(tb->taskbar.picker, shared);
    EXPECT_EQ(pickersOn(vp), 1);
    // Someone else's picker keeps its own settings.
    EXPECT_STREQ(shared->picker.crosshairs_color.color_name, "black");
    EXPECT_EQ(boundTimes(shared, "mouseMoveEvent", button("grid")), 1);
    HX_UnsetObject(shared);
}

TEST_F(TaskbarTest, AnUnknownPickerNameRegistersTheNewPicker)
{
    auto* second = new KGRTaskbar(&vp);
    for (KGRTaskbar* t : {tb, second}) {
        ASSERT_EQ(t->configure("taskbar_picker_name", "buttons_picker",
                               "taskbar_buttons_definitions", gridDefinitions, "taskbar_buttons",
                               gridAtTopLeft, static_cast<char*>(nullptr)),
                  0)
            << takeRegister();
    }
    ASSERT_NE(tb->taskbar.picker, nullptr);
    EXPECT_EQ(HX_GetObject("buttons_picker", "KGRPicker"), tb->taskbar.picker);
    EXPECT_EQ(second->taskbar.picker, tb->taskbar.picker);
    // A named picker may serve others: it stays when a taskbar goes.
    KGRPicker* picker = tb->taskbar.picker;
    delete second;
    EXPECT_EQ(HX_GetObject("buttons_picker", "KGRPicker"), picker);
    EXPECT_EQ(pickersOn(vp), 1);
    HX_UnsetObject(picker);
}

TEST_F(TaskbarTest, AGoingTaskbarLeavesOtherBindingsOfASharedPickerIntact)
{
    KGRPicker* shared = new KGRPicker(&vp);
    HX_SetName("shared", "KGRPicker", shared);
    Recorder before, after;
    shared->bind("mousePressEvent", record, &before);
    ASSERT_EQ(tb->configure("taskbar_picker_name", "shared", "taskbar_buttons_definitions",
                            gridDefinitions, "taskbar_buttons",
                            "buttons &Tbl{\n grid nwb 10 10\n logo nwb 100 10\n}\n",
                            static_cast<char*>(nullptr)),
              0);
    shared->bind("mousePressEvent", record, &after);
    delete tb;
    tb = nullptr;
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(1, 1), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(shared, &press);
    EXPECT_EQ(before.calls, 1);
    EXPECT_EQ(after.calls, 1);
    EXPECT_EQ(shared->bindings[1].n_callbacks, 2);
    HX_UnsetObject(shared);
}

TEST_F(TaskbarTest, AnUnnamedPickerGoesWithItsTaskbar)
{
    ASSERT_EQ(define(gridDefinitions), 0);
    ASSERT_EQ(show(gridAtTopLeft), 0);
    QPointer<QWidget> picker = tb->taskbar.picker;
    QPointer<QWidget> text = button("grid")->kgr_text;
    delete tb;
    tb = nullptr;
    EXPECT_TRUE(picker.isNull());
    EXPECT_TRUE(text.isNull());
}

TEST_F(TaskbarTest, APickerDeletedElsewhereIsForgotten)
{
    ASSERT_EQ(define(gridDefinitions), 0);
    ASSERT_EQ(show(gridAtTopLeft), 0);
    delete tb->taskbar.picker;
    EXPECT_EQ(tb->taskbar.picker, nullptr);
    // Showing again makes a new one.
    ASSERT_EQ(show(gridAtTopLeft), 0);
    EXPECT_NE(tb->taskbar.picker, nullptr);
}

// --------------------------------------------------------- interaction

TEST_F(TaskbarTest, HoverHighlightsAndShowsTheToolTip)
{
    ASSERT_EQ(define(gridDefinitions), 0);
    ASSERT_EQ(show(gridAtTopLeft), 0);
    showViewport();
    KGRTaskbarButtonParams* grid = button("grid");
    KGRText* t = grid->kgr_text;
    ASSERT_NE(t->text.path, nullptr);
    QPoint inside = middle(grid);
    // Half opacity over white: the black box shows grey.
    QPoint sample = t->text.path->boundingRect().topLeft().toPoint() + QPoint(2, 2);
    EXPECT_NEAR(qRed(shot().pixel(sample)), 128, 2);

    moveTo(inside);
    EXPECT_EQ(t->text.select, 1);
    EXPECT_TRUE(QToolTip::isVisible());
    EXPECT_EQ(QToolTip::text().toStdString(), grid->description);
    // Selected: drawn at full opacity.
    EXPECT_EQ(shot().pixel(sample), qRgb(0, 0, 0));

    moveTo(QPoint(290, 190));
    EXPECT_EQ(t->text.select, 0);
    EXPECT_NEAR(qRed(shot().pixel(sample)), 128, 2);
}

TEST_F(TaskbarTest, PressesCycleTheStatesAndWrap)
{
    ASSERT_EQ(define(gridDefinitions), 0);
    ASSERT_EQ(show(gridAtTopLeft), 0);
    showViewport();
    KGRTaskbarButtonParams* grid = button("grid");
    QPoint inside = middle(grid);
    moveTo(inside);
    ASSERT_EQ(grid->kgr_text->text.select, 1);

    // Zero has a black box, the others a white one; a corner clear of the
    // strike-through shows which is drawn.
    QPointF corner = grid->kgr_text->text.path->boundingRect().topRight();
    QPoint sample = corner.toPoint() + QPoint(-3, 3);
    const char* labels[] = {"One", "Two", "Zero", "One"};
    const char* debugs[] = {"plain", "two", "zero", "plain"};
    const QRgb boxes[] = {qRgb(255, 255, 255), qRgb(255, 255, 255), qRgb(0, 0, 0),
                          qRgb(255, 255, 255)};
    EXPECT_EQ(shot().pixel(sample), qRgb(0, 0, 0));
    for (int i = 0; i < 4; ++i) {
        click(inside);
        EXPECT_EQ(grid->current, (i + 1) % 3) << i;
        EXPECT_EQ(label(grid), labels[i]) << i;
        EXPECT_STREQ(tb->taskbar.debug, debugs[i]) << i;
        EXPECT_EQ(shot().pixel(sample), boxes[i]) << i;
    }
    // The state's look follows: One strikes the button through.
    EXPECT_EQ(grid->kgr_text->text.show_not_symbol, 1);
    EXPECT_EQ(grid->kgr_text->text.opacity, 1.0);
}

TEST_F(TaskbarTest, APressOutsideTheButtonDoesNothing)
{
    ASSERT_EQ(define(gridDefinitions), 0);
    ASSERT_EQ(show(gridAtTopLeft), 0);
    showViewport();
    moveTo(QPoint(290, 190));
    click(QPoint(290, 190));
    EXPECT_EQ(button("grid")->current, 0);
    EXPECT_STREQ(tb->taskbar.debug, "");
}

TEST_F(TaskbarTest, ShiftSelectsTheActionLines)
{
    ASSERT_EQ(define(gridDefinitions), 0);
    ASSERT_EQ(show(gridAtTopLeft), 0);
    showViewport();
    KGRTaskbarButtonParams* grid = button("grid");
    QPoint inside = middle(grid);
    moveTo(inside);

    click(inside, Qt::ShiftModifier); // to One, shift held
    EXPECT_STREQ(tb->taskbar.debug, "shifted");
    click(inside); // Two
    click(inside); // Zero
    // Control is not shift, and mod=ctrl lines never run.
    click(inside, Qt::ControlModifier);
    EXPECT_EQ(grid->current, 1);
    EXPECT_STREQ(tb->taskbar.debug, "plain");
    click(inside);
    click(inside);
    click(inside, Qt::ShiftModifier | Qt::ControlModifier);
    EXPECT_STREQ(tb->taskbar.debug, "shifted");
}

TEST_F(TaskbarTest, ActionsReachOptionsThatAnEmbeddingItemInstalls)
{
    struct Host {
        int grid;
    } host{1};
    static HX_ConfigureSpec hostSpecs[] = {
        {"boolean", "grid", nullptr, offsetof(Host, grid), 0, nullptr},
        {"end", nullptr, nullptr, 0, 0, nullptr},
    };
    ASSERT_EQ(tb->setConfigureSpecs(hostSpecs, reinterpret_cast<char*>(&host), "Host"), 0);
    const std::string text = oneButton(layer + "label Grid\naction configure grid off\n");
    ASSERT_EQ(define(text.c_str()), 0) << takeRegister();
    ASSERT_EQ(show("buttons &Tbl{\n b nwb 10 top-10\n}\n"), 0);
    showViewport();
    QPoint inside = middle(button("b"));
    moveTo(inside);
    click(inside);
    EXPECT_EQ(host.grid, 0);
}

TEST_F(TaskbarTest, CallbackWithoutAStateDoesNothing)
{
    const std::string text = oneButton(layer + "states &Arr{\n}\n");
    ASSERT_EQ(define(text.c_str()), 0) << takeRegister();
    ASSERT_EQ(show("buttons &Tbl{\n b nwb 10 10\n}\n"), 0) << takeRegister();
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(1, 1), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    EXPECT_EQ(taskbar_button_callback(KGR_EVENT_MOUSE_PRESS, button("b"), &press), 0);
    EXPECT_EQ(button("b")->current, 0);
}

TEST_F(TaskbarTest, AnActionMayReplaceTheButtonsItBelongsTo)
{
    const std::string text =
        oneButton(layer + "label Again\naction configure taskbar_buttons_definitions\n");
    ASSERT_EQ(define(text.c_str()), 0) << takeRegister();
    ASSERT_EQ(show("buttons &Tbl{\n b nwb 10 top-10\n}\n"), 0);
    showViewport();
    QPoint inside = middle(button("b"));
    moveTo(inside);
    // "configure taskbar_buttons_definitions" has two words: skipped.
    click(inside);
    ASSERT_NE(tb->taskbar.buttons_definitions, nullptr);

    const std::string wipe =
        oneButton(layer + "label Wipe\naction configure taskbar_buttons_definitions \"\"\n");
    ASSERT_EQ(define(wipe.c_str()), 0) << takeRegister();
    ASSERT_EQ(show("buttons &Tbl{\n b nwb 10 top-10\n}\n"), 0);
    // Widgets added to a shown viewport show once the events are through.
    settle();
    shot();
    inside = middle(button("b"));
    moveTo(inside);
    click(inside);
    EXPECT_EQ(tb->taskbar.buttons_definitions, nullptr);
    EXPECT_EQ(tb->taskbar.buttons, nullptr);
}
