// SPDX-License-Identifier: MIT
#ifndef OUTPUT_H
#define OUTPUT_H

#include <QJsonObject>
#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <optional>

/** What a piece of text means; shown by colour where colours are wanted. */
enum class Style
{
    Plain,
    Heading,
    Good, ///< new, in order
    Busy, ///< changed
    Bad,  ///< gone, not in order
    Faint
};

/**
 * Standard output and standard error, unbuffered and in UTF-8.
 *
 * Text from the network must be made printable() by the caller; json() does that itself.
 */
class Output : public QObject
{
    Q_OBJECT

public:
    Output();

    /** Standard output is a terminal that can position its cursor. */
    bool isTerminal() const { return m_isTerminal; }

    /** @p text as it is, or in the colour of @p style when standard output is a terminal. The user switches
     * colours off by setting NO_COLOR to anything but the empty text. */
    QString styled(const QString& text, Style style) const;

    void line(const QString& text);
    void json(const QJsonObject& object);
    /** Bytes as they are: what draws on the terminal by itself writes with this. */
    void raw(const QByteArray& bytes);

    /** One line on standard error, begun by the program's name. */
    static void complain(const QString& text);

Q_SIGNALS:
    /** The reader of standard output has gone, once. Emitted inside the call that wrote, or from the event
     * loop while there is nothing to write. */
    void closed();

private:
    const bool m_isTerminal = canPositionCursor();
    const bool m_hasColours = m_isTerminal && qEnvironmentVariableIsEmpty("NO_COLOR");
    bool m_isClosed = false;
    std::optional<QSocketNotifier> m_readerGoes;

    static bool canPositionCursor();
    void close();
};

#endif
