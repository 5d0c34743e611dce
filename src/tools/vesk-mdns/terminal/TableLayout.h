// SPDX-License-Identifier: MIT
#ifndef TABLE_LAYOUT_H
#define TABLE_LAYOUT_H

#include "Output.h"

#include <QString>
#include <QStringList>
#include <QVector>

struct Column
{
    QString title;
    int least; ///< the column is not made narrower than this; only the first is when it stands alone
};

/** What just happened to a row. */
enum class Mark
{
    None,
    New,
    Changed,
    Gone
};

struct Row
{
    QStringList cells; ///< as many as there are columns, each printable()
    Mark mark = Mark::None;
};

/**
 * The width of each column so that all of them, two blanks apart and after the marks, fit @p room columns of
 * the terminal: as wide as the contents need, else the widest ones narrower. Where not even the least widths
 * fit, the last columns go, by width 0.
 */
QVector<int> columnWidths(const QVector<Column>& columns, const QVector<Row>& rows, int room);

/**
 * A heading and one line for each row, none wider than @p room. Columns are reached by positioning the
 * cursor, not by blanks: they stay straight also where terminal and table disagree on a character's width.
 */
QStringList tableLines(const QVector<Column>& columns, const QVector<Row>& rows, int room,
                       const Output& output);

#endif
