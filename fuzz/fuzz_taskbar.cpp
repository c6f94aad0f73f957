// Taskbars with arbitrary button definitions and button lists, then
// presses and motion at arbitrary places: parsing, showing, drawing and the
// button callbacks (whose actions may reconfigure the taskbar itself) must
// never crash, leak or hang.
//
// Input: the definitions text, a line "%%", the button-list text, a line
// "%%", then events of three bytes each: kind and modifiers, x, y.
#include "fuzz_input.h"
#include "kgrqt.h"

#include <QApplication>
#include <QImage>
#include <QMouseEvent>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

QApplication* application()
{
    static int argc = 1;
    static char name[] = "fuzz_taskbar";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static QApplication* app = new QApplication(argc, argv);
    return app;
}

void render(KGRViewport& vp)
{
    QImage image(vp.size(), QImage::Format_ARGB32);
    vp.render(&image);
}

// One synthetic event on the taskbar's picker, which actions may replace.
void sendEvent(KGRViewport& vp, KGRTaskbar& tb, const uint8_t* e)
{
    KGRPicker* picker = tb.taskbar.picker;
    if (!picker)
        return;
    QPointF at(e[1] % vp.width(), e[2] % vp.height());
    Qt::KeyboardModifiers mods = Qt::NoModifier;
    if (e[0] & 2)
        mods |= Qt::ShiftModifier;
    if (e[0] & 4)
        mods |= Qt::ControlModifier;
    const bool press = e[0] & 1;
    QMouseEvent event(press ? QEvent::MouseButtonPress : QEvent::MouseMove, at,
                      press ? Qt::LeftButton : Qt::NoButton, press ? Qt::LeftButton : Qt::NoButton,
                      mods);
    QApplication::sendEvent(picker, &event);
    render(vp);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    application();
    std::string text(reinterpret_cast<const char*>(data), size);
    size_t at = 0;
    std::string definitions = fuzz_section(text, &at);
    std::string buttons = fuzz_section(text, &at);
    // The parameter texts are C strings.
    definitions.resize(strnlen(definitions.c_str(), definitions.size()));
    buttons.resize(strnlen(buttons.c_str(), buttons.size()));

    {
        KGRViewport vp(nullptr);
        vp.resize(240, 160);
        vp.configure("xleft", "0", "xright", "1", "ybottom", "0", "ytop", "1", "margin",
                     "10 10 10 10", static_cast<char*>(nullptr));
        auto* tb = new KGRTaskbar(&vp);
        tb->configure("taskbar_background", size % 2 ? "navy" : "", "taskbar_buttons_definitions",
                      definitions.c_str(), static_cast<char*>(nullptr));
        tb->configure("taskbar_buttons", buttons.c_str(), static_cast<char*>(nullptr));
        render(vp);
        for (size_t i = at; i + 3 <= size && i < at + 3 * 64; i += 3)
            sendEvent(vp, *tb, data + i);
        // Half of the runs take the taskbar away before its viewport.
        if (size % 3 == 0)
            delete tb;
    }
    hx_clear_register(0);
    return 0;
}
