// SPDX-License-Identifier: MIT
#ifndef STANDARD_INPUT_H
#define STANDARD_INPUT_H

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

/**
 * The bytes of standard input as they arrive, until it ends.
 *
 * What is typed while the program is a background job of the terminal is left there: for the job in the
 * foreground, or until this program is brought there.
 */
class StandardInput : public QObject
{
    Q_OBJECT

public:
    StandardInput();

    static bool isTerminal();

Q_SIGNALS:
    void received(const QByteArray& bytes);
    /** Nothing more will be received. */
    void ended();

private:
    void on_notifier_activated();
    void pause();
    void end();

    QSocketNotifier m_notifier;
    QTimer m_pause;
};

#endif
