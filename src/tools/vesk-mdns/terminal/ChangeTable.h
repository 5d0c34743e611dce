// SPDX-License-Identifier: MIT
#ifndef CHANGE_TABLE_H
#define CHANGE_TABLE_H

#include "TableLayout.h"

#include <QMap>
#include <QPair>

/**
 * Rows by key that come, change and go. What happened to a row is marked for a moment; a row that went away
 * stays in sight as long. Times are milliseconds of any clock that runs steadily.
 */
class ChangeTable
{
public:
    static constexpr qint64 markedMs = 5000;

    /** @param ageColumn which of @p columns holds the time since the row came. */
    ChangeTable(QVector<Column> columns, int ageColumn);

    const QVector<Column>& columns() const { return m_columns; }

    /** Adds or changes a row; @p cells are those of all columns but the age. */
    void put(const QString& key, const QStringList& cells, qint64 now);
    /** Marks a row as gone; nothing happens when there is none. */
    void remove(const QString& key, qint64 now);

    /** The rows in the order of their keys, regardless of case. */
    QVector<Row> rows(qint64 now) const;
    /** How many rows are there and not gone. */
    int count() const;

private:
    struct Entry
    {
        QStringList cells;
        Mark mark;
        qint64 cameAt;
        qint64 markedAt;
    };

    void forgetGone(qint64 now);

    QVector<Column> m_columns;
    int m_ageColumn;
    QMap<QPair<QString, QString>, Entry> m_entries; ///< by folded key, then by key
};

/** "7s", "3m", "5h" or "2d", rounded down. */
QString ageText(qint64 ms);

#endif
