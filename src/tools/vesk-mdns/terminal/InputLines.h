// SPDX-License-Identifier: MIT
#ifndef INPUT_LINES_H
#define INPUT_LINES_H

#include "StandardInput.h"

#include <QByteArray>
#include <QObject>
#include <QString>

/** Standard input line by line. */
class InputLines : public QObject
{
    Q_OBJECT

public:
    InputLines();

Q_SIGNALS:
    /** A line without blanks around it, never empty. */
    void entered(const QString& line);

private:
    void take(const QByteArray& bytes);
    void takeLine(const QByteArray& bytes);

    StandardInput m_input;
    QByteArray m_pending;
};

#endif
