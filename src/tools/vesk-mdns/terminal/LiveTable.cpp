// SPDX-License-Identifier: MIT
#include "LiveTable.h"

#include "Output.h"
#include "PrintableText.h"
#include "TextWidth.h"
#include "UnixSignals.h"

#include <algorithm>

namespace {

constexpr int drawDelayMs = 50; // many changes at once are drawn once
constexpr char keysHint[] = "q ends";

} // namespace

LiveTable::LiveTable(QString title, const QVector<Column>& columns, int ageColumn, Output* output,
                     UnixSignals* unixSignals)
    : m_title(std::move(title))
    , m_table(columns, ageColumn)
    , m_output(output)
{
    m_clock.start();
    m_soon.setSingleShot(true);
    connect(&m_soon, &QTimer::timeout, this, &LiveTable::draw);
    connect(&m_second, &QTimer::timeout, this, &LiveTable::draw);
    connect(unixSignals, &UnixSignals::resized, this, &LiveTable::draw);
    connect(unixSignals, &UnixSignals::suspendRequested, this, &LiveTable::suspend);
    unixSignals->catchSuspend();
    if (StandardInput::isTerminal()) {
        m_input.emplace();
        connect(&*m_input, &StandardInput::received, this, &LiveTable::take);
    }
    m_second.start(1000);
    m_screen.emplace(m_output);
    draw();
}

LiveTable::~LiveTable()
{
    m_screen.reset();
    const QStringList lines = table(AlternateScreen::size().width());
    for (const QString& line : lines)
        m_output->line(line);
}

void LiveTable::put(const QString& key, const QStringList& cells)
{
    m_table.put(key, cells, m_clock.elapsed());
    if (!m_soon.isActive())
        m_soon.start(drawDelayMs);
}

void LiveTable::remove(const QString& key)
{
    m_table.remove(key, m_clock.elapsed());
    if (!m_soon.isActive())
        m_soon.start(drawDelayMs);
}

void LiveTable::setStatus(const QString& text)
{
    m_status = printable(text);
    draw();
}

QStringList LiveTable::table(int width) const
{
    return tableLines(m_table.columns(), m_table.rows(m_clock.elapsed()), width, *m_output);
}

/** Heading, rows in sight, and how many are not. */
QStringList LiveTable::visibleTable(const QSize& room)
{
    QStringList lines = table(room.width());
    const int rows = lines.size() - 1;
    const bool isWhole = lines.size() <= room.height();
    m_window.fit(rows, isWhole ? rows : std::max(0, room.height() - 2));
    if (isWhole)
        return lines;
    const QString hidden =
        QString("  %1 above, %2 below; arrow keys scroll").arg(m_window.above()).arg(m_window.below());
    lines.erase(lines.end() - m_window.below(), lines.end());
    lines.erase(lines.begin() + 1, lines.begin() + 1 + m_window.above());
    return lines << cutToWidth(hidden, room.width());
}

void LiveTable::draw()
{
    if (!m_screen)
        return;
    const QSize size = AlternateScreen::size();
    const QString title = QString("%1: %2").arg(m_title).arg(m_table.count());
    const int room = size.height() - 2; // title and status
    QStringList lines = visibleTable({size.width(), room});
    while (lines.size() < room)
        lines.append(QString());
    lines.prepend(cutToWidth(title, size.width()));
    lines.append(m_output->styled(cutToWidth(m_status.isEmpty() ? keysHint : m_status, size.width()),
                                  m_status.isEmpty() ? Style::Faint : Style::Bad));
    m_screen->show(lines);
}

void LiveTable::suspend()
{
    m_screen.reset();
    UnixSignals::suspend();
    m_screen.emplace(m_output);
    draw();
}

void LiveTable::take(const QByteArray& typed)
{
    const QVector<Key> keys = m_decoder.take(typed);
    for (const Key key : keys)
        m_window.move(key);
    if (keys.contains(Key::Quit))
        Q_EMIT quitRequested();
    else if (!keys.isEmpty())
        draw();
}
