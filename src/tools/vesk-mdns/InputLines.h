// SPDX-License-Identifier: MIT
#ifndef INPUT_LINES_H
#define INPUT_LINES_H

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

/** Standard input line by line, until it ends; nothing is read while the program is in the background. */
class InputLines : public QObject
{
    Q_OBJECT

public:
    InputLines();

    /** Whether a person types the lines. */
    static bool isTyped();

Q_SIGNALS:
    /** A line without blanks around it, never empty. */
    void entered(const QString& line);

private:
    void on_notifier_activated();
    void takeLine(const QByteArray& bytes);

    QSocketNotifier m_notifier;
    QByteArray m_pending;
};

#endif
