#include "kgrqt.h"
#include "register.h"

#include <QColor>
#include <QFont>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

struct KgrtestItem {
    KGR_Color fill;
    KGR_Font font;
    double bound;
    int count;
    KGR_Color outline;
};

std::vector<std::string> steps;
bool failSetParent = false;
bool throwInt = false;

// A widget class built the way every class of the library is.
class KGRTest : public KGRConfigure, public QWidget {
public:
    explicit KGRTest(QWidget* parent)
    {
        kgrqt_construct([&] { init(parent); }, "KGRTest::KGRTest: init() error.");
    }
    ~KGRTest() override
    {
        KGR_ClearColor(&test.fill);
        KGR_ClearColor(&test.outline);
        KGR_ParseFont(nullptr, &test.font);
        free(class_name);
    }

    // Hides QWidget::setParent so that a test can make it fail.
    void setParent(QWidget* parent)
    {
        steps.push_back("setParent");
        if (throwInt)
            throw 7;
        if (failSetParent)
            throw "setParent failed";
        QWidget::setParent(parent);
    }

    KgrtestItem test;
    int debug = -1;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

private:
    void init(QWidget* parent)
    {
        kgrqt_init_item(
            this, parent, &test, "KGRTest", "KGRTest::init: setParent() error.",
            [](KgrtestItem& r) {
                steps.push_back("startValues count=" + std::to_string(r.count));
                r.bound = 2e30;
            },
            [this] {
                steps.push_back("register count=" + std::to_string(test.count) +
                                " class_name=" + (class_name ? "set" : "null"));
            });
    }
};

HX_ConfigureSpec KGRTest::configSpecs[] = {
    {"color", "fill", "#e0e0ff", offsetof(KgrtestItem, fill), HX_CONFIGURE_NULL_OK, nullptr},
    {"font", "font", "Helvetica 12", offsetof(KgrtestItem, font), HX_CONFIGURE_NULL_OK, nullptr},
    {"double", "bound", nullptr, offsetof(KgrtestItem, bound), HX_CONFIGURE_NULL_OK, nullptr},
    {"int", "count", "3", offsetof(KgrtestItem, count), 0, nullptr},
    {"color", "outline", nullptr, offsetof(KgrtestItem, outline), HX_CONFIGURE_NULL_OK, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

struct ItemPatternTest : ::testing::Test {
    void SetUp() override
    {
        steps.clear();
        failSetParent = throwInt = false;
        hx_clear_register(0);
    }
    void TearDown() override { hx_clear_register(0); }
    QWidget parent;
};

HX_ConfigureSpec* row(const char* name)
{
    for (HX_ConfigureSpec* s = KGRTest::configSpecs; strcmp(s->type, "end") != 0; ++s)
        if (strcmp(s->name, name) == 0)
            return s;
    return nullptr;
}

} // namespace

TEST_F(ItemPatternTest, ConstructionRunsTheStepsInOrder)
{
    KGRTest item(&parent);
    EXPECT_EQ(steps, (std::vector<std::string>{"setParent", "startValues count=0",
                                               "register count=3 class_name=null"}));
    EXPECT_EQ(item.parentWidget(), &parent);
    EXPECT_FALSE(item.autoFillBackground());
    EXPECT_EQ(item.debug, 0);
    ASSERT_NE(item.class_name, nullptr);
    EXPECT_STREQ(item.class_name, "KGRTest");
    // Defaults applied after the start values; rows without one keep them.
    EXPECT_EQ(item.test.count, 3);
    EXPECT_EQ(item.test.bound, 2e30);
    ASSERT_NE(item.test.fill.color, nullptr);
    EXPECT_EQ(item.test.fill.color->rgb(), qRgb(0xe0, 0xe0, 0xff));
    EXPECT_EQ(item.test.outline.color, nullptr);
    ASSERT_NE(item.test.font.font, nullptr);
    EXPECT_EQ(item.test.font.font->pointSize(), 12);
}

TEST_F(ItemPatternTest, SetParentFailureBecomesTheConstructorsException)
{
    failSetParent = true;
    try {
        KGRTest item(&parent);
        FAIL() << "no exception";
    } catch (const char* message) {
        EXPECT_STREQ(message, "KGRTest::KGRTest: init() error.");
    }
}

TEST_F(ItemPatternTest, InitThrowsItsOwnSetParentText)
{
    KgrtestItem record{};
    KGRTest probe(&parent);
    failSetParent = true;
    try {
        kgrqt_init_item(
            &probe, &parent, &record, "KGRTest", "KGRTest::init: setParent() error.",
            [](KgrtestItem&) {}, [] {});
        FAIL() << "no exception";
    } catch (const char* message) {
        EXPECT_STREQ(message, "KGRTest::init: setParent() error.");
    }
    // The record was left alone: the failure came first.
    EXPECT_EQ(record.count, 0);
}

TEST_F(ItemPatternTest, OtherExceptionTypesAreNotCaught)
{
    throwInt = true;
    EXPECT_THROW(KGRTest item(&parent), int);
}

TEST_F(ItemPatternTest, ColourAndFontOptionsGoThroughTheLibrarysParser)
{
    KGRTest item(&parent);
    ASSERT_EQ(item.configure("fill", "120,1,0.5", "font", "Helvetica 12 Bold 1", "outline",
                             "#80004000", static_cast<char*>(nullptr)),
              0);
    EXPECT_EQ(item.test.fill.color->rgb(), qRgb(0, 255, 0));
    EXPECT_TRUE(item.test.font.font->italic());
    EXPECT_EQ(item.test.outline.color->alpha(), 0x80);
    char* s = item.printConfigValue("font");
    EXPECT_STREQ(s, "Helvetica 12 75 1");
    free(s);
    s = item.printConfigValue("outline");
    EXPECT_STREQ(s, "#80004000");
    free(s);
    // An empty colour clears it; the option prints back as empty.
    ASSERT_EQ(item.configure("outline", "", static_cast<char*>(nullptr)), 0);
    EXPECT_EQ(item.test.outline.color, nullptr);
}

TEST_F(ItemPatternTest, FontRowWithNullBitRefusesEmptyValues)
{
    KGRTest item(&parent);
    EXPECT_EQ(item.configure("font", "", static_cast<char*>(nullptr)), -1);
    EXPECT_EQ(takeRegister(), "KGRConfigure_ParseConfigValue: Cannot set HX_CONFIGURE_NULL_OK for "
                              "font value for font.\n");
    EXPECT_EQ(item.configure("font", static_cast<char*>(nullptr), static_cast<char*>(nullptr)), -1);
    takeRegister();
    EXPECT_STREQ(item.test.font.family, "Helvetica"); // unchanged
}

TEST_F(ItemPatternTest, ParserFailuresAreWrapped)
{
    KGRTest item(&parent);
    EXPECT_EQ(item.configure("fill", "1,2", static_cast<char*>(nullptr)), -1);
    EXPECT_EQ(takeRegister(), "KGR_ParseColor: Cannot create new color object.\n"
                              "KGRConfigure_ParseConfigValue: KGR_ParseColor() error for fill.\n");
    EXPECT_EQ(item.configure("font", "a b c d e", static_cast<char*>(nullptr)), -1);
    EXPECT_EQ(takeRegister(), "KGR_ParseFont: Too many fields in font 'a b c d e'\n"
                              "KGRConfigure_ParseConfigValue: KGR_ParseFont() error for font.\n");
}

TEST_F(ItemPatternTest, ChangedBitFollowsColourChanges)
{
    KGRTest item(&parent);
    HX_ConfigureSpec* outline = row("outline");
    // The table is shared by every instance and earlier tests changed this
    // row; only a test may clear the bit.
    outline->specFlags &= ~HX_CONFIGURE_CHANGED;
    // Clearing a clear colour changes nothing.
    ASSERT_EQ(item.configure("outline", "", static_cast<char*>(nullptr)), 0);
    EXPECT_EQ(outline->specFlags & HX_CONFIGURE_CHANGED, 0);
    ASSERT_EQ(item.configure("outline", "red", static_cast<char*>(nullptr)), 0);
    EXPECT_NE(outline->specFlags & HX_CONFIGURE_CHANGED, 0);
    ASSERT_EQ(item.configure("outline", "", static_cast<char*>(nullptr)), 0);
    EXPECT_NE(outline->specFlags & HX_CONFIGURE_CHANGED, 0);
}

TEST(KGRConfigureParser, AnswersThreeForOtherTypes)
{
    char record[64] = {0};
    for (const char* type : {"int", "double", "boolean", "string", "ptr", "custom", "Color"}) {
        HX_ConfigureSpec spec = {type, "x", nullptr, 0, 0, nullptr};
        EXPECT_EQ(KGRConfigure_ParseConfigValue(&spec, const_cast<char*>("1"), record), 3) << type;
        EXPECT_EQ(spec.specFlags, 0);
    }
}

TEST(KGRConfigureParser, SameValueLeavesChangedBitClear)
{
    KGR_Color color = {nullptr, nullptr};
    HX_ConfigureSpec spec = {"color", "fill", nullptr, 0, 0, nullptr};
    char* record = reinterpret_cast<char*>(&color);
    ASSERT_EQ(KGR_ParseColor("white", &color), 1);
    EXPECT_EQ(KGRConfigure_ParseConfigValue(&spec, const_cast<char*>("white"), record), 0);
    EXPECT_EQ(spec.specFlags & HX_CONFIGURE_CHANGED, 0);
    EXPECT_EQ(KGRConfigure_ParseConfigValue(&spec, const_cast<char*>("black"), record), 0);
    EXPECT_EQ(spec.specFlags & HX_CONFIGURE_CHANGED, HX_CONFIGURE_CHANGED);
    KGR_ClearColor(&color);
}
