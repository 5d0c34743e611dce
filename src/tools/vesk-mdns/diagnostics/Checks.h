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

// Each looks at the system as it is now and waits a few seconds at most.

/** The message bus by which the Avahi daemon is reached. */
QVector<Check> checkBus();
/** The Avahi daemon. */
QVector<Check> checkDaemon();
/** The network interfaces: at least one must be able to send to others. */
QVector<Check> checkInterfaces();
/** The DNS-SD library: which one it is, and what does its multicast DNS. */
QVector<Check> checkLibrary();
/** Whether a service of the doctor's own can be registered, and is heard back. */
QVector<Check> checkService();

#endif
