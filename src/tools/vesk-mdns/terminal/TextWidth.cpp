// SPDX-License-Identifier: MIT
#include "TextWidth.h"

#include <QTextBoundaryFinder>
#include <QVector>
#include <clocale>
#include <cwchar>

namespace {

/**
 * Widths come from the C library's wcwidth(): its table is the one that programs of the same system lay
 * their lines out by, and no further library is needed. It answers for the locale in force, which may be
 * "C", so a UTF-8 locale that is always there is put in force meanwhile.
 */
class WidthLocale
{
public:
    WidthLocale()
        : m_before(uselocale(utf8()))
    {
    }
    ~WidthLocale() { uselocale(m_before); }
    WidthLocale(const WidthLocale&) = delete;
    WidthLocale& operator=(const WidthLocale&) = delete;

private:
    static locale_t utf8()
    {
        static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return locale; // null keeps the locale in force
    }

    locale_t m_before;
};

} // namespace

int displayWidth(const QString& text)
{
    const WidthLocale locale;
    int width = 0;
    for (const uint character : text.toUcs4()) {
        const int columns = wcwidth(wchar_t(character));
        width += columns < 0 ? 1 : columns; // a character younger than the table
    }
    return width;
}

QString cutToWidth(const QString& text, int width)
{
    if (displayWidth(text) <= width)
        return text;
    if (width < 1)
        return QString();
    // Only between what readers take for characters: a base and its accents stay together.
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int end = 0;
    for (int next = finder.toNextBoundary(); next != -1; next = finder.toNextBoundary()) {
        if (displayWidth(text.left(next)) > width - 1)
            break;
        end = next;
    }
    return text.left(end) + QChar(0x2026);
}
