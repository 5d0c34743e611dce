// SPDX-License-Identifier: MIT
#include "Output.h"

#include "PrintableText.h"

#include <QJsonDocument>
#include <cerrno>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool writeAll(int fd, QByteArray bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = write(fd, bytes.constData(), size_t(bytes.size()));
        if (written >= 0) {
            bytes.remove(0, int(written));
        } else if (errno == EAGAIN) {
            // A descriptor shared with a program that made it non-blocking.
            pollfd writable = {fd, POLLOUT, 0};
            poll(&writable, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

const char* colour(Style style)
{
    switch (style) {
    case Style::Plain:
        return "";
    case Style::Heading:
        return "\x1b[1m";
    case Style::Good:
        return "\x1b[32m";
    case Style::Busy:
        return "\x1b[33m";
    case Style::Bad:
        return "\x1b[31m";
    case Style::Faint:
        return "\x1b[2m";
    }
    return "";
}

bool isPipe(int fd)
{
    struct stat status;
    return fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode);
}

} // namespace

/** A pipe's writer is told at once when the last reader goes, and not only when it writes again. */
Output::Output()
{
    if (!isPipe(STDOUT_FILENO))
        return;
    m_readerGoes.emplace(STDOUT_FILENO, QSocketNotifier::Exception);
    connect(&*m_readerGoes, &QSocketNotifier::activated, this, &Output::close);
}

bool Output::canPositionCursor()
{
    const QByteArray terminal = qgetenv("TERM");
    return isatty(STDOUT_FILENO) && !terminal.isEmpty() && terminal != "dumb";
}

QString Output::styled(const QString& text, Style style) const
{
    if (!m_hasColours || style == Style::Plain)
        return text;
    return colour(style) + text + "\x1b[0m";
}

void Output::line(const QString& text)
{
    raw(text.toUtf8() + '\n');
}

void Output::json(const QJsonObject& object)
{
    raw(printableJson(QJsonDocument(object).toJson(QJsonDocument::Compact)) + '\n');
}

void Output::raw(const QByteArray& bytes)
{
    if (!m_isClosed && !writeAll(STDOUT_FILENO, bytes))
        close();
}

void Output::close()
{
    if (m_readerGoes)
        m_readerGoes->setEnabled(false);
    if (m_isClosed)
        return;
    m_isClosed = true;
    Q_EMIT closed();
}

void Output::complain(const QString& text)
{
    writeAll(STDERR_FILENO, "vesk-mdns: " + printable(text).toUtf8() + '\n');
}
