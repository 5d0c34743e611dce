// SPDX-License-Identifier: MIT
#ifndef CHECKS_H
#define CHECKS_H

#include <QString>
#include <QVector>

/** What was found about one thing that browsing and advertising need. */
struct Check
{
    QString subject;
    bool isInOrder;
    QString finding;
    QString advice; ///< what to do; empty when nothing is to be done
};

/** Whether the DNS-SD library is the one over Avahi; of another it is not known which daemon it needs, and
 * how it reaches that. */
bool isLibraryOverAvahi();

// Each looks at the system as it is now and waits a few seconds at most.

/** The message bus by which the Avahi daemon is reached. */
QVector<Check> checkBus();
/** The bus took the connection and has said nothing since; somebody still waits for it in the background. */
bool isBusHung();
/** The Avahi daemon. */
QVector<Check> checkDaemon();
/** The network interfaces: at least one must be able to send to others. */
QVector<Check> checkInterfaces();
/** The DNS-SD library: whether a question through it is answered. */
QVector<Check> checkLibrary();

#endif
