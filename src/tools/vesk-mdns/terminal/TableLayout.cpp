// SPDX-License-Identifier: MIT
#include "TableLayout.h"

#include "TextWidth.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr int gap = 2;
constexpr int markWidth = 2;

QChar markSign(Mark mark)
{
    switch (mark) {
    case Mark::None:
        break;
    case Mark::New:
        return '+';
    case Mark::Changed:
        return '*';
    case Mark::Gone:
        return '-';
    }
    return ' ';
}

Style markStyle(Mark mark)
{
    switch (mark) {
    case Mark::None:
        break;
    case Mark::New:
        return Style::Good;
    case Mark::Changed:
        return Style::Busy;
    case Mark::Gone:
        return Style::Bad;
    }
    return Style::Plain;
}

int lineWidth(const QVector<int>& widths)
{
    return std::accumulate(widths.begin(), widths.end(), markWidth + gap * (widths.size() - 1));
}

/** @p widths with the widest made narrower until the line fits @p room, or all are at their least. */
QVector<int> narrowed(QVector<int> widths, const QVector<Column>& columns, int room)
{
    while (lineWidth(widths) > room) {
        int widest = -1;
        for (int i = 0; i < widths.size(); ++i)
            if (widths[i] > columns[i].least && (widest < 0 || widths[i] > widths[widest]))
                widest = i;
        if (widest < 0)
            break;
        --widths[widest];
    }
    return widths;
}

QString placed(const QStringList& cells, const QVector<int>& widths)
{
    QString line;
    int column = markWidth;
    for (int i = 0; i < cells.size(); ++i) {
        if (widths[i] == 0)
            continue;
        line += QString("\x1b[%1G").arg(column + 1) + cutToWidth(cells[i], widths[i]);
        column += widths[i] + gap;
    }
    return line;
}

} // namespace

QVector<int> columnWidths(const QVector<Column>& columns, const QVector<Row>& rows, int room)
{
    QVector<int> needed;
    for (const Column& column : columns)
        needed.append(displayWidth(column.title));
    for (const Row& row : rows)
        for (int i = 0; i < needed.size(); ++i)
            needed[i] = std::max(needed[i], displayWidth(row.cells[i]));

    for (int shown = columns.size(); shown > 0; --shown) {
        QVector<int> widths = narrowed(needed.mid(0, shown), columns, room);
        if (lineWidth(widths) > room && shown > 1)
            continue;
        widths[0] = std::min(widths[0], std::max(0, room - markWidth));
        widths.resize(columns.size()); // further columns get 0
        return widths;
    }
    return {};
}

QStringList tableLines(const QVector<Column>& columns, const QVector<Row>& rows, int room,
                       const Output& output)
{
    const QVector<int> widths = columnWidths(columns, rows, room);
    QStringList titles;
    for (const Column& column : columns)
        titles.append(column.title);
    QStringList lines = {output.styled(placed(titles, widths), Style::Heading)};
    for (const Row& row : rows)
        lines.append(output.styled(markSign(row.mark) + placed(row.cells, widths), markStyle(row.mark)));
    return lines;
}
