#include "KGR.h"

#include <QEvent>
#include <QMetaEnum>

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <string>

namespace {

// Reads "Name = value" enumerators of QEvent::Type from Qt's own header,
// independently of the metadata the library uses, conditional ones included.
std::vector<std::pair<std::string, int>> headerEnumerators()
{
    std::ifstream in(QT_CORE_INCLUDE_DIR "/qcoreevent.h");
    std::stringstream ss;
    ss << in.rdbuf();
    std::string text = ss.str();
    size_t begin = text.find("enum Type {");
    size_t end = text.find("};", begin);
    std::vector<std::pair<std::string, int>> out;
    if (begin == std::string::npos || end == std::string::npos)
        return out;
    std::string body = text.substr(begin, end - begin);
    std::regex entry(R"((\w+)\s*=\s*(\d+))");
    for (std::sregex_iterator it(body.begin(), body.end(), entry), e; it != e; ++it)
        out.emplace_back((*it)[1].str(), std::stoi((*it)[2].str()));
    return out;
}

} // namespace

TEST(QEventTypeNames, EveryNumberedEnumeratorOfTheHeaderIsNamed)
{
    auto entries = headerEnumerators();
    ASSERT_GT(entries.size(), 150u);
    QMetaEnum meta = QMetaEnum::fromType<QEvent::Type>();
    for (const auto& [name, value] : entries) {
        std::string got = KGR_qevent_type_str(value);
        // Aliases share a value; the name given must be one of them.
        bool ok = got == name || meta.keyToValue(got.c_str()) == value;
        EXPECT_TRUE(ok) << name << " = " << value << " gave " << got;
    }
}

TEST(QEventTypeNames, KnownNamesAndUnknownValues)
{
    EXPECT_STREQ(KGR_qevent_type_str(QEvent::None), "None");
    EXPECT_STREQ(KGR_qevent_type_str(QEvent::MouseButtonPress), "MouseButtonPress");
    EXPECT_STREQ(KGR_qevent_type_str(QEvent::ActionAdded), "ActionAdded");
    EXPECT_STREQ(KGR_qevent_type_str(QEvent::WindowUnblocked), "WindowUnblocked");
    EXPECT_STREQ(KGR_qevent_type_str(QEvent::WinIdChange), "WinIdChange");
    EXPECT_STREQ(KGR_qevent_type_str(QEvent::ZOrderChange), "ZOrderChange");
    EXPECT_STREQ(KGR_qevent_type_str(QEvent::User), "User");
    EXPECT_STREQ(KGR_qevent_type_str(QEvent::MaxUser), "MaxUser");
    EXPECT_STREQ(KGR_qevent_type_str(150), "EnterEditFocus");
    EXPECT_STREQ(KGR_qevent_type_str(151), "LeaveEditFocus");
    EXPECT_STREQ(KGR_qevent_type_str(-1), "unknown");
    EXPECT_STREQ(KGR_qevent_type_str(1001), "unknown");
    EXPECT_STREQ(KGR_qevent_type_str(999999), "unknown");
}
