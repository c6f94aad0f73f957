// Makes text rendering independent of the fonts a machine happens to have:
// the families the library names resolve to DejaVu (fonts-dejavu-core, which
// the bootstrap installs) before any fontconfig fallback is consulted.
#ifndef KGRQT_TEST_FONTS_H
#define KGRQT_TEST_FONTS_H

#include <QFont>

inline void useDeterministicFonts()
{
    for (const char* family : {"Helvetica", "Arial", "Sans", "Sans Serif"})
        QFont::insertSubstitution(family, "DejaVu Sans");
    QFont::insertSubstitution("Courier", "DejaVu Sans Mono");
    QFont::insertSubstitution("Times", "DejaVu Serif");
}

#endif
