// SPDX-License-Identifier: MIT
#ifndef RECORD_H
#define RECORD_H

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

/** The one ordered account of a test: what was called, logged, emitted and destroyed, one line each. */
class Record
{
public:
    enum Kind
    {
        Call = 0x01,       ///< a call of the DNS-SD library
        Reply = 0x02,      ///< a callback of the DNS-SD library begins
        Signal = 0x04,     ///< an emission, before any receiver of the library heard it
        Log = 0x08,        ///< "LEVEL logger: message"
        Destroyed = 0x10,  ///< an object is gone
        Connection = 0x20, ///< a connection made through the core library
        Core = 0x40,       ///< any other call of the core library
        Note = 0x80,       ///< written by the test itself
        Pure = 0x100,      ///< a call of the DNS-SD library that only reads a TXT record
    };

    struct Line
    {
        Kind kind;
        QString text;
        QByteArray file = {};     ///< of log lines only
        int number = 0;           ///< of log lines only: the line in the file
        QByteArray function = {}; ///< of log lines only
    };

    static Record& instance();

    void add(Kind kind, const QString& text) { lines.append({kind, text}); }
    void add(const Line& line) { lines.append(line); }
    void clear() { lines.clear(); }

    const QList<Line>& all() const { return lines; }
    /** The lines of these kinds (or-ed together), in order. */
    QStringList of(int kinds) const;

private:
    QList<Line> lines;
};

#endif
