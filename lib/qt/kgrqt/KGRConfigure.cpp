#include "KGRConfigure.h"

#include <QColor>
#include <QFont>

namespace {

bool hasType(const HX_ConfigureSpec* spec, const char* type)
{
    return strcmp(spec->type, type) == 0;
}

int parseColorOption(HX_ConfigureSpec* spec, char* value, KGR_Color* color)
{
    int r = KGR_ParseColor(value, color);
    if (r < 0) {
        hx_register_error(HX_ERROR_INPUT,
                          "KGRConfigure_ParseConfigValue: KGR_ParseColor() error for %s.\n",
                          spec->name);
        return -1;
    }
    return r;
}

int parseFontOption(HX_ConfigureSpec* spec, char* value, KGR_Font* font)
{
    if ((spec->specFlags & HX_CONFIGURE_NULL_OK) && (!value || !*value)) {
        hx_register_error(HX_ERROR_INPUT,
                          "KGRConfigure_ParseConfigValue: Cannot set HX_CONFIGURE_NULL_OK for font "
                          "value for %s.\n",
                          spec->name);
        return -1;
    }
    int r = KGR_ParseFont(value, font);
    if (r < 0) {
        hx_register_error(HX_ERROR_INPUT,
                          "KGRConfigure_ParseConfigValue: KGR_ParseFont() error for %s.\n",
                          spec->name);
        return -1;
    }
    return r;
}

// Quotes a family name that holds blanks so that it splits back as one word.
QByteArray fontFamilyWord(const char* family)
{
    QByteArray word(family);
    if (word.isEmpty() || word.contains(' ') || word.contains('\t') || word.contains('"')) {
        word.replace('\\', "\\\\").replace('"', "\\\"");
        word = '"' + word + '"';
    }
    return word;
}

char* printFont(const KGR_Font* font)
{
    if (!font->family)
        return strdup("");
    QByteArray text = fontFamilyWord(font->family);
    // Trailing fields are written only as far as they differ from the
    // values an absent field gives.
    int fields = font->italic ? 4 : font->weight != -1 ? 3 : font->size != -1 ? 2 : 1;
    if (fields >= 2)
        text += ' ' + QByteArray::number(font->size);
    if (fields >= 3)
        text += ' ' + QByteArray::number(font->weight);
    if (fields >= 4)
        text += " 1";
    return strdup(text.constData());
}

} // namespace

KGRConfigure::KGRConfigure()
{
    addTypeParser("color", KGRConfigure_ParseConfigValue);
    addTypeParser("font", KGRConfigure_ParseConfigValue);
    addTypePrinter("color", KGRConfigure_PrintConfigValue);
    addTypePrinter("font", KGRConfigure_PrintConfigValue);
}

int KGRConfigure_ParseConfigValue(HX_ConfigureSpec* spec, char* value, char* record)
{
    int r;
    if (hasType(spec, "color"))
        r = parseColorOption(spec, value, reinterpret_cast<KGR_Color*>(record + spec->offset));
    else if (hasType(spec, "font"))
        r = parseFontOption(spec, value, reinterpret_cast<KGR_Font*>(record + spec->offset));
    else
        return HX_TYPE_NOT_MINE;
    if (r < 0)
        return -1;
    if (r > 0)
        spec->specFlags |= HX_CONFIGURE_CHANGED;
    return 0;
}

char* KGRConfigure_PrintConfigValue(HX_ConfigureSpec* spec, char* record)
{
    if (hasType(spec, "color")) {
        const auto* color = reinterpret_cast<const KGR_Color*>(record + spec->offset);
        return strdup(color->color_name ? color->color_name : "");
    }
    if (hasType(spec, "font"))
        return printFont(reinterpret_cast<const KGR_Font*>(record + spec->offset));
    return nullptr;
}

void KGRConfigure_FreeRecord(HX_ConfigureSpec* specs, char* record)
{
    if (!specs || !record)
        return;
    for (HX_ConfigureSpec* spec = specs; spec->type && strcmp(spec->type, "end"); ++spec) {
        char* field = record + spec->offset;
        if (hasType(spec, "string")) {
            char** s = reinterpret_cast<char**>(field);
            free(*s);
            *s = nullptr;
        } else if (hasType(spec, "color")) {
            KGR_ClearColor(reinterpret_cast<KGR_Color*>(field));
        } else if (hasType(spec, "font")) {
            KGR_ParseFont(nullptr, reinterpret_cast<KGR_Font*>(field));
        }
    }
}
