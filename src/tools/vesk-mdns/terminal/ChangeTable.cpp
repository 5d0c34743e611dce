// SPDX-License-Identifier: MIT
#include "ChangeTable.h"

#include <algorithm>
#include <iterator>

namespace {

QPair<QString, QString> orderOf(const QString& key)
{
    return {key.toCaseFolded(), key};
}

} // namespace

ChangeTable::ChangeTable(QVector<Column> columns, int ageColumn)
    : m_columns(std::move(columns))
    , m_ageColumn(ageColumn)
{
}

void ChangeTable::put(const QString& key, const QStringList& cells, qint64 now)
{
    forgetGone(now);
    const auto known = m_entries.find(orderOf(key));
    if (known == m_entries.end() || known->mark == Mark::Gone) {
        m_entries.insert(orderOf(key), {cells, Mark::New, now, now});
        return;
    }
    const bool isStillNew = known->mark == Mark::New && now - known->markedAt < markedMs;
    *known = {cells, isStillNew ? Mark::New : Mark::Changed, known->cameAt, now};
}

void ChangeTable::remove(const QString& key, qint64 now)
{
    const auto known = m_entries.find(orderOf(key));
    if (known == m_entries.end() || known->mark == Mark::Gone)
        return;
    known->mark = Mark::Gone;
    known->markedAt = now;
}

void ChangeTable::forgetGone(qint64 now)
{
    for (auto entry = m_entries.begin(); entry != m_entries.end();) {
        const bool isOver = entry->mark == Mark::Gone && now - entry->markedAt >= markedMs;
        entry = isOver ? m_entries.erase(entry) : std::next(entry);
    }
}

QVector<Row> ChangeTable::rows(qint64 now) const
{
    QVector<Row> rows;
    for (const Entry& entry : m_entries) {
        const bool isMarked = now - entry.markedAt < markedMs;
        if (entry.mark == Mark::Gone && !isMarked)
            continue;
        Row row{entry.cells, isMarked ? entry.mark : Mark::None};
        row.cells.insert(m_ageColumn, ageText(now - entry.cameAt));
        rows.append(row);
    }
    return rows;
}

int ChangeTable::count() const
{
    return int(std::count_if(m_entries.begin(), m_entries.end(),
                             [](const Entry& entry) { return entry.mark != Mark::Gone; }));
}

QString ageText(qint64 ms)
{
    const qint64 seconds = ms / 1000;
    if (seconds < 60)
        return QString("%1s").arg(seconds);
    if (seconds < 3600)
        return QString("%1m").arg(seconds / 60);
    if (seconds < 86400)
        return QString("%1h").arg(seconds / 3600);
    return QString("%1d").arg(seconds / 86400);
}
