// SPDX-License-Identifier: MIT
#ifndef GUARDS_H
#define GUARDS_H

#include <QRegularExpression>
#include <QSet>
#include <QStringList>

/** Finds what a test leaves behind: QObjects, descriptors, and warnings that the test did not expect. */
class Guards
{
public:
    /** Counts QObjects from here on; to be called once, before any test. */
    static void install();

    /** Opens the watch. Another one may be opened inside, and be ended first. */
    void begin();
    /** Closes it and says, a sentence each, what is wrong. */
    QStringList end();

    /** The test makes Qt warn once with a text that matches. */
    static void expectWarning(const QString& pattern);

private:
    static void objectMade(QObject* object);
    static void objectGone(QObject* object);
    static void messageArrived(QtMsgType type, const QMessageLogContext& context, const QString& text);

    static Guards* current;
    Guards* outer = nullptr;
    QtMessageHandler nextHandler = nullptr;
    QSet<QObject*> objects; // made since begin() and still alive
    QList<QRegularExpression> expectedWarnings;
    QStringList unexpectedWarnings;
    int descriptors = 0;
};

/** How many descriptors this process has open. */
int openDescriptors();

#endif
