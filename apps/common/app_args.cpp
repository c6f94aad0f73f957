#include "app_args.h"

#include <QGuiApplication>
#include <QString>

#include <cmath>
#include <cstdio>
#include <cstdlib>

bool app_parse_number(const char* text, double* value)
{
    if (!text)
        return false;
    char* end = nullptr;
    *value = strtod(text, &end);
    return end != text && *end == '\0' && std::isfinite(*value);
}

bool app_parse_ratio(const char* text)
{
    double r = 0;
    return app_parse_number(text, &r) && r >= 1 && r <= 8;
}

bool app_parse_size(const char* text, int* width, int* height)
{
    char tail = 0;
    return text && sscanf(text, "%dx%d%c", width, height, &tail) == 2 && *width >= 50 &&
           *width <= 10000 && *height >= 50 && *height <= 10000;
}

bool app_has_display()
{
    return getenv("DISPLAY") || getenv("WAYLAND_DISPLAY") || getenv("QT_QPA_PLATFORM");
}

bool app_is_headless()
{
    const QString platform = QGuiApplication::platformName();
    return platform == "offscreen" || platform == "minimal";
}
