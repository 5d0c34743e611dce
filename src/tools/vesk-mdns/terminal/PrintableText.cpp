// SPDX-License-Identifier: MIT
#include "PrintableText.h"

#include <QVector>

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
