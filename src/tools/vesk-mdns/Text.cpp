// SPDX-License-Identifier: MIT
#include "Text.h"

#include <QTextBoundaryFinder>
#include <QVector>
#include <clocale>
#include <cwchar>

namespace {

bool obeyedByTerminals(uint character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        break;
    }
    switch (QChar::direction(character)) {
    case QChar::DirLRE:
    case QChar::DirLRO:
    case QChar::DirRLE:
    case QChar::DirRLO:
    case QChar::DirPDF:
    case QChar::DirLRI:
    case QChar::DirRLI:
    case QChar::DirFSI:
    case QChar::DirPDI:
        return true;
    default:
        return character == 0x200E || character == 0x200F || character == 0x061C || character == 0xFEFF;
    }
}

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

QString printable(const QString& text)
{
    QString result;
    for (const uint character : text.toUcs4()) {
        if (!obeyedByTerminals(character))
            result += QString::fromUcs4(&character, 1);
        else if (character <= 0xFF)
            result += QString("\\x%1").arg(QString::number(character, 16).toUpper(), 2, QChar('0'));
        else
            result += QString("\\u{%1}").arg(QString::number(character, 16).toUpper());
    }
    return result;
}

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

QByteArray printableJson(const QByteArray& json)
{
    QString result;
    const QString text = QString::fromUtf8(json);
    for (const QChar unit : text) {
        if (!unit.isSurrogate() && obeyedByTerminals(unit.unicode()))
            result += QString("\\u%1").arg(unit.unicode(), 4, 16, QChar('0'));
        else
            result += unit;
    }
    return result.toUtf8();
}
